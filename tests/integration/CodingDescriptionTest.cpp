// The coding a file reports names its byte order where PCM has one: the four-character codes of
// QuickTime's sample descriptions ('in24', 'fl32') stand for either order, so the name comes from
// the stream itself.

#include "PlugInRequests.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

const std::string kFixtures = KIVA_FIXTURES;

TEST(CodingDescription, PcmNamesItsByteOrder) {
  const std::pair<const char*, const char*> table[] = {
      {"pcm.aiff", "PCM signed 16-bit big-endian"},
      {"pcm24be.aiff", "PCM signed 24-bit big-endian"},
      {"pcm24.mov", "PCM signed 24-bit little-endian"},
      {"pcm.wav", "PCM signed 16-bit little-endian"},
      {"pcmf32.wav", "PCM 32-bit floating point little-endian"},
      {"pcmf32.mov", "PCM 32-bit floating point little-endian"},
  };
  for (const auto& [file, coding] : table) {
    kiva::test::PlugInFile opened(kFixtures + "/" + file);
    ASSERT_TRUE(opened.IsOpen()) << file;
    EXPECT_NE(opened.open.description.find(coding), std::string::npos)
        << file << " is described as \"" << opened.open.description << "\"";
  }
}

TEST(CodingDescription, CompressedCodingsKeepTheirName) {
  kiva::test::PlugInFile opened(kFixtures + "/aac-stereo.m4a");
  ASSERT_TRUE(opened.IsOpen());
  EXPECT_EQ(opened.open.description, "QuickTime: AAC (Advanced Audio Coding)");
}

}  // namespace
