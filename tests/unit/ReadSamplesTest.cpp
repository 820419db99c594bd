// Reading audio through the interface: the record protocol, seeking only on jumps, zero-fill.

#include "AudioSampleHelpers.h"
#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "RecordMocks.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace kiva;
using kiva::test::FakeMovie;
using kiva::test::FakeToolbox;
using ::testing::_;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

class ReadSamples : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }

  std::unique_ptr<qt::Source> OpenStaged(std::function<void(FakeMovie&)> make) {
    toolbox.StageMovie("/a.mov", std::move(make));
    qt::Source::ExtendedErrorInfo info;
    return qt::Source::OpenForRead(u"/a.mov", info);
  }

  // Runs selector 7 for [start, start + frames) into `buffers`; returns the status and the
  // counts the record received through SetFramesRead.
  int Read(qt::Source& source, std::int64_t start, std::int64_t frames, std::vector<float*> buffers,
           std::vector<std::int64_t>& reported) {
    StrictMock<test::MockReadSamples> read;
    InSequence order;
    EXPECT_CALL(read, GetFrameCount()).WillOnce(Return(frames));
    EXPECT_CALL(read, GetStartFrame()).WillOnce(Return(start));
    EXPECT_CALL(read, SetFramesRead(0)).WillOnce([&](std::int64_t n) { reported.push_back(n); });
    for (std::size_t c = 0; c < buffers.size(); ++c) {
      EXPECT_CALL(read, GetChannelBuffer(static_cast<std::int32_t>(c)))
          .WillOnce(Return(buffers[c]));
    }
    EXPECT_CALL(read, SetFramesRead(frames))
        .Times(::testing::AtMost(1))
        .WillRepeatedly([&](std::int64_t n) { reported.push_back(n); });
    KivaQTInterface kivaInterface;
    return kivaInterface.EntryPoint(kSelReadSamples, &source, &read);
  }

  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(ReadSamples, VideoOnlyFileReportsTheRequestedCountAndLeavesBuffersAlone) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.box = {0, 0, 240, 320};
    movie.AddVideoTrack(600, 600, 25);
  });
  ASSERT_NE(source, nullptr);
  ASSERT_EQ(source->GetNumChannels(), 0);
  std::vector<std::int64_t> reported;
  EXPECT_EQ(Read(*source, 0, 512, {}, reported), kKivaSuccess);
  EXPECT_EQ(reported, (std::vector<std::int64_t>{0, 512}));
}

TEST_F(ReadSamples, ReadPastTheEndIsZeroFilledAndReportsTheFullCount) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 2, 1, 1);
    movie.extractionLength = 100;
  });
  std::vector<float> left(64, -1.0f);
  std::vector<float> right(64, -1.0f);
  std::vector<std::int64_t> reported;
  EXPECT_EQ(Read(*source, 80, 64, {left.data(), right.data()}, reported), kKivaSuccess);
  EXPECT_EQ(reported, (std::vector<std::int64_t>{0, 64}));
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(left[i], static_cast<float>(80 + i));
    EXPECT_EQ(right[i], static_cast<float>(1000 + 80 + i));
  }
  for (int i = 20; i < 64; ++i) {
    EXPECT_EQ(left[i], 0.0f) << i;
    EXPECT_EQ(right[i], 0.0f) << i;
  }
}

// The session is asked for 32-bit float, one buffer per channel, but described as one packet
// of 4 bytes with frames as wide as every channel together (no non-interleaved flag): hosts
// have only ever met that combination.
TEST_F(ReadSamples, TheSessionsFormatIsFloatWithFramesOfEveryChannel) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.AddSoundTrack(44100, 3, 1, 1);
    movie.extractionLength = 100;
  });
  ASSERT_NE(source, nullptr);
  std::vector<float> a(8), b(8), c(8);
  std::vector<std::int64_t> reported;
  ASSERT_EQ(Read(*source, 0, 8, {a.data(), b.data(), c.data()}, reported), kKivaSuccess);
  ASSERT_NE(toolbox.lastMovie, nullptr);
  ASSERT_NE(toolbox.lastMovie->lastSession, nullptr);
  qt::media::AudioStreamBasicDescription format;
  ASSERT_EQ(toolbox.lastMovie->lastSession->GetStreamDescription(format), qt::media::kNoErr);
  EXPECT_EQ(format.mSampleRate, 44100.0);
  EXPECT_EQ(format.mFormatID, qt::media::kAudioFormatLinearPCM);
  EXPECT_EQ(format.mFormatFlags, qt::media::kAudioFormatFlagIsFloat);
  EXPECT_EQ(format.mBytesPerPacket, 4u);
  EXPECT_EQ(format.mFramesPerPacket, 1u);
  EXPECT_EQ(format.mBytesPerFrame, 12u);
  EXPECT_EQ(format.mChannelsPerFrame, 3u);
  EXPECT_EQ(format.mBitsPerChannel, 32u);
}

