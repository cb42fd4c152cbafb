// A process forks while its other threads use the library: the child can use it too.

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>

#include "TestComponentMessages.h"
#include "test_support/ChildProcess.h"
#include "test_support/HostOutput.h"
#include "test_support/Sanitizer.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyLoggerList.h"

// A clock that shows a new second at every look: each time has to be converted.
extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval* pNow, void*) noexcept {
  static std::atomic<time_t> s_tSeconds{1700000000};
  *pNow = {++s_tSeconds, 0};
  return 0;
}

std::atomic<bool> g_bHoldKeys{false}, g_bKeyHeld{false};

// Creates keys slowly while g_bHoldKeys is set. The thread sanitizer creates one before it can
// watch anything.
extern "C" int __pthread_key_create(pthread_key_t* pKey, void (*pfnDestructor)(void*)) noexcept;
extern "C" __attribute__((visibility("default"), no_sanitize("thread"))) int pthread_key_create(
    pthread_key_t* pKey, void (*pfnDestructor)(void*)) noexcept {
  if constexpr (!test_support::IsSanitized) {
    if (g_bHoldKeys) g_bKeyHeld = true;
    g_bHoldKeys.wait(true);
  }
  return __pthread_key_create(pKey, pfnDestructor);
}

namespace {

using test_support::BusyThreads;
using test_support::SetMessageDirectory;
using test_support::StatusOf;
using test_support::TestThread;

constexpr bool ChildrenRun = !test_support::IsSanitized;  // else they end at once

// Forks; the child has five seconds for the body and exits with the body's result.
template <typename Body>
pid_t StartChild(Body body) {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  alarm(5);
  _exit(!ChildrenRun || body() ? 0 : 1);
}

constexpr int Children = ChildrenRun ? 1000 : 50;
constexpr int FewerChildren = ChildrenRun ? 50 : 12;

constexpr std::array<const char*, 2> Texts = {"[INFO][wytest-00001] Server started on port 8080.",
                                              "[WARNING] Copying a to b failed: c"};

// A line of the error log in one of four ways: either text, in local time or UTC.
bool LogLine(int iWay) {
  CWyErrLogMessage msg(iWay % 2 == 0);
  msg.FormatLogProlog("agent.cpp", 1, 0);
  if (iWay % 4 < 2) {
    msg.FormatMessage(TestComponent::ServerStarted, "8080");
  } else {
    msg.FormatLogMessage(TestComponent::CopyFailed, "a", "b", "c");
  }
  return theLogger()->LogErrMsg(msg);
}

bool LogAllWays() { return LogLine(0) && LogLine(1) && LogLine(2) && LogLine(3); }

bool SetLogFile(const std::string& strPath) {
  CWyLogOutput* const pOutput = theLogger()->NewLogOutput(1, strPath.c_str(), 1, 0, 0);
  return theLogger()->SetLogOutput(pOutput);
}

// The number of lines by process id; other than whole lines count for process 0.
std::map<int, int> LinesByProcess(const std::string& strLog) {
  std::map<int, int> lines;
  std::istringstream log(strLog);
  for (std::string strLine; std::getline(log, strLine);) {
    int iPid = 0, iEnd = 0;
    sscanf(strLine.c_str(), "[%d/%*u][%*3s %*3s %*2d %*4d %*2d:%*2d:%*2d][agent.cpp:1]%n", &iPid,
           &iEnd);
    const bool bWhole = strLine.substr(static_cast<std::size_t>(iEnd)) == Texts[0] ||
                        strLine.substr(static_cast<std::size_t>(iEnd)) == Texts[1];
    ++lines[bWhole ? iPid : 0];
  }
  return lines;
}

TEST(Fork, ChildrenForkedDuringTheFirstMessagesLog) {
  if (!ChildrenRun) GTEST_SKIP() << "children end at once under the sanitizers";
  const TempDirectory directory;
  ASSERT_TRUE(SetLogFile(directory.Path("log")));
  SetMessageDirectory();
  g_bHoldKeys = true;
  // A bundle is remembered by the second message that needs it.
  TestThread logging([] { EXPECT_TRUE(LogAllWays() && LogAllWays()); });
  EXPECT_TRUE(test_support::Eventually([&] { return g_bKeyHeld || logging.IsDone(); }));
  EXPECT_EQ(StatusOf(StartChild([] {
              g_bHoldKeys = false;
              return LogAllWays() && LogAllWays();
            })),
            0);
  g_bHoldKeys = false;
  g_bHoldKeys.notify_all();
}

TEST(Fork, ChildrenOfABusyLoggingProcessLogUnderTheirOwnIds) {
  const TempDirectory directory;
  ASSERT_TRUE(SetLogFile(directory.Path("log")));
  SetMessageDirectory();
  ASSERT_TRUE(LogLine(0)) << "the thread that forks has written its own ids";
  std::map<int, int> children;
  {
    const BusyThreads threads(8, [](int i) {
      char szTime[32];
      for (int iTime = 0; iTime < 50; ++iTime) CWyErrLogMessage::GetTime(3, szTime, i % 2 == 0, 32);
      LogLine(i);
      std::this_thread::sleep_for(std::chrono::microseconds(50));  // lets the children run
    });
    for (int i = 0; i < Children; ++i) {
      const pid_t pid = StartChild([i] {
        if (!LogAllWays()) return false;
        if (i % 2 == 0) exit(0);
        return true;
      });
      if (ChildrenRun) children[pid] = 4;
      ASSERT_EQ(StatusOf(pid), 0) << i;
    }
  }
  std::map<int, int> lines = LinesByProcess(directory.Read("log"));
  EXPECT_GT(lines[getpid()], Children);
  lines.erase(getpid());
  EXPECT_EQ(lines, children);
}

TEST(Fork, ChildrenFindOutputsAndLoggersWholeWhileTheyAreReplaced) {
  const TempDirectory directory;
  SetMessageDirectory();
  const BusyThreads threads(2, [&](int i) {
    SetLogFile(directory.Path("log"));
    if (i % 3 == 0) theLogger()->DisableLog();
    if (i % 20 == 0) getMyLogger("tenant");
    if (i % 20 == 10) removeMyLogger("tenant");
    if (i % 5 == 0) SetMessageDirectory();  // the catalogs are read again
    LogLine(i);
  });
  for (int i = 0; i < FewerChildren; ++i) {
    const pid_t pid = StartChild([&] {
      return SetLogFile(directory.Path("child")) && LogAllWays() && getMyLogger("child") != nullptr;
    });
    ASSERT_EQ(StatusOf(pid), 0) << i;
  }
  EXPECT_EQ(LinesByProcess(directory.Read("log") + directory.Read("child")).count(0), 0u);
}

TEST(Fork, ChildrenTakeTraceRecordsWhileOtherThreadsDo) {
  theLogger();
  const auto takeAndFree = [](int) { FreeThreadTraceData(GetThreadTraceData()); };
  const BusyThreads threads(2, takeAndFree);
  for (int i = 0; i < FewerChildren; ++i) {
    const pid_t pid = StartChild([&] {
      takeAndFree(0);
      return true;
    });
    ASSERT_EQ(StatusOf(pid), 0) << i;
  }
}

thread_local std::function<void()> t_duringNextCall;
void HostCallback(const char*, int) {
  if (const auto body = std::exchange(t_duringNextCall, nullptr)) body();
}

bool LogAudit() {
  CWyErrLogMessage msg(false);
  return msg.FormatAuditMessage("audit\n") && theLogger()->LogAuditMsg(msg);
}

TEST(Fork, ChildrenForkedInsideACallbackLogAndLeaveTheCallback) {
  const TempDirectory directory;
  CWyLogger& logger = *theLogger();
  ASSERT_TRUE(logger.SetLogOutput(logger.NewLogOutput(2, HostCallback)));
  ASSERT_TRUE(logger.EnableAuditLogRollover(
      logger.NewLogOutput(1, directory.Path("audit").c_str(), 0, 0, 0)));
  const BusyThreads threads(4, LogLine);
  for (int i = 0; i < FewerChildren; ++i) {
    pid_t pid = -1;
    bool bLogged = false;
    t_duringNextCall = [&] {
      pid = fork();
      if (pid != 0) return;
      if (!ChildrenRun) _exit(0);
      alarm(5);
      bLogged = LogAudit() && !LogLine(0);
    };
    const bool bReturned = LogLine(0);
    if (pid == 0) _exit(bReturned && bLogged && LogLine(0) ? 0 : 1);
    ASSERT_EQ(StatusOf(pid), 0) << i;
  }
  EXPECT_EQ(directory.Read("audit").size(), ChildrenRun ? FewerChildren * strlen("audit\n") : 0);
}

TEST(Fork, InsideACallbackDoesNotWaitForAReleaseThatWaitsForTheCallback) {
  CWyLogger& logger = *theLogger();
  ASSERT_TRUE(logger.EnableAuditLogRollover(logger.NewLogOutput(2, HostCallback)));
  std::optional<TestThread> releasing;
  t_duringNextCall = [&] {
    releasing.emplace([&] { logger.Release(); });
    ASSERT_TRUE(releasing->Blocks());
    EXPECT_EQ(StatusOf(StartChild([] { return !LogLine(0); })), 0);
  };
  EXPECT_TRUE(LogAudit());
  releasing.reset();
  EXPECT_FALSE(LogAudit());
}

TEST(Fork, OfThreadsThatAreOpeningOutputsAtTheSameTime) {
  const TempDirectory directory;
  ASSERT_TRUE(SetLogFile(directory.Path("log")));
  SetMessageDirectory();
  std::barrier bothOpen(2);
  const auto openAndFork = [&] {
    CWyLogger logger;
    test_support::OutputScript script;
    script.onOpen = [&] {
      bothOpen.arrive_and_wait();
      const pid_t pid = StartChild([&] {
        return LogAllWays() && SetLogFile(directory.Path("log")) && getMyLogger("child") != nullptr;
      });
      EXPECT_EQ(StatusOf(pid), 0);
    };
    for (int i = 0; i < FewerChildren; ++i) {
      EXPECT_TRUE(logger.SetLogOutput(new test_support::HostOutput(script)));
    }
    logger.Release();
  };
  { const TestThread first(openAndFork), second(openAndFork); }
  EXPECT_EQ(LinesByProcess(directory.Read("log")).size(), ChildrenRun ? 2 * FewerChildren : 0);
}

}  // namespace
