// Everything at once, for SOAK_SECONDS (five if not told): threads that log while outputs are
// swapped and rolled over, loggers, threads and child processes that come and go. What the error
// log and the audit log took is in their files once and whole, and the process does not grow.

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <set>
#include <string>

#include "test_support/ChildProcess.h"
#include "test_support/Footprint.h"
#include "test_support/Sanitizer.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"
#include "wyerrlog/WyLoggerList.h"

namespace {

using namespace test_support;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int LoggingThreads = 6;
constexpr int OtherThreads = 3;  // one reconfigures, one forks, one makes and removes loggers
constexpr int WarmUpRounds = 3;
constexpr auto RoundTime = milliseconds(300);
constexpr std::size_t MemorySlack = 1000000;  // bytes; a dozen thread records

// Numbers of messages, as they were taken and as they were found.
struct Tally {
  std::atomic<long> lCount{0};
  std::atomic<long> lSum{0};

  void Add(long lNumber) {
    ++lCount;
    lSum += lNumber;
  }
};

std::atomic<long> g_lLastNumber{0};

const std::string Filler(300, '.');
constexpr const char* Delimiter = " a delimiter of more than fifteen bytes ";

struct Footprint {
  std::size_t uMemory = MemoryInUse();
  long lDescriptors = OpenDescriptors();
  long lThreads = std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
};

class Soak {
 public:
  Soak() {
    for (int i = 0; i < LoggingThreads; ++i) Start([this] { LogMessages(); });
    Start([this] { Reconfigure(); });
    Start([this] { Fork(); });
    Start([this] { UseNamedLoggers(); });
  }
  ~Soak() {
    m_bStop = true;
    m_edge.arrive_and_wait();
  }

  // All threads at work for a while; then nobody is, and what has been written is looked at.
  void RunRound() {
    m_bRest = false;
    m_edge.arrive_and_wait();
    std::this_thread::sleep_for(RoundTime);
    m_bRest = true;
    m_edge.arrive_and_wait();
    theLogger()->DisableLog();
    theLogger()->DisableAuditLog();
    theLogger()->DisableTrace(false);
    CollectFiles();
  }

  void ExpectNothingLost() const {
    EXPECT_EQ(m_found.lCount, m_taken.lCount);
    EXPECT_EQ(m_found.lSum, m_taken.lSum);
    EXPECT_EQ(m_iBroken, 0) << "lines";
    EXPECT_GT(m_taken.lCount, 100 * LoggingThreads);
    EXPECT_GT(m_iFiles, m_iRounds / 4) << "rolled over";
    EXPECT_TRUE(m_iChildren > 0 || IsSanitized) << "that logged";
  }

 private:
  template <typename Work>
  void Start(Work work) {
    m_threads.emplace_back([this, work] {
      while (true) {
        m_edge.arrive_and_wait();
        if (m_bStop) return;
        while (!m_bRest) work();
        m_edge.arrive_and_wait();
      }
    });
  }

  // ---- What the threads do ----------------------------------------------------------------------

  bool LogNumber(CWyLogger& logger, bool (CWyLogger::*pfnLog)(CWyErrLogMessage&), long lNumber) {
    CWyErrLogMessage msg(false);
    msg.FormatLogProlog("soak.cpp", 1, 0);
    msg.FormatMessage(0x01004001u, (Filler + "#" + std::to_string(lNumber)).c_str());
    return (logger.*pfnLog)(msg);
  }

  void LogCounted(CWyLogger& logger, bool (CWyLogger::*pfnLog)(CWyErrLogMessage&)) {
    const long lNumber = ++g_lLastNumber;
    if (LogNumber(logger, pfnLog, lNumber)) m_taken.Add(lNumber);
  }

  void LogMessages() {
    LogCounted(*theLogger(), &CWyLogger::LogErrMsg);
    LogCounted(*theLogger(), &CWyLogger::LogAuditMsg);
    Trace(*theLogger(), Filler.c_str());
    std::this_thread::yield();
  }

  // In one of two shapes, with texts that the configuration owns.
  bool EnableTraceFile(CWyLogger& logger, const char* pszName, int iMode, bool bDelimited) {
    const char* const pszConfiguration =
        bDelimited ? "components: Log\ndata: User, Message, Function\nMessage: !=no\n"
                   : LegacyMessages;
    return EnableTrace(logger, File(logger, pszName, iMode), pszConfiguration,
                       {.iFormat = bDelimited ? 2 : 0, .pszDelimiter = Delimiter});
  }

  CWyLogOutput* File(CWyLogger& logger, const char* pszName, int iMode) {
    return logger.NewLogOutput(1, m_directory.Path(pszName).c_str(), iMode, 1, 0);
  }

