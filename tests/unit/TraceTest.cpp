// The plug-in's trace lines and their per-call-site enable cache.

#include "Trace.h"
#include "TraceCapture.h"

#include <noxcore/debug/Trace.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kiva::test::TraceCapture;
using ::testing::ElementsAre;

void TraceFromOneSite(int value) { KIVA_TRACE("value %d", value); }

TEST(PlugInTrace, SiteFollowsConfigurationChanges) {
  TraceCapture trace("LmLog.Plug-in=5");
  TraceFromOneSite(1);
  noxcore::debug::SetTraceConfiguration("LmLog.Plug-in=1");
  TraceFromOneSite(2);
  noxcore::debug::SetTraceConfiguration("LmLog=9");  // enabled through the parent category
  TraceFromOneSite(3);
  EXPECT_THAT(trace.Messages(), ElementsAre("value 1", "value 3"));
}

TEST(PlugInTrace, LineFormat) {
  TraceCapture trace;
  kiva::WriteTraceLine(5, "hello");
  ASSERT_EQ(trace.Lines().size(), 1u);
  EXPECT_THAT(trace.Lines()[0], ::testing::MatchesRegex("<[0-9]+> <LmLog\\.Plug-in> <5> hello\n"));
}

}  // namespace