TEST_F(ReadSamples, NullDestinationSkipsThatChannel) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 2, 1, 1);
    movie.extractionLength = 1000;
  });
  std::vector<float> left(16, -1.0f);
  std::vector<std::int64_t> reported;
  EXPECT_EQ(Read(*source, 10, 16, {left.data(), nullptr}, reported), kKivaSuccess);
  EXPECT_EQ(left[0], 10.0f);
  EXPECT_EQ(left[15], 25.0f);
}

TEST_F(ReadSamples, ConsecutiveReadsDoNotSeekAndAJumpDoes) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 1, 1, 1);
    movie.extractionLength = 48000;
  });
  std::vector<float> buffer(1024);
  std::vector<std::int64_t> reported;
  ASSERT_EQ(Read(*source, 0, 1024, {buffer.data()}, reported), kKivaSuccess);
  auto* session = toolbox.lastMovie->lastSession;
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->seeks, 0);
  ASSERT_EQ(Read(*source, 1024, 1024, {buffer.data()}, reported), kKivaSuccess);
  EXPECT_EQ(session->seeks, 0);
  EXPECT_EQ(buffer[0], 1024.0f);
  ASSERT_EQ(Read(*source, 0, 1024, {buffer.data()}, reported), kKivaSuccess);
  EXPECT_EQ(session->seeks, 1);
  EXPECT_EQ(buffer[0], 0.0f);
  EXPECT_EQ(session->reads, (std::vector<std::int64_t>{0, 1024, 0}));
}

TEST_F(ReadSamples, FailedFillIsMinusNineWithATraceLine) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 1, 1, 1);
    movie.extractionLength = 48000;
  });
  std::vector<float> buffer(256);
  std::vector<std::int64_t> reported;
  ASSERT_EQ(Read(*source, 0, 256, {buffer.data()}, reported), kKivaSuccess);
  toolbox.lastMovie->lastSession->readError = -36;
  kiva::test::TraceCapture trace;
  reported.clear();
  EXPECT_EQ(Read(*source, 256, 256, {buffer.data()}, reported), kKivaReadAudioFailed);
  EXPECT_EQ(reported, (std::vector<std::int64_t>{0}));
  EXPECT_THAT(trace.Messages(),
              ::testing::ElementsAre("Quicktime audio extraction failed.  Code: -36"));
}

TEST_F(ReadSamples, SuspendEndsTheSessionAndTheNextReadStartsANewOneAndSeeks) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 1, 1, 1);
    movie.extractionLength = 48000;
  });
  std::vector<float> buffer(128);
  std::vector<std::int64_t> reported;
  ASSERT_EQ(Read(*source, 500, 128, {buffer.data()}, reported), kKivaSuccess);
  EXPECT_EQ(toolbox.lastMovie->sessionsBegun, 1);
  source->Suspend();
  ASSERT_EQ(Read(*source, 628, 128, {buffer.data()}, reported), kKivaSuccess);
  EXPECT_EQ(toolbox.lastMovie->sessionsBegun, 2);
  EXPECT_EQ(toolbox.lastMovie->lastSession->seeks, 1);  // a new session starts at 0
  EXPECT_EQ(buffer[0], 628.0f);
}