  void Reconfigure() {
    CWyLogger& logger = *theLogger();
    const int iRound = ++m_iRounds;
    EXPECT_TRUE(
        logger.SetLogOutput(File(logger, iRound % 3 == 0 ? "plain" : "error", iRound % 3 + 1)));
    EXPECT_TRUE(logger.EnableAuditLogRollover(File(logger, "audit", iRound % 2 == 0 ? 3 : 1)));
    EXPECT_TRUE(EnableTraceFile(logger, "trace", 3, iRound % 2 == 0));
    if (iRound % 10 == 0) logger.DisableLog();
    if (iRound % 7 == 0) logger.DisableTrace(iRound % 2 == 0);
    std::this_thread::sleep_for(milliseconds(5));
  }

  void Fork() {
    const long lNumber = ++g_lLastNumber;
    const pid_t pid = fork();
    if (pid == 0) {
      alarm(10);
      if (IsSanitized) _exit(2);
      _exit(LogNumber(*theLogger(), &CWyLogger::LogErrMsg, lNumber) ? 0 : 2);
    }
    const int iStatus = StatusOf(pid);
    EXPECT_TRUE(WIFEXITED(iStatus)) << iStatus;
    if (iStatus == 0) {
      m_taken.Add(lNumber);
      ++m_iChildren;
    }
    std::this_thread::sleep_for(milliseconds(2));
  }

  void UseNamedLoggers() {
    CWyLogger* const pTenant = getMyLogger("tenant");
    ASSERT_NE(pTenant, nullptr);
    EXPECT_TRUE(pTenant->SetLogOutput(File(*pTenant, "tenant", 1)));
    EXPECT_TRUE(EnableTraceFile(*pTenant, "trace", 1, true));
    {
      const TestThread thread([&] {
        LogCounted(*pTenant, &CWyLogger::LogErrMsg);
        Trace(*pTenant, Filler.c_str());
      });
    }
    EXPECT_TRUE(removeMyLogger("tenant"));
  }

  // ---- What has come of it ----------------------------------------------------------------------

  void CollectFiles() {
    for (const std::string& strName : m_directory.Names()) {
      const std::string strPath = m_directory.Path(strName);
      strName.starts_with("trace") ? CheckRecords(strPath) : Count(strPath);
      std::filesystem::remove(strPath);
      ++m_iFiles;
    }
  }

  void Count(const std::string& strPath) {
    std::ifstream file(strPath);
    for (std::string strLine; std::getline(file, strLine);) {
      const auto uNumber = strLine.rfind("] " + Filler + "#");
      if (strLine.front() == '[' && uNumber != std::string::npos &&
          strLine.find('#') == strLine.rfind('#')) {
        m_found.Add(atol(strLine.c_str() + uNumber + Filler.size() + 3));
      } else {
        ++m_iBroken;
      }
    }
  }

  void CheckRecords(const std::string& strPath) {
    static const std::string s_strDelimiter = Delimiter;
    static const std::set<std::string> s_whole = {
        "[" + Filler + "]",
        s_strDelimiter + Filler + s_strDelimiter,
        "[Message]",
        "[=======]",
        "User" + s_strDelimiter + "Message" + s_strDelimiter + "Function",
        "====" + s_strDelimiter + "=======" + s_strDelimiter + "========"};
    std::ifstream file(strPath);
    for (std::string strLine; std::getline(file, strLine);) {
      if (!s_whole.contains(strLine)) ++m_iBroken;
    }
  }

  TempDirectory m_directory;
  Tally m_taken, m_found;
  int m_iBroken = 0;
  int m_iRounds = 0;
  int m_iFiles = 0;
  int m_iChildren = 0;
  std::atomic<bool> m_bRest{true};
  std::atomic<bool> m_bStop{false};
  std::barrier<> m_edge{LoggingThreads + OtherThreads + 1};
  std::list<TestThread> m_threads;
};

TEST(Soak, LosesNothingAndDoesNotGrow) {
  const char* const pszSeconds = getenv("SOAK_SECONDS");
  const auto end = steady_clock::now() + std::chrono::seconds(pszSeconds ? atoi(pszSeconds) : 5);
  Soak soak;
  for (int i = 0; i < WarmUpRounds; ++i) soak.RunRound();
  const Footprint before;
  do {
    soak.RunRound();
    const Footprint now;
    ASSERT_LE(now.uMemory, before.uMemory + MemorySlack);
    ASSERT_EQ(now.lDescriptors, before.lDescriptors);
    ASSERT_EQ(now.lThreads, before.lThreads);
    soak.ExpectNothingLost();
  } while (steady_clock::now() < end && !HasFailure());
}

}  // namespace
