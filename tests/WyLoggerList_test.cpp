// Loggers under names, many of them.

#include "wyerrlog/WyLoggerList.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <wyi18n/wyi18n.h>

#include <array>
#include <atomic>
#include <barrier>
#include <functional>
#include <list>

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
  CWyLoggerList list;
  for (int i = 0; i < 20; ++i) {
    const std::string strName = std::to_string(i);
    std::array<CWyLogger*, 4> apLoggers{};
    std::barrier start(4);
    {
      std::list<TestThread> threads;
      for (CWyLogger*& pLogger : apLoggers) {
        threads.emplace_back([&] {
          start.arrive_and_wait();
          pLogger = list.AddLogger(strName.c_str());
        });
      }
    }
    EXPECT_NE(apLoggers[0], nullptr);
    EXPECT_THAT(apLoggers, testing::Each(list.GetLogger(strName.c_str())));
  }
}

// Threads that live on and do, all together, what they are told.
class Workers {
 public:
  Workers() {
    for (int i = 0; i < Count; ++i) {
      m_threads.emplace_back([this] {
        for (m_barrier.arrive_and_wait(); m_work; m_barrier.arrive_and_wait()) {
          m_work();
          m_barrier.arrive_and_wait();
        }
      });
    }
  }
  ~Workers() { m_barrier.arrive_and_wait(); }

  void Do(const std::function<void()>& work) {
    m_work = work;
    m_barrier.arrive_and_wait();
    m_barrier.arrive_and_wait();
    m_work = nullptr;
  }

  static constexpr int Count = 3;

 private:
  std::function<void()> m_work;
  std::barrier<> m_barrier{Count + 1};
  std::list<TestThread> m_threads;
};

std::string Name(int i) { return "tenant " + std::to_string(i); }

// Makes the loggers of these numbers, uses each for its three logs and removes them.
class Tenants {
 public:
  void UseTogether(int iCount) {
    for (int i = 0; i < iCount; ++i) SetUp(*getMyLogger(Name(i).c_str()));
    m_workers.Do([iCount] {
      for (int i = 0; i < iCount; ++i) UseOne(*theLoggerList()->GetLogger(Name(i).c_str()));
    });
    for (int i = 0; i < iCount; ++i) EXPECT_TRUE(removeMyLogger(Name(i).c_str()));
  }

  // How often a line stands in the logs.
  long Count(const std::string& strFile, const std::string& strLine) const {
    const std::string strContent = m_directory.Read(strFile);
    long lCount = 0;
    for (size_t u = 0; (u = strContent.find(strLine, u)) != std::string::npos; ++u) ++lCount;
    return lCount;
  }

 private:
  void SetUp(CWyLogger& logger) {
    const auto output = [&](const char* pszName) {
      return logger.NewLogOutput(1, m_directory.Path(pszName).c_str(), 1, 0, 0);
    };
    EXPECT_TRUE(logger.SetLogOutput(output("error")));
    EXPECT_TRUE(logger.EnableAuditLogRollover(output("audit")));
    EXPECT_TRUE(EnableTrace(logger, output("trace"), LegacyMessages));
  }

  static void UseOne(CWyLogger& logger) {
    CWyErrLogMessage msg(false);
    msg.SetFormattedMessage("line\n");
    EXPECT_TRUE(logger.LogErrMsg(msg) && logger.LogAuditMsg(msg) && Trace(logger, "line"));
    CWyTraceData* pData = nullptr;
    EXPECT_TRUE(logger.ShouldTraceAlloc(LegacyId, &pData));
    EXPECT_EQ(pData->GetLogger(), &logger);
  }

  TempDirectory m_directory;
  Workers m_workers;
};

TEST(LoggerList, LeavesMemoryAndDescriptorsFlatThroughTwoThousandLoggers) {
  constexpr int Loggers = IsSanitized ? 200 : 2000;
  Tenants tenants;
  tenants.UseTogether(10);
  const size_t uMemory = MemoryInUse();
  const long lDescriptors = OpenDescriptors();
  for (int i = 0; i < Loggers / 50; ++i) tenants.UseTogether(50);
  EXPECT_LE(MemoryInUse(), uMemory + 500000);
  EXPECT_EQ(OpenDescriptors(), lDescriptors);
  EXPECT_EQ(tenants.Count("error", "line\n"), (Loggers + 10) * Workers::Count);
  EXPECT_EQ(tenants.Count("audit", "line\n"), (Loggers + 10) * Workers::Count);
  EXPECT_EQ(tenants.Count("trace", "[line]\n"), (Loggers + 10) * Workers::Count);
}

TEST(LoggerList, TracesWithLoggersForWhichTheSystemHasNoThreadKeyLeft) {
  Tenants tenants;
  tenants.UseTogether(1);
  std::vector<pthread_key_t> keys;
  for (pthread_key_t key; pthread_key_create(&key, nullptr) == 0;) keys.push_back(key);
  for (int i = 0; i < 10; ++i) pthread_key_delete(keys[static_cast<size_t>(i)]);
  tenants.UseTogether(40);
  const size_t uMemory = MemoryInUse();
  for (int i = 0; i < 5; ++i) tenants.UseTogether(40);
  EXPECT_LE(MemoryInUse(), uMemory + 500000);
  EXPECT_EQ(tenants.Count("trace", "[line]\n"), (1 + 6 * 40) * Workers::Count);
}

}  // namespace
