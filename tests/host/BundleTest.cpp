// The built bundle as a host sees it: loaded with dlopen, one exported function, a description.

#include "PlugIn.h"
#include "RecordMocks.h"

#include <noxcore/debug/Trace.h>

#include <kiva/KivaInterfaceTemplate.h>

#include <QCoreApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>

namespace {

const std::string kLibrary = std::string(KIVAQT_BUNDLE) + "/Contents/Linux/KivaQT.so";

// The library's defined dynamic symbols of function type, as nm lists them.
std::set<std::string> ExportedFunctions(const std::string& library) {
  std::set<std::string> names;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(
      popen(("nm -D --defined-only '" + library + "'").c_str(), "r"), pclose);
  if (!pipe) return names;
  std::array<char, 512> line{};
  while (std::fgets(line.data(), line.size(), pipe.get()) != nullptr) {
    std::istringstream fields(line.data());
    std::string address, type, name;
    if (fields >> address >> type >> name && (type == "T" || type == "W" || type == "i")) {
      names.insert(name);
    }
  }
  return names;
}

TEST(Bundle, ExportsExactlyOneFunction) {
  EXPECT_EQ(ExportedFunctions(kLibrary), std::set<std::string>{"KivaInterface"});
}

TEST(Bundle, LoadsWithDlopenAndAnswersSelectors) {
  void* library = dlopen(kLibrary.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  auto entry = reinterpret_cast<int (*)(int, void*, void*)>(dlsym(library, "KivaInterface"));
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(dlsym(library, "_ZN4kiva6module10InitializeEv"), nullptr);  // hidden

  ::testing::NiceMock<kiva::test::MockKivaInfo> info;
  {
    ::testing::InSequence order;
    EXPECT_CALL(info, SetInterfaceVersion(1, 0));
    EXPECT_CALL(info, SetPlugInInfo(::testing::StrEq("01914214-F044-47F7-A43B-5E98267FAFD0"),
                                    ::testing::_));
  }
  EXPECT_EQ(entry(kiva::kSelGetKivaInfo, nullptr, &info), 0);
  EXPECT_EQ(entry(15, nullptr, nullptr), kiva::kKivaUnknownSelector);
  EXPECT_EQ(entry(kiva::kSelCloseForRead, nullptr, nullptr), kiva::kKivaBadArgument);
  EXPECT_EQ(entry(kiva::kSelTerminate, nullptr, nullptr), 0);
  dlclose(library);
}

TEST(Bundle, LoadingAndStartingDoNotBringUpTheToolkit) {
  // A host without a display must be able to load, describe, start and stop the plug-in: the
  // windowing toolkit comes up only when a dialog is shown.
  void* library = dlopen(kLibrary.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  auto entry = reinterpret_cast<int (*)(int, void*, void*)>(dlsym(library, "KivaInterface"));
  ::testing::NiceMock<kiva::test::MockKivaInfo> info;
  EXPECT_EQ(entry(kiva::kSelGetKivaInfo, nullptr, &info), 0);
  EXPECT_EQ(entry(kiva::kSelInitialize, nullptr, nullptr), 0);
  EXPECT_EQ(QCoreApplication::instance(), nullptr);
  EXPECT_EQ(entry(kiva::kSelTerminate, nullptr, nullptr), 0);
  EXPECT_EQ(QCoreApplication::instance(), nullptr);
  dlclose(library);
}

TEST(Bundle, HostLoaderExplainsAMissingBundle) {
  try {
    kivahost::PlugIn plugIn("/nonexistent/KivaQT.bundle");
    FAIL() << "loaded";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(),
                ::testing::HasSubstr(
                    "no plug-in library at /nonexistent/KivaQT.bundle/Contents/Linux/KivaQT.so"));
  }
}

TEST(Bundle, HostLoaderRefusesALibraryWithoutTheEntryPoint) {
  // Any shared library without KivaInterface will do: the host framework itself.
  Dl_info self{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&noxcore::debug::Trace), &self), 0);
  try {
    kivahost::PlugIn plugIn(self.dli_fname);
    FAIL() << "loaded";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), ::testing::HasSubstr("exports no KivaInterface"));
  }
}

TEST(Bundle, HostLoaderDescribesThePlugIn) {
  const kivahost::PlugIn plugIn(KIVAQT_BUNDLE);
  EXPECT_EQ(plugIn.InfoStatus(), 0);
  EXPECT_EQ(plugIn.Description().interfaceMajor, 1);
  EXPECT_EQ(plugIn.Description().interfaceMinor, 0);
  EXPECT_EQ(plugIn.Description().identifier, "01914214-F044-47F7-A43B-5E98267FAFD0");
  EXPECT_EQ(plugIn.Description().displayName, "Cadenza QuickTime Kiva plug-in");
}

}  // namespace
