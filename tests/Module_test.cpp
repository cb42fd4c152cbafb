// A host that is not linked to the library loads and unloads a module that is, as web servers do.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

#include "test_support/TempDirectory.h"

namespace {

// The module is loaded and unloaded by this thread, and logs on a thread that ends in between or on
// this one, whose end is that of the program.
bool LoadUseAndUnload(const std::string& strLog, bool bOnOtherThread) {
  void* const hModule = dlopen(HOST_MODULE, RTLD_NOW | RTLD_LOCAL);
  if (hModule == nullptr) return false;
  const auto pfnLog = reinterpret_cast<bool (*)(const char*)>(dlsym(hModule, "LogToFile"));
  bool bLogged = false;
  const auto log = [&] { bLogged = pfnLog != nullptr && pfnLog(strLog.c_str()); };
  bOnOtherThread ? std::thread(log).join() : log();
  return dlclose(hModule) == 0 && bLogged;
}

TEST(Module, CanBeLoadedAndUnloadedWithTheLibraryAgainAndAgain) {
  const TempDirectory directory;
  for (const bool bOnOtherThread : {true, true, false, true, false}) {
    EXPECT_TRUE(LoadUseAndUnload(directory.Path("log"), bOnOtherThread));
  }
  const std::string strText = directory.Read("log");
  EXPECT_EQ(std::count(strText.begin(), strText.end(), '\n'), 5);
}

}  // namespace
