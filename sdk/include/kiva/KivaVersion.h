// The version of the host ABI these headers describe. A plug-in reports the version it was built
// for when it describes itself (selector 0); a host checks it before sending anything else.
#pragma once

namespace kiva {

// Records and selectors keep their slots within a major version; a minor version only adds.
inline constexpr int kKivaInterfaceVersionMajor = 1;
inline constexpr int kKivaInterfaceVersionMinor = 0;

// Whether a host built with these headers can drive a plug-in that reports `major`.`minor`:
// the same major version, and nothing newer than these headers know.
constexpr bool KivaInterfaceVersionIsCompatible(int major, int minor) {
  return major == kKivaInterfaceVersionMajor && minor >= 0 && minor <= kKivaInterfaceVersionMinor;
}

}  // namespace kiva
