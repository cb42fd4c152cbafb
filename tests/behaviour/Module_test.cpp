// A host that is not linked to the library loads and unloads a module that is, as web servers do.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "test_support/Sanitizer.h"
#include "test_support/TempDirectory.h"

namespace {

using test_support::IsSanitized;
using test_support::IsThreadSanitized;

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

// ---- Modules that log from the beginning to the end ---------------------------------------------

std::vector<std::string> SortedLines(const std::string& strText) {
  std::vector<std::string> lines;
  std::istringstream text(strText);
  for (std::string strLine; std::getline(text, strLine);) lines.push_back(strLine);
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::vector<std::string> EachModule(std::initializer_list<const char*> events) {
  std::vector<std::string> lines;
  for (const char* pszNumber : {"1", "2", "3"}) {
    for (const char* pszEvent : events) {
      lines.push_back(std::string("module ") + pszNumber + " " + pszEvent);
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

// Runs the body in a process of its own, for which the modules log to the file, up to its end.
template <typename Body>
std::vector<std::string> LinesOfProcess(Body body) {
  const TempDirectory directory;
  const pid_t pid = fork();
  if (pid == 0) {
    alarm(20);
    setenv("STATIC_MODULE_LOG", directory.Path("log").c_str(), 1);
    body();
    exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int iStatus = -1;
  EXPECT_EQ(waitpid(pid, &iStatus, 0), pid);
  EXPECT_EQ(iStatus, 0);
  return SortedLines(directory.Read("log"));
}

TEST(Module, LogsBeforeAndAfterMainOfAHostThatKnowsNothingOfIt) {
  if (IsSanitized) GTEST_SKIP() << "the sanitizer's library must be loaded first";
  const auto lines = LinesOfProcess([] {
    setenv("LD_PRELOAD", STATIC_MODULES, 1);
    execl("/proc/self/exe", "host", "--gtest_list_tests", nullptr);
  });
  EXPECT_EQ(lines, EachModule({"is made", "is left", "is destroyed"}));
}

TEST(Module, LogsWhileItIsLoadedAndUnloadedAndAtTheEndOfThreads) {
  if (IsThreadSanitized) GTEST_SKIP() << "its atexit forgets which module a handler is of";
  const auto lines = LinesOfProcess([] {
    std::istringstream paths(STATIC_MODULES);
    bool bUnload = false;
    for (std::string strPath; std::getline(paths, strPath, ':'); bUnload = true) {
      void* const hModule = dlopen(strPath.c_str(), RTLD_NOW | RTLD_LOCAL);
      ASSERT_NE(hModule, nullptr) << dlerror();
      const auto pfnUse = reinterpret_cast<bool (*)()>(dlsym(hModule, "UseModule"));
      std::thread([&] { EXPECT_TRUE(pfnUse()); }).join();
      if (bUnload) {
        EXPECT_EQ(dlclose(hModule), 0);
      }
    }
  });
  EXPECT_EQ(lines, EachModule({"is made", "is used", "ends a thread", "is left", "is destroyed"}));
}

}  // namespace
