#include <noxcore/debug/Contract.h>
#include <noxcore/debug/Trace.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

using namespace noxcore::debug;

TEST(TraceFacility, LevelsAndInheritance) {
  SetTraceConfiguration("LmLog=3,LmLog.Plug-in=5,Bad=x");
  EXPECT_TRUE(TraceEnabled("LmLog.Plug-in", 5, true));
  EXPECT_FALSE(TraceEnabled("LmLog.Plug-in", 6, true));
  EXPECT_TRUE(TraceEnabled("LmLog.Other", 3, true));
  EXPECT_FALSE(TraceEnabled("LmLog.Other", 3, false));
  EXPECT_FALSE(TraceEnabled("LmLog.Other", 4, true));
  EXPECT_FALSE(TraceEnabled("Bad", 0, true));
  EXPECT_FALSE(TraceEnabled("Unknown", 0, true));
  SetTraceConfiguration("");
  EXPECT_FALSE(TraceEnabled("LmLog.Plug-in", 1, true));
}

TEST(TraceFacility, ChangeCountMovesWithEveryConfigurationChange) {
  const auto before = TraceChangeCount();
  SetTraceConfiguration("A=1");
  const auto after = TraceChangeCount();
  EXPECT_NE(after, before);
  EXPECT_EQ(TraceChangeCount(), after);
  SetTraceConfiguration("");
}

TEST(TraceFacility, EnvironmentConfiguresTheFile) {
  const std::string path = ::testing::TempDir() + "/trace-test.log";
  std::remove(path.c_str());
  setenv("NOX_TRACE", "X=2", 1);
  setenv("NOX_TRACE_FILE", path.c_str(), 1);
  ReloadTraceConfiguration();
  EXPECT_TRUE(TraceEnabled("X", 2, false));
  Trace("one line\n");
  unsetenv("NOX_TRACE");
  unsetenv("NOX_TRACE_FILE");
  ReloadTraceConfiguration();
  std::stringstream content;
  content << std::ifstream(path).rdbuf();
  EXPECT_EQ(content.str(), "one line\n");
}

TEST(TraceFacility, SinkReceivesLines) {
  std::string received;
  SetTraceSink([&received](std::string_view line) { received += line; });
  Trace("a\n");
  Trace("b\n");
  SetTraceSink({});
  EXPECT_EQ(received, "a\nb\n");
}

TEST(TraceFacility, ContractDialogReportsAndAnswersTheHostsWish) {
  std::string received;
  SetTraceSink([&received](std::string_view line) { received += line; });
  unsetenv("NOX_BREAK_ON_CONTRACT");
  EXPECT_FALSE(BreakAfterContractDialog("some/File", "x != 0", 12));
  setenv("NOX_BREAK_ON_CONTRACT", "1", 1);
  EXPECT_TRUE(BreakAfterContractDialog("some/File", "x != 0", 12));
  unsetenv("NOX_BREAK_ON_CONTRACT");
  SetTraceSink({});
  EXPECT_EQ(
      received,
      "Contract violation: x != 0 (some/File:12)\nContract violation: x != 0 (some/File:12)\n");
}

}  // namespace
