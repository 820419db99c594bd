// The host ABI's version check, as a host calls it on what the plug-in reports.

#include <kiva/KivaVersion.h>

#include <gtest/gtest.h>

namespace {

TEST(InterfaceVersion, TheseHeadersSpeakOnePointZero) {
  EXPECT_EQ(kiva::kKivaInterfaceVersionMajor, 1);
  EXPECT_EQ(kiva::kKivaInterfaceVersionMinor, 0);
}

TEST(InterfaceVersion, OnlyTheSameMajorAndNoNewerMinorIsCompatible) {
  EXPECT_TRUE(kiva::KivaInterfaceVersionIsCompatible(1, 0));
  EXPECT_FALSE(kiva::KivaInterfaceVersionIsCompatible(1, 1));  // newer than these headers
  EXPECT_FALSE(kiva::KivaInterfaceVersionIsCompatible(2, 0));
  EXPECT_FALSE(kiva::KivaInterfaceVersionIsCompatible(0, 9));
  EXPECT_FALSE(kiva::KivaInterfaceVersionIsCompatible(-1, -1));  // a plug-in that said nothing
}

}  // namespace
