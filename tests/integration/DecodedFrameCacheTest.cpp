// The decoded-frame cache answers only what it knows: the frame on screen at a time is the one
// starting at or before it whose successor starts after it; its memory stays within its bound.

#include "media/ffmpeg/DecodedFrameCache.h"

#include <gtest/gtest.h>

namespace {

using kiva::qt::media::ffmpeg::DecodedFrameCache;
using kiva::qt::media::ffmpeg::FramePtr;

// A 64 x 64 grey picture: 4 KiB of luma and 2 KiB of chroma, plus FFmpeg's padding.
FramePtr Picture() {
  FramePtr frame(av_frame_alloc());
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = 64;
  frame->height = 64;
  EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
  return frame;
}

std::size_t SizeOf(const AVFrame& frame) {
  std::size_t total = 0;
  for (const AVBufferRef* buffer : frame.buf) total += buffer != nullptr ? buffer->size : 0;
  return total;
}

TEST(DecodedFrameCache, AFrameIsKnownOnScreenOnlyOnceTheNextOneIsKnown) {
  DecodedFrameCache cache;
  std::int64_t start = -1;
  cache.Add(*Picture(), 100);
  EXPECT_EQ(cache.Find(100, start), nullptr);  // the next frame might start at 101
  cache.Add(*Picture(), 140);
  ASSERT_NE(cache.Find(100, start), nullptr);
  EXPECT_EQ(start, 100);
  ASSERT_NE(cache.Find(139, start), nullptr);
  EXPECT_EQ(start, 100);
  EXPECT_EQ(cache.Find(140, start), nullptr);
  EXPECT_EQ(cache.Find(99, start), nullptr);
  cache.EndRun();
  ASSERT_NE(cache.Find(1000000, start), nullptr);  // the last frame stays on screen
  EXPECT_EQ(start, 140);
}

TEST(DecodedFrameCache, ANewRunDoesNotLinkToTheLastFrameOfTheOldOne) {
  DecodedFrameCache cache;
  std::int64_t start = -1;
  cache.Add(*Picture(), 0);
  cache.BreakRun();  // a seek: frames between 0 and 500 were not seen
  cache.Add(*Picture(), 500);
  cache.Add(*Picture(), 540);
  EXPECT_EQ(cache.Find(200, start), nullptr);
  ASSERT_NE(cache.Find(520, start), nullptr);
  EXPECT_EQ(start, 500);
}

TEST(DecodedFrameCache, KeepsWithinItsBoundDroppingTheLeastRecentlyUsed) {
  const std::size_t frame = SizeOf(*Picture());
  DecodedFrameCache cache(3 * frame);
  std::int64_t start = -1;
  for (int i = 0; i < 3; ++i) cache.Add(*Picture(), i * 10);
  cache.Add(*Picture(), 30);
  EXPECT_EQ(cache.Count(), 3u);
  EXPECT_LE(cache.Bytes(), 3 * frame);
  EXPECT_EQ(cache.Find(5, start), nullptr);   // frame 0 went first
  ASSERT_NE(cache.Find(15, start), nullptr);  // frame 10 is used: frame 20 goes next
  cache.Add(*Picture(), 40);
  EXPECT_NE(cache.Find(15, start), nullptr);
  EXPECT_EQ(cache.Find(25, start), nullptr);
}

TEST(DecodedFrameCache, AFrameLargerThanTheBoundIsNotKept) {
  DecodedFrameCache cache(SizeOf(*Picture()) / 2);
  std::int64_t start = -1;
  cache.Add(*Picture(), 0);
  cache.Add(*Picture(), 10);
  EXPECT_EQ(cache.Count(), 0u);
  EXPECT_EQ(cache.Bytes(), 0u);
  EXPECT_EQ(cache.Find(5, start), nullptr);
}

}  // namespace
