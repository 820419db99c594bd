// The compressor wrapper: its queue, the input callback's splitting, pull sizes, layouts.

#include "FakeToolbox.h"
#include "QuickTimeAudioCompress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace kiva;
using kiva::test::FakeToolbox;

qt::media::ComponentDescription Entry(const char (&subType)[5]) {
  qt::media::ComponentDescription entry;
  entry.componentType = qt::media::kMovieExportType;
  entry.componentSubType = qt::media::FourCharCode(subType);
  return entry;
}

class AudioCompress : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }
  bool Initialize(qt::QuickTimeAudioCompress& compress, const char (&subType)[5],
                  std::uint32_t channels = 2, int bytes = 2) {
    std::uint32_t rate = 48000;
    return compress.Initialize(Entry(subType), {}, channels, bytes, rate);
  }
  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(AudioCompress, PullSizes) {
  for (const auto& [framesPerPacket, pull] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
           {1024, 64}, {2048, 32}, {100000, 1}, {0, 5}, {4096, 16}}) {
    toolbox.compressorScript.framesPerPacket = framesPerPacket;
    qt::QuickTimeAudioCompress compress;
    ASSERT_TRUE(Initialize(compress, "aac "));
    EXPECT_EQ(compress.GetNumberPacketsToPull(), pull) << framesPerPacket;
  }
  toolbox.compressorScript.framesPerPacket = 1024;
  qt::QuickTimeAudioCompress qdesign;
  ASSERT_TRUE(Initialize(qdesign, "QDM2"));
  EXPECT_EQ(qdesign.GetNumberPacketsToPull(), 5u);
}

TEST_F(AudioCompress, InputIsDescribedAsSignedIntegersOfTheSessionsWidth) {
  qt::QuickTimeAudioCompress compress;
  ASSERT_TRUE(Initialize(compress, "aac ", 2, 4));
  EXPECT_EQ(toolbox.compressor.input.mFormatFlags, 12u);
  EXPECT_EQ(toolbox.compressor.input.mBitsPerChannel, 32u);
  EXPECT_EQ(toolbox.compressor.input.mBytesPerFrame, 8u);
  EXPECT_EQ(toolbox.compressor.output.mFormatID, qt::media::FourCharCode("aac "));
  std::shared_ptr<qt::media::SoundFormat> description;
  compress.GetSoundDescriptionHandle(description);
  ASSERT_NE(description, nullptr);
  EXPECT_EQ(description->magicCookie, (std::vector<std::uint8_t>{1, 2, 3}));
}

TEST_F(AudioCompress, LayoutTagsByChannelCount) {
  const std::vector<std::pair<std::uint32_t, std::uint32_t>> expected{
      {1, 0x00640001}, {2, 0x00650002}, {6, 0x007A0006}, {4, 0}, {8, 0}};
  for (const auto& [channels, tag] : expected) {
    qt::QuickTimeAudioCompress compress;
    ASSERT_TRUE(Initialize(compress, "aac ", channels));
    EXPECT_EQ(toolbox.compressor.layoutTag, tag) << channels << " channels";
  }
}

TEST_F(AudioCompress, NothingIsCompressedUntilThreeBlocksWait) {
  qt::QuickTimeAudioCompress compress;
  ASSERT_TRUE(Initialize(compress, "aac "));
  test::StorageRecord record;
  test::FakeMovieStorage storage(record, {});
  std::vector<std::int16_t> block(2 * 2048, 1);
  const void* data = block.data();
  const std::uint32_t bytes = static_cast<std::uint32_t>(block.size() * 2);
  compress.AddBuffer(&data, bytes, 2048);
  compress.AddBuffer(&data, bytes, 2048);
  std::uint32_t wanted = compress.GetNumberPacketsToPull();
  std::uint32_t packets = 99;
  std::int64_t duration = 99;
  EXPECT_TRUE(compress.ProcessOutput(storage, wanted, packets, duration));
  EXPECT_EQ(packets, 0u);
  EXPECT_EQ(duration, 0);
  EXPECT_TRUE(record.samples.empty());
  compress.AddBuffer(&data, bytes, 2048);
  EXPECT_TRUE(compress.ProcessOutput(storage));
  EXPECT_EQ(record.samples.size(), 6u);  // 6144 frames in packets of 1024
  EXPECT_TRUE(compress.EndCompression(storage));
}

TEST_F(AudioCompress, ABlockLargerThanOnePullIsSplitExactly) {
  qt::QuickTimeAudioCompress compress;
  ASSERT_TRUE(Initialize(compress, "aac "));
  std::vector<std::int16_t> block(2 * 5000, 3);
  const void* data = block.data();
  compress.AddBuffer(&data, static_cast<std::uint32_t>(block.size() * 2), 5000);
  std::uint32_t frames = 1024;
  const void* handed = nullptr;
  ASSERT_EQ(compress.SupplyInput(frames, handed), 0);
  EXPECT_EQ(frames, 1024u);
  ASSERT_EQ(compress.QueuedBlocks(), 1u);
  EXPECT_EQ(compress.InputQueue().front().frames, 5000u - 1024u);
  EXPECT_EQ(compress.InputQueue().front().bytes.size(), (5000u - 1024u) * 4u);
  frames = 8000;  // more than is left: the rest moves whole
  ASSERT_EQ(compress.SupplyInput(frames, handed), 0);
  EXPECT_EQ(frames, 5000u - 1024u);
  EXPECT_EQ(compress.QueuedBlocks(), 0u);
  frames = 10;
  ASSERT_EQ(compress.SupplyInput(frames, handed), 0);
  EXPECT_EQ(frames, 0u);  // an empty queue: nothing for now
}

TEST_F(AudioCompress, EndCompressionDrainsEverything) {
  qt::QuickTimeAudioCompress compress;
  ASSERT_TRUE(Initialize(compress, "aac "));
  test::StorageRecord record;
  test::FakeMovieStorage storage(record, {});
  std::vector<std::int16_t> block(2 * 1500, 1);
  const void* data = block.data();
  compress.AddBuffer(&data, static_cast<std::uint32_t>(block.size() * 2), 1500);
  EXPECT_TRUE(compress.ProcessOutput(storage));  // one block: waits
  EXPECT_TRUE(record.samples.empty());
  EXPECT_TRUE(compress.EndCompression(storage));
  EXPECT_EQ(record.sampleCounts, (std::vector<std::int64_t>{1, 1}));
  EXPECT_EQ(storage.GetMediaDuration(), 1500);  // a full packet and a short one
  std::shared_ptr<qt::media::SoundFormat> description;
  compress.GetSoundDescriptionHandle(description);
  EXPECT_EQ(description, nullptr);  // released with the component
}

// A pull whose last packet cannot be stored ends the drain with a failure, though more output
// waits and would store well: a later pull's success must not hide it. (Within a pull only the
// last packet's result counts.)
TEST_F(AudioCompress, AFailedPullEndsTheDrain) {
  qt::QuickTimeAudioCompress compress;
  ASSERT_TRUE(Initialize(compress, "QDM2"));  // pulls of 5 packets of 1024 frames
  test::StorageRecord record;
  test::StorageScript script;
  script.refuseSampleNumber = 5;
  test::FakeMovieStorage storage(record, script);
  std::vector<std::int16_t> block(2 * 12 * 1024, 1);
  const void* data = block.data();
  compress.AddBuffer(&data, static_cast<std::uint32_t>(block.size() * 2), 12 * 1024);
  EXPECT_FALSE(compress.EndCompression(storage));
  EXPECT_EQ(std::count(record.calls.begin(), record.calls.end(), "AddMediaSample"), 5);
}

}  // namespace
