// What holds for the process as a whole: threads, forked children, exit, and the cost of a message.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "platform/AllocationCounter.h"
#include "platform/BundleText.h"
#include "platform/TestDirectory.h"
#include "test_support/Sanitizer.h"

namespace {

constexpr int kThreads = 4;

// One of many locales.
std::string LocaleName(int i) {
  const char cLast = static_cast<char>('a' + i % 26);
  return {'x', cLast, '_', 'X', 'X'};
}

// Threads that run until the object is gone.
class BusyThreads {
 public:
  template <typename Function>
  explicit BusyThreads(Function step) {
    for (int iThread = 0; iThread < kThreads; ++iThread) {
      m_threads.emplace_back([this, step, iThread] {
        for (int i = iThread; !m_bStop; ++i) {
          step(i);
          m_nSteps.fetch_add(1);
        }
      });
    }
  }
  ~BusyThreads() {
    m_bStop = true;
    for (std::thread& thread : m_threads) {
      thread.join();
    }
  }

  // Returns when the threads have made `n` more steps together.
  void WaitForSteps(long n) const {
    for (const long nEnd = m_nSteps + n; m_nSteps < nEnd;) {
      std::this_thread::yield();
    }
  }

 private:
  std::atomic<bool> m_bStop{false};
  std::atomic<long> m_nSteps{0};
  std::vector<std::thread> m_threads;
};

TEST(WyXlateProcess, AMessageAllocatesNothingOnceItsBundleIsKnown) {
  const TestDirectory directory;
  directory.Write("agent.properties", "agent-00001=Server {0} started on port {1}");
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(directory.Name()));
  const auto format = [](char(&szText)[100]) {
    const char* arguments[] = {"one", "8080"};
    EXPECT_EQ(CWyXlate::GetBundle("missing", "de_DE.UTF-8"), nullptr);
    CWyXlateBundle* pBundle = CWyXlate::GetBundle("agent", "de_DE.UTF-8");
    CWyXlate::FormatMessage(szText, 99, pBundle->Lookup("agent-00001"), 2, arguments);
    pBundle->Release();
  };
  char szText[100];
  const long nBefore = CountAllocations();
  format(szText);
  const long nLoaded = CountAllocations();
  format(szText);
  EXPECT_GT(nLoaded, nBefore) << "the counter sees the library's allocations";
  EXPECT_EQ(CountAllocations(), nLoaded);
  EXPECT_STREQ(szText, "Server one started on port 8080");
}

TEST(WyXlateProcess, ThreadsFindTheBundlesOfTheDirectoryThatIsSet) {
  const TestDirectory directories[2];
  for (const TestDirectory& directory : directories) {
    directory.Write("agent.properties", std::string("where=") + directory.Name());
  }
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(directories[0].Name()));
  // Odd while the directory changes; then half of it tells which one is set.
  std::atomic<unsigned> uChange{0};
  std::atomic<long> nWrong{0};
  const BusyThreads threads([&](int i) {
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
  const BusyThreads threads([&](int i) {
    // Every look-up of a new name takes the cache for writing.
    BundleText(("missing" + std::to_string(i)).c_str(), "en", "key");
    BundleText("agent", LocaleName(i).c_str(), "key");
  });
  for (int i = 0; i < 100; ++i) {
    threads.WaitForSteps(10);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::_exit(UseLibraryInChild(directory.Name()));
    }
    int iStatus = 0;
    ASSERT_EQ(::waitpid(child, &iStatus, 0), child);
    ASSERT_TRUE(WIFEXITED(iStatus)) << "signal " << WTERMSIG(iStatus);
    ASSERT_EQ(WEXITSTATUS(iStatus), 0);
  }
}

// Runs when every destructor of the program and of its libraries has run: functions that are
// registered first run last. (Those of atexit run with the destructors of the program.)
void UseLibraryAtTheVeryEnd(int, void*) {
  if (const char* directory = std::getenv("WYXLATE_TEST_AT_EXIT")) {
    ::_exit(UseLibraryInChild(directory) == 0 ? 42 : 1);
  }
}
void RegisterBeforeAnyLibrary() { ::on_exit(UseLibraryAtTheVeryEnd, nullptr); }
__attribute__((section(".preinit_array"),
               used)) void (*const g_pfnRegister)() = RegisterBeforeAnyLibrary;

TEST(WyXlateProcess, ServesThreadsThatOutliveTheLibrarysDestructors) {
  const TestDirectory directory;
  directory.Write("agent.properties", "key=value");
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(directory.Name()));
  ASSERT_EQ(BundleText("agent", "en", "key"), "value");
  ::setenv("WYXLATE_TEST_AT_EXIT", directory.Name(), 1);
  EXPECT_EXIT(std::exit(0), testing::ExitedWithCode(42), "");
  ::unsetenv("WYXLATE_TEST_AT_EXIT");
}

}  // namespace
