// Loggers under names, many of them.

#include "wyerrlog/WyLoggerList.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <wyi18n/wyi18n.h>

#include <array>
#include <barrier>
#include <list>
#include <set>

#include "test_support/Footprint.h"
#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"

// In the place of the platform's: without a search for plug-ins, loggers are made quickly.
static int s_iSearches = 0;
__attribute__((visibility("default"))) void* WyLoadLibrary(const char*) {
  ++s_iSearches;
  return nullptr;
}

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

// A trace record of the logger by each of several threads, which live on from one logger to the
// next; no two of them the same.
class TracingThreads {
 public:
  static constexpr std::size_t Threads = 3;

  TracingThreads() {
    for (std::size_t i = 0; i < Threads; ++i) {
      m_threads.emplace_back([this, i] {
        for (m_turn.arrive_and_wait(); m_pLogger != nullptr; m_turn.arrive_and_wait()) {
          EXPECT_TRUE(Trace(*m_pLogger, "line"));
          EXPECT_TRUE(m_pLogger->ShouldTraceAlloc(LegacyId, &(m_records[i] = nullptr)));
          m_turn.arrive_and_wait();
        }
      });
    }
  }
  ~TracingThreads() { m_turn.arrive_and_wait(); }

  void Use(CWyLogger& logger) {
    m_pLogger = &logger;
    m_turn.arrive_and_wait();
    m_turn.arrive_and_wait();
    m_pLogger = nullptr;
    EXPECT_EQ(std::set(m_records.begin(), m_records.end()).size(), Threads);
  }

 private:
  CWyLogger* m_pLogger = nullptr;
  std::array<CWyTraceData*, Threads> m_records{};
  std::barrier<> m_turn{Threads + 1};
  std::list<TestThread> m_threads;
};

// One use of each of many loggers, by threads that have a record of each.
void UseLoggers(TracingThreads& threads, const std::string& strTrace, int iCount) {
  const auto name = [](int i) { return "tenant " + std::to_string(i); };
  for (int i = 0; i < iCount; ++i) {
    CWyLogger& logger = *getMyLogger(name(i).c_str());
    ASSERT_TRUE(EnableTrace(logger, logger.NewLogOutput(1, strTrace.c_str(), 1, 0, 0),
                            LegacyMessages, {.iFormat = 3}));
    threads.Use(logger);
  }
  for (int i = 0; i < iCount; ++i) EXPECT_TRUE(removeMyLogger(name(i).c_str()));
}

TEST(LoggerList, TracesWithLoggersForWhichTheSystemHasNoThreadKeyLeft) {
  const TempDirectory directory;
  TracingThreads threads;
  UseLoggers(threads, directory.Path("trace"), 1);
  const size_t uFirst = MemoryInUse();
  std::vector<pthread_key_t> keys;
  for (pthread_key_t key; pthread_key_create(&key, nullptr) == 0;) keys.push_back(key);
  for (size_t i = 0; i < 10; ++i) pthread_key_delete(keys[i]);
  UseLoggers(threads, directory.Path("trace"), 40);
  const size_t uMemory = MemoryInUse();
  EXPECT_LE(uMemory, uFirst + 3'000'000) << "more than 30 records of removed loggers";
  const long lDescriptors = OpenDescriptors();
  for (int i = 0; i < 5; ++i) UseLoggers(threads, directory.Path("trace"), 40);
  EXPECT_LE(MemoryInUse(), uMemory + 500000);
  EXPECT_EQ(OpenDescriptors(), lDescriptors);
}

TEST(LoggerList, TakesLittleMemoryForEachOfManyLoggers) {
  if (IsSanitized) GTEST_SKIP() << "sanitizers need memory of their own";
  getMyLogger("first");
  const size_t uMemory = ResidentMemory();
  for (int i = 0; i < 200; ++i) getMyLogger(("tenant " + std::to_string(i)).c_str());
  EXPECT_LE(ResidentMemory(), uMemory + 200 * 16384);
}

// With the calls of WyLoadLibrary that a new logger makes.
TEST(LoggerList, RemembersWhichLibrariesAreMissing) {
  const TempDirectory directory;
  std::filesystem::create_directory(directory.Path("bin"));
  const auto age = [&] { std::filesystem::last_write_time(directory.Path("bin"), {}); };
  age();
  setenv("ORVA_WA_ROOT", directory.Path("").c_str(), 1);
  stand_ins::coarse_clock = 5000;
  const auto searches = [](int iLogger) {
    const int iBefore = s_iSearches;
    getMyLogger(("of many " + std::to_string(iLogger)).c_str());
    return s_iSearches - iBefore;
  };
  const int iAll = searches(0);
  EXPECT_GE(iAll, 26 * 3);
  EXPECT_EQ(searches(1), 0);
  directory.Write("bin/libFederation.so", "cannot be loaded");
  EXPECT_EQ(searches(2), iAll) << "a folder has changed";
  EXPECT_EQ(searches(3), iAll / 26) << "the one that is there";
  stand_ins::coarse_clock += 1000;
  EXPECT_EQ(searches(4), iAll / 26);
  stand_ins::coarse_clock += 1;
  EXPECT_EQ(searches(5), iAll) << "more than a second ago";
  stand_ins::coarse_clock = 0;
}

}  // namespace
