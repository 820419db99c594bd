// `kivahost preview` as a user runs it, the picture read back with QImage: its size, the time
// axis's ticks where the layout puts them, and quiet sound made visible by --dbfs. Expected sizes
// and positions are worked out by hand from the layout (a picture 1200 px wide, 12 px margins, a
// 64 px gutter left of the lanes, lanes 96 px tall 8 px apart, the axis 26 px, a 36 px header,
// six frames 186 px wide with an 18 px line under them).

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// Runs kivahost preview on `media` (with `options`) and reads back the picture it wrote.
QImage Preview(const std::string& media, const std::string& options) {
  const std::string output = ::testing::TempDir() + "/preview-" + std::to_string(getpid()) + "-" +
                             ::testing::UnitTest::GetInstance()->current_test_info()->name() +
                             ".png";
  const std::string command = std::string("'") + KIVAHOST + "' preview '" + media + "' " + options +
                              " -o '" + output + "' >/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  QImage picture(QString::fromStdString(output));
  std::remove(output.c_str());
  return picture;
}

const std::string kFixtures = KIVA_FIXTURES;

bool Dark(QRgb pixel) { return qRed(pixel) < 100 && qGreen(pixel) < 100 && qBlue(pixel) < 100; }

// The waveform's blue, told apart from the greys of text, grid and edges.
bool Wave(QRgb pixel) { return qBlue(pixel) > 140 && qBlue(pixel) - qRed(pixel) > 80; }

// The row holding the longest run of dark pixels: the time axis's line.
int AxisRow(const QImage& picture) {
  int bestRow = -1;
  int bestRun = 0;
  for (int y = 0; y < picture.height(); ++y) {
    int run = 0;
    for (int x = 0; x < picture.width(); ++x) {
      run = Dark(picture.pixel(x, y)) ? run + 1 : 0;
      if (run > bestRun) {
        bestRun = run;
        bestRow = y;
      }
    }
  }
  return bestRun > 1000 ? bestRow : -1;
}

// The columns of dark pixels in row `y`, runs of neighbours counted once (at their middle).
std::vector<int> DarkColumns(const QImage& picture, int y) {
  std::vector<int> columns;
  for (int x = 0; x < picture.width(); ++x) {
    if (!Dark(picture.pixel(x, y))) continue;
    int end = x;
    while (end + 1 < picture.width() && Dark(picture.pixel(end + 1, y))) ++end;
    columns.push_back((x + end) / 2);
    x = end;
  }
  return columns;
}

// How many rows hold the waveform in at least a quarter of the lane's columns.
int WaveRows(const QImage& picture) {
  int rows = 0;
  for (int y = 0; y < picture.height(); ++y) {
    int count = 0;
    for (int x = 0; x < picture.width(); ++x) count += Wave(picture.pixel(x, y)) ? 1 : 0;
    rows += count > 1112 / 4 ? 1 : 0;
  }
  return rows;
}

// Two lanes and the axis (2 x (96 + 8) + 26), frames of 320x240 at 186 px wide (139 px tall,
// 18 px under them, a 12 px margin), the header and the bottom margin: 36 + 234 + 169 + 12.
TEST(PreviewPicture, AudioAndVideoHaveTheExpectedSize) {
  const QImage picture = Preview(kFixtures + "/av.mp4", "");
  EXPECT_EQ(picture.width(), 1200);
  EXPECT_EQ(picture.height(), 451);
}

TEST(PreviewPicture, DbfsKeepsTheSize) {
  const QImage picture = Preview(kFixtures + "/av.mp4", "--dbfs");
  EXPECT_EQ(picture.width(), 1200);
  EXPECT_EQ(picture.height(), 451);
}

// One lane and the axis, no frames: 36 + 104 + 26 + 12.
TEST(PreviewPicture, MonoAudioHasTheExpectedSize) {
  const QImage picture = Preview(kFixtures + "/quiet-tone.wav", "--dbfs");
  EXPECT_EQ(picture.width(), 1200);
  EXPECT_EQ(picture.height(), 178);
}

// av.mp4 lasts 3.5 s over the lanes' 1112 px (from x = 76): 0.5 s steps (158.9 px apart; 0.2 s
// would be 63.5 px, under the 80 px labels need), so eight ticks at 76 + k x 158.857 px.
TEST(PreviewPicture, TimeAxisHasTicksEveryHalfSecond) {
  for (const char* options : {"", "--dbfs"}) {
    const QImage picture = Preview(kFixtures + "/av.mp4", options);
    const int axis = AxisRow(picture);
    ASSERT_GT(axis, 36 + 2 * 104 - 8) << "no axis line under the lanes " << options;
    // The axis runs from the lanes' left edge to their right end.
    EXPECT_TRUE(Dark(picture.pixel(76, axis)));
    EXPECT_TRUE(Dark(picture.pixel(1188, axis)));
    EXPECT_FALSE(Dark(picture.pixel(70, axis)));
    const std::vector<int> expected = {76, 235, 394, 553, 711, 870, 1029, 1188};
    const std::vector<int> ticks = DarkColumns(picture, axis + 2);
    ASSERT_EQ(ticks.size(), expected.size()) << options;
    for (std::size_t k = 0; k < ticks.size(); ++k) EXPECT_NEAR(ticks[k], expected[k], 1) << k;
  }
}

// A 440 Hz tone peaking at -50 dBFS. Linear, 0.0032 of the half lane's 47.5 px: the centre rows
// only. In dBFS, a sixth of the half lane ((-50 - -60) / 60) each way: rows 40 to 55 of the lane.
TEST(PreviewPicture, DbfsShowsQuietSound) {
  EXPECT_LE(WaveRows(Preview(kFixtures + "/quiet-tone.wav", "")), 2);
  const int rows = WaveRows(Preview(kFixtures + "/quiet-tone.wav", "--dbfs"));
  EXPECT_GE(rows, 14);
  EXPECT_LE(rows, 18);
}

}  // namespace
