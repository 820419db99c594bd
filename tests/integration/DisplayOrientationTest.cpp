// The eight turns of a picture onto itself, as display matrices state them, on a picture small
// enough to write out by hand: stored as
//   0 1 2
//   3 4 5
// (each pixel's four bytes hold its number).

#include "media/ffmpeg/DisplayOrientation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using kiva::qt::media::ffmpeg::DisplayOrientation;

// The picture displayed, as rows of pixel numbers.
std::vector<std::vector<int>> Displayed(const DisplayOrientation& orientation) {
  constexpr int kWidth = 3;
  constexpr int kHeight = 2;
  std::vector<std::uint8_t> stored;
  for (int pixel = 0; pixel < kWidth * kHeight; ++pixel) {
    for (int byte = 0; byte < 4; ++byte) stored.push_back(static_cast<std::uint8_t>(pixel));
  }
  const int width = orientation.SwapsAxes() ? kHeight : kWidth;
  const int height = orientation.SwapsAxes() ? kWidth : kHeight;
  std::vector<std::uint8_t> shown(static_cast<std::size_t>(width * height * 4), 0xFF);
  orientation.Turn(stored.data(), kWidth, kHeight, kWidth * 4, 4, shown.data(), width * 4);
  std::vector<std::vector<int>> rows(static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      rows[static_cast<std::size_t>(y)].push_back(
          shown[static_cast<std::size_t>((y * width + x) * 4)]);
    }
  }
  return rows;
}

using Rows = std::vector<std::vector<int>>;

TEST(DisplayOrientation, NoMatrixIsUpright) {
  EXPECT_TRUE(DisplayOrientation().IsUpright());
  EXPECT_EQ(Displayed(DisplayOrientation()), (Rows{{0, 1, 2}, {3, 4, 5}}));
}

TEST(DisplayOrientation, HalfTurn) {
  EXPECT_EQ(Displayed(DisplayOrientation::FromSigns(-1, 0, 0, -1)), (Rows{{5, 4, 3}, {2, 1, 0}}));
}

// The matrix FFmpeg reads from a movie tagged "rotate=90", and its inverse ("rotate=270"), as
// ffmpeg itself shows such movies.
TEST(DisplayOrientation, QuarterTurns) {
  EXPECT_EQ(Displayed(DisplayOrientation::FromSigns(0, -1, 1, 0)), (Rows{{2, 5}, {1, 4}, {0, 3}}));
  EXPECT_EQ(Displayed(DisplayOrientation::FromSigns(0, 1, -1, 0)), (Rows{{3, 0}, {4, 1}, {5, 2}}));
}

TEST(DisplayOrientation, Mirrors) {
  EXPECT_EQ(Displayed(DisplayOrientation::FromSigns(-1, 0, 0, 1)), (Rows{{2, 1, 0}, {5, 4, 3}}));
  EXPECT_EQ(Displayed(DisplayOrientation::FromSigns(1, 0, 0, -1)), (Rows{{3, 4, 5}, {0, 1, 2}}));
  // Mirrored across a diagonal: the axes swap without a turn.
  EXPECT_EQ(Displayed(DisplayOrientation::FromSigns(0, 1, 1, 0)), (Rows{{0, 3}, {1, 4}, {2, 5}}));
  EXPECT_EQ(Displayed(DisplayOrientation::FromSigns(0, -1, -1, 0)), (Rows{{5, 2}, {4, 1}, {3, 0}}));
}

TEST(DisplayOrientation, OtherMatricesLeaveThePictureAsStored) {
  // A turn by another angle, a scale, a degenerate matrix.
  EXPECT_TRUE(DisplayOrientation::FromSigns(2, 2, 2, 2).IsUpright());
  EXPECT_TRUE(DisplayOrientation::FromSigns(1, 1, 0, 1).IsUpright());
  EXPECT_TRUE(DisplayOrientation::FromSigns(0, 0, 0, 0).IsUpright());
}

}  // namespace
