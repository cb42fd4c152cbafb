// Loggers under names, many of them.

#include "wyerrlog/WyLoggerList.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <wyi18n/wyi18n.h>

#include <algorithm>
#include <array>
#include <barrier>
#include <list>
#include <mutex>
#include <set>

#include "test_support/Footprint.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"

// In the place of the platform's: without a search for plug-ins, loggers are made quickly.
__attribute__((visibility("default"))) void* WyLoadLibrary(const char*) { return nullptr; }

namespace {

using namespace test_support;

TEST(LoggerList, FindsLoggersByTheBytesOfTheirNames) {
  EXPECT_EQ(theLoggerList()->GetLogger("A"), nullptr);
  EXPECT_TRUE(removeMyLogger("A")) << "nothing has been added yet";
  EXPECT_FALSE(removeMyLogger(nullptr));
  std::string strName = "A";
  CWyLogger* const pLogger = getMyLogger(strName.c_str());
  strName[0] = 'b';
  ASSERT_NE(pLogger, nullptr);
  EXPECT_EQ(getMyLogger("A"), pLogger);
  EXPECT_EQ(theLoggerList()->AddLogger("A"), pLogger);
  CWyLogger* const apOthers[] = {getMyLogger("a"), getMyLogger("A "), getMyLogger("\xc3\xa4")};
  EXPECT_THAT(apOthers, testing::Each(testing::Ne(pLogger)));
  EXPECT_THAT(apOthers, testing::Each(testing::Ne(theLogger())));
  for (const char* pszRefused : {"", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(getMyLogger(pszRefused), nullptr);
    EXPECT_EQ(theLoggerList()->AddLogger(pszRefused), nullptr);
    EXPECT_EQ(theLoggerList()->GetLogger(pszRefused), nullptr);
    EXPECT_FALSE(removeMyLogger(pszRefused));
  }
  pLogger->SetExecutionTimeThreshold(7);
  EXPECT_TRUE(removeMyLogger("A"));
  EXPECT_FALSE(removeMyLogger("A"));
  EXPECT_EQ(theLoggerList()->GetLogger("A"), nullptr);
  EXPECT_EQ(getMyLogger("A")->GetExecutionTimeThreshold(), 0) << "a fresh one";
}

TEST(LoggerList, AddsANameOnceWhoeverAsksAtTheSameTime) {
  std::array<CWyLogger*, 4> apLoggers{};
  std::barrier start(4);
  std::list<TestThread> threads;
  for (CWyLogger*& pLogger : apLoggers) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      pLogger = getMyLogger("A");
    });
  }
  threads.clear();
  EXPECT_NE(apLoggers[0], nullptr);
  EXPECT_THAT(apLoggers, testing::Each(theLoggerList()->GetLogger("A")));
}

std::string Name(int i) { return "tenant " + std::to_string(i); }

// Loggers by the number, which threads that live on use together.
class Tenants {
 public:
  static constexpr int Threads = 3;

  Tenants() {
    for (int i = 0; i < Threads; ++i) {
      m_threads.emplace_back([this] {
        for (m_barrier.arrive_and_wait(); m_iCount > 0; m_barrier.arrive_and_wait()) {
          for (int iName = 0; iName < m_iCount; ++iName) Use(*getMyLogger(Name(iName).c_str()));
          m_barrier.arrive_and_wait();
        }
      });
    }
  }
  ~Tenants() {
    m_iCount = 0;
    m_barrier.arrive_and_wait();
  }

  // Makes so many loggers, has each thread use each for its three logs, and removes them.
  void Run(int iCount) {
    for (int i = 0; i < iCount; ++i) SetUp(*getMyLogger(Name(i).c_str()));
    m_iCount = iCount;
    m_records.clear();
    m_barrier.arrive_and_wait();
    m_barrier.arrive_and_wait();
    for (int i = 0; i < iCount; ++i) EXPECT_TRUE(removeMyLogger(Name(i).c_str()));
    EXPECT_EQ(m_records.size(), static_cast<size_t>(iCount * Threads)) << "none shared";
    m_iUses += iCount * Threads;
  }

  // Whether every use has left a line in every log.
  void ExpectAllLogged() {
    const auto lines = [](const std::string& strText) {
      return std::count(strText.begin(), strText.end(), '\n');
    };
    EXPECT_EQ(lines(m_directory.Read("error")), m_iUses);
    EXPECT_EQ(lines(m_directory.Read("audit")), m_iUses);
    EXPECT_EQ(lines(m_directory.Read("trace")), m_iUses * 3);
  }

 private:
  void SetUp(CWyLogger& logger) {
    const auto output = [&](const char* pszName) {
      return logger.NewLogOutput(1, m_directory.Path(pszName).c_str(), 1, 0, 0);
    };
    EXPECT_TRUE(logger.SetLogOutput(output("error")));
    EXPECT_TRUE(logger.EnableAuditLogRollover(output("audit")));
    EXPECT_TRUE(EnableTrace(logger, output("trace"), LegacyMessages, {.iFormat = 3}));
  }

  void Use(CWyLogger& logger) {
    CWyErrLogMessage msg(false);
    msg.SetFormattedMessage("line\n");
    EXPECT_TRUE(logger.LogErrMsg(msg) && logger.LogAuditMsg(msg) && Trace(logger, "line"));
    CWyTraceData* pData = nullptr;
    EXPECT_TRUE(logger.ShouldTraceAlloc(LegacyId, &pData));
    const std::lock_guard lock(m_mutex);
    m_records.insert(pData);
  }

  TempDirectory m_directory;
  std::mutex m_mutex;
  std::set<CWyTraceData*> m_records;
  std::barrier<> m_barrier{Threads + 1};
  int m_iCount = 0;
  int m_iUses = 0;
  std::list<TestThread> m_threads;
};

TEST(LoggerList, LeavesMemoryAndDescriptorsFlatThroughTwoThousandLoggers) {
  Tenants tenants;
  tenants.Run(10);
  const size_t uMemory = MemoryInUse();
  const long lDescriptors = OpenDescriptors();
  for (int i = 0; i < (IsSanitized ? 4 : 40); ++i) tenants.Run(50);
  EXPECT_LE(MemoryInUse(), uMemory + 500000);
  EXPECT_EQ(OpenDescriptors(), lDescriptors);
  tenants.ExpectAllLogged();
}

TEST(LoggerList, TracesWithLoggersForWhichTheSystemHasNoThreadKeyLeft) {
  Tenants tenants;
  tenants.Run(1);
  std::vector<pthread_key_t> keys;
  for (pthread_key_t key; pthread_key_create(&key, nullptr) == 0;) keys.push_back(key);
  for (size_t i = 0; i < 10; ++i) pthread_key_delete(keys[i]);
  tenants.Run(40);
  const size_t uMemory = MemoryInUse();
  for (int i = 0; i < 5; ++i) tenants.Run(40);
  EXPECT_LE(MemoryInUse(), uMemory + 500000);
  tenants.ExpectAllLogged();
}

}  // namespace