TEST_F(ReadSamples, TheBufferOnlyGrows) {
  auto source = OpenStaged([](FakeMovie& movie) {
    movie.AddSoundTrack(48000, 2, 1, 1);
    movie.extractionLength = 48000;
  });
  std::vector<float> a(4096), b(4096);
  std::vector<std::int64_t> reported;
  ASSERT_EQ(Read(*source, 0, 4096, {a.data(), b.data()}, reported), kKivaSuccess);
  ASSERT_EQ(Read(*source, 4096, 16, {a.data(), b.data()}, reported), kKivaSuccess);
  // A smaller read after a large one still gets every frame right from the kept buffer.
  EXPECT_EQ(a[15], 4096.0f + 15);
  EXPECT_EQ(b[15], 1000.0f + 4096 + 15);
  ASSERT_TRUE(source->AllocateAudioBuffers(16));
  ASSERT_EQ(Read(*source, 4112, 4096, {a.data(), b.data()}, reported), kKivaSuccess);
  EXPECT_EQ(a[4095], 4112.0f + 4095);
}

TEST(SampleHelpers, BytesPerSampleAndDeduction) {
  EXPECT_EQ(GetBytesPerSample(kAudioSampleType_8Bit), 1);
  EXPECT_EQ(GetBytesPerSample(kAudioSampleType_16Bit), 2);
  EXPECT_EQ(GetBytesPerSample(kAudioSampleType_24Bit), 3);
  EXPECT_EQ(GetBytesPerSample(kAudioSampleType_32BitFloat), 4);
  EXPECT_EQ(GetBytesPerSample(static_cast<AudioSampleType>(15)), 0);
  EXPECT_EQ(DeduceSampleType(16), kAudioSampleType_16Bit);
  EXPECT_EQ(DeduceSampleType(24), kAudioSampleType_24Bit);
  EXPECT_EQ(DeduceSampleType(8), kAudioSampleType_8Bit);
  EXPECT_EQ(DeduceSampleType(32), kAudioSampleType_32BitFloat);
  EXPECT_EQ(DeduceSampleType(12), kAudioSampleType_32BitFloat);
}

TEST(SampleHelpers, TwentyFourBitSamples) {
  const unsigned char bytes[] = {0xFF, 0xFF, 0x7F, 0x00, 0x00, 0x80, 0x01, 0x00, 0x00};
  float out[6] = {9, 9, 9, 9, 9, 9};
  InterleaveAndConvertToFloat32(bytes, out, 3, 2, kAudioSampleType_24Bit);
  EXPECT_EQ(out[0], 8388607.0f * 1.1920929e-7f);
  EXPECT_EQ(out[2], -1.0f);
  EXPECT_EQ(out[4], 1.1920929e-7f);
  EXPECT_EQ(out[1], 9.0f);  // the stride leaves the other channel alone
}

TEST(SampleHelpers, EightSixteenAndFloatSamples) {
  const unsigned char eight[] = {0, 128, 255};
  float out[3] = {};
  InterleaveAndConvertToFloat32(eight, out, 3, 1, kAudioSampleType_8Bit);
  EXPECT_EQ(out[0], -1.0f);
  EXPECT_EQ(out[1], 0.0f);
  EXPECT_EQ(out[2], 127.0f * 0.0078125f);
  const std::int16_t sixteen[] = {-32768, 16384};
  InterleaveAndConvertToFloat32(sixteen, out, 2, 1, kAudioSampleType_16Bit);
  EXPECT_EQ(out[0], -1.0f);
  EXPECT_EQ(out[1], 0.5f);
  const float floats[] = {0.25f, -3.5f};
  InterleaveAndConvertToFloat32(floats, out, 2, 1, kAudioSampleType_32BitFloat);
  EXPECT_EQ(out[0], 0.25f);
  EXPECT_EQ(out[1], -3.5f);
  out[0] = 7;
  InterleaveAndConvertToFloat32(floats, out, 2, 1, static_cast<AudioSampleType>(99));
  EXPECT_EQ(out[0], 7.0f);  // an unknown type writes nothing
}

TEST(SampleHelpers, DurationRoundsUpIntoTheOtherScale) {
  EXPECT_EQ(ConvertAudioDurationToAudioTimeScale(1, 44100, 0, 48000), 2);
  EXPECT_EQ(ConvertAudioDurationToAudioTimeScale(44100, 44100, 0, 48000), 48000);
  EXPECT_EQ(ConvertAudioDurationToAudioTimeScale(441, 44100, 0, 48000), 480);
  EXPECT_EQ(ConvertAudioDurationToAudioTimeScale(0, 600, 0, 48000), 0);
}

}  // namespace
