// The export configuration the host keeps for the plug-in: the chosen entry of the export
// format catalogue and that exporter's own settings (an atom container, as a handle).
#pragma once

#include "MemoryHandle.h"

#include <string>

namespace kiva {

class KivaQTPrivateSettings {
 public:
  KivaQTPrivateSettings() { SetDefaults(); }
  // Disposes of the container unless its master pointer is null.
  ~KivaQTPrivateSettings();
  KivaQTPrivateSettings(const KivaQTPrivateSettings&) = delete;
  KivaQTPrivateSettings& operator=(const KivaQTPrivateSettings&) = delete;

  // No container, format index 0. Does not dispose of a container already held: only used on
  // fresh objects.
  KivaQTPrivateSettings& SetDefaults();

  void SetFormatIndex(int index) { formatIndex = index; }
  int GetFormatIndex() const { return formatIndex; }

  // Disposes of the held container and takes ownership of `handle` (which may be null).
  void SetAtomicContainer(Handle handle);
  // The held container; ownership stays here.
  Handle GetAtomicContainer() const { return atomicContainer; }

  // Loads from the host's string; unreadable fields keep their defaults. Always true.
  bool InitializeFromSerialized(const std::u16string& serialized);
  // "FormatIndex:0:<index>;" and, with a container, "AtomicSettings:1:<encoded bytes>;".
  std::u16string GetSerialized() const;

 private:
  Handle atomicContainer = nullptr;
  int formatIndex = 0;
};

}  // namespace kiva
