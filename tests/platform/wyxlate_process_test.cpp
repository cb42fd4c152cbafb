// What holds for the process as a whole: threads and forked children.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "platform/BundleText.h"
#include "platform/TestDirectory.h"
#include "test_support/ChildProcess.h"
#include "test_support/Sanitizer.h"
#include "test_support/TestThread.h"

namespace {

using test_support::BusyThreads;

// One of many locales.
std::string LocaleName(int i) {
  const char cLast = static_cast<char>('a' + i % 26);
  return {'x', cLast, '_', 'X', 'X'};
}

TEST(WyXlateProcess, ThreadsFindTheBundlesOfTheDirectoryThatIsSet) {
  const TestDirectory directories[2];
  for (const TestDirectory& directory : directories) {
    directory.Write("agent.properties", std::string("where=") + directory.Name());
  }
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(directories[0].Name()));
  // Odd while the directory changes; else half of it is the number of the directory that is set.
  std::atomic<unsigned> uChange{0};
  std::atomic<long> nWrong{0};
  const BusyThreads threads(4, [&](int i) {
    const unsigned uBefore = uChange;
    const std::string where = BundleText("agent", LocaleName(i).c_str(), "where");
    if (uBefore % 2 == 0 && uBefore == uChange) {
      nWrong += where != directories[uBefore / 2 % 2].Name();
    }
  });
  for (unsigned u = 1; u <= 150; ++u) {
    // Few steps: the change falls among threads that read files. Many: what they kept is looked up.
    threads.WaitForSteps(u % 2 == 0 ? 5 : 200);
    ++uChange;
    ASSERT_TRUE(CWyXlate::SetResourceDirectory(directories[u % 2].Name()));
    ++uChange;
  }
  EXPECT_EQ(nWrong, 0);
}

// Looks up a bundle that is not loaded yet, and one that is; sets the directory anew.
int UseLibraryInChild(const char* directory) {
  ::alarm(30);  // ends a child that waits for a thread it does not have
  const bool bWorks = BundleText("agent", "it_IT", "key") == "value" &&
                      BundleText("agent", "en", "key") == "value" &&
                      CWyXlate::SetResourceDirectory(directory) &&
                      BundleText("agent", "en", "key") == "value";
  return bWorks ? 0 : 1;
}

TEST(WyXlateProcess, ChildForkedInTheMidstOfOtherThreadsCallsCanUseIt) {
  if (test_support::IsSanitized) {
    GTEST_SKIP() << "the sanitizer's own allocator may hang in the child of several threads";
  }
  const TestDirectory directory;
  directory.Write("agent.properties", "key=value");
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(directory.Name()));
  const BusyThreads threads(4, [&](int i) {
    // Every look-up of a new name takes the cache for writing.
    BundleText(("missing" + std::to_string(i)).c_str(), "en", "key");
    BundleText("agent", LocaleName(i).c_str(), "key");
  });
  for (int i = 0; i < 100; ++i) {
    threads.WaitForSteps(10);
    const pid_t child = ::fork();
    if (child == 0) {
      ::_exit(UseLibraryInChild(directory.Name()));
    }
    ASSERT_EQ(test_support::StatusOf(child), 0);
  }
}

}  // namespace
