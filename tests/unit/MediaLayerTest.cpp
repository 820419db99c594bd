// Start and stop of the media layer, and what the trace shows of it. Every test starts with the
// module freshly loaded (FreshModulePerTest), so the media layer starts out unstarted in each.

#include "FakeToolbox.h"
#include "KivaQTInterface.h"
#include "QTMediaLayer.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kiva::test::FakeToolbox;
using kiva::test::TraceCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MediaLayer : public ::testing::Test {
 protected:
  void SetUp() override { toolbox = FakeToolbox(); }
  FakeToolbox& toolbox = FakeToolbox::Instance();
};

TEST_F(MediaLayer, MinimumVersionIsTracedAndStarted) {
  TraceCapture trace;
  toolbox.versionResponse = 0x003B0000;  // 59.0.0
  EXPECT_TRUE(kiva::qt::Initialize());
  EXPECT_THAT(trace.Messages(), ElementsAre("Quicktime version detected: 0x003b0000 59.0.0"));
  EXPECT_EQ(toolbox.startCalls, 1);
  EXPECT_TRUE(kiva::qt::IsAvailable());
}

TEST_F(MediaLayer, TraceShowsTheThreeParts) {
  TraceCapture trace;
  toolbox.versionResponse = (59 << 16) | (27 << 8) | 100;
  EXPECT_TRUE(kiva::qt::Initialize());
  EXPECT_THAT(trace.Messages(), ElementsAre("Quicktime version detected: 0x003b1b64 59.27.100"));
}

TEST_F(MediaLayer, VersionBelowTheMinimumIsTracedThenRefusedWithoutStarting) {
  TraceCapture trace;
  toolbox.versionResponse = 0x003AFFFF;  // 58.255.255
  EXPECT_FALSE(kiva::qt::Initialize());
  EXPECT_THAT(trace.Messages(), ElementsAre("Quicktime version detected: 0x003affff 58.255.255"));
  EXPECT_EQ(toolbox.startCalls, 0);
  EXPECT_FALSE(kiva::qt::IsAvailable());
}

TEST_F(MediaLayer, FailedVersionQueryIsNotTracedAndRefused) {
  TraceCapture trace;
  toolbox.versionError = -5551;
  EXPECT_FALSE(kiva::qt::Initialize());
  EXPECT_THAT(trace.Messages(), IsEmpty());
  EXPECT_EQ(toolbox.startCalls, 0);
}

TEST_F(MediaLayer, TraceLineCarriesThreadCategoryAndLevel) {
  TraceCapture trace;
  ASSERT_TRUE(kiva::qt::Initialize());
  const auto lines = trace.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_THAT(lines[0], ::testing::MatchesRegex(
                            "<[0-9]+> <LmLog\\.Plug-in> <5> Quicktime version detected: .*\n"));
}

TEST_F(MediaLayer, NothingIsTracedWhenTracingIsOff) {
  TraceCapture trace("LmLog.Plug-in=4");
  ASSERT_TRUE(kiva::qt::Initialize());
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(MediaLayer, FailedStartLeavesItUnavailableAndTheNextCallTriesAgain) {
  toolbox.startError = -1;
  EXPECT_FALSE(kiva::qt::Initialize());
  EXPECT_FALSE(kiva::qt::IsAvailable());
  toolbox.startError = 0;
  EXPECT_TRUE(kiva::qt::Initialize());
  EXPECT_EQ(toolbox.startCalls, 2);
}

TEST_F(MediaLayer, TerminateWithoutInitializeStillStops) {
  kiva::qt::Terminate();
  EXPECT_EQ(toolbox.stopCalls, 1);
  EXPECT_EQ(toolbox.startCalls, 0);
}

TEST_F(MediaLayer, InitializeAfterTerminateAnswersTrueAtOnce) {
  ASSERT_TRUE(kiva::qt::Initialize());
  kiva::qt::Terminate();
  const int versionCallsBefore = toolbox.versionCalls;
  EXPECT_TRUE(kiva::qt::Initialize());
  EXPECT_EQ(toolbox.versionCalls, versionCallsBefore);
  EXPECT_EQ(toolbox.startCalls, 1);
  EXPECT_TRUE(kiva::qt::IsAvailable());
}

TEST_F(MediaLayer, InterfaceTerminateStopsTheMediaLayerThenTheModule) {
  kiva::KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.Terminate(), 0);
  EXPECT_EQ(toolbox.stopCalls, 1);
}

TEST_F(MediaLayer, InterfaceInitializeDoesNothing) {
  kiva::KivaQTInterface kivaInterface;
  EXPECT_EQ(kivaInterface.Initialize(), 0);
  EXPECT_EQ(toolbox.versionCalls + toolbox.startCalls + toolbox.stopCalls, 0);
}

}  // namespace
