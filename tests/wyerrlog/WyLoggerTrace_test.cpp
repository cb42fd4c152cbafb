// Turning tracing on and off, its decisions, and the records that threads are given.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <latch>
#include <list>
#include <set>

#include "test_support/ChildProcess.h"
#include "test_support/HostOutput.h"
#include "test_support/Sanitizer.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"

namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* Titles = "[Message][User]\n";
constexpr const char* LegacyUsers = "components: Log/Legacy\ndata: Message, User\n";
constexpr const char* LogFunctions = "components: Log\ndata: Function\n";

CWyTraceData* RecordOf(CWyLogger& logger) {
  CWyTraceData* pData = nullptr;
  return logger.ShouldTraceAlloc(LegacyId, &pData) ? pData : nullptr;
}

class Tracing : public testing::Test {
 protected:
  bool Enable(OutputScript& script, const char* pszConfiguration,
              const TraceOptions& options = {}) {
    return EnableTrace(m_logger, new HostOutput(script), pszConfiguration, options);
  }
  // Turns tracing on with two outputs, of which nothing has been noted then.
  void EnableBoth() {
    ASSERT_TRUE(
        EnableTrace(m_logger, new HostOutput(m_first), LegacyUsers, {}, new HostOutput(m_second)));
    m_first.Forget();
    m_second.Forget();
  }

  OutputScript m_first, m_second, m_third, m_fourth;
  CWyLogger m_logger;
};

// ---- Enabling -----------------------------------------------------------------------------------

TEST_F(Tracing, BeginsWithTitleLinesInBothOutputs) {
  m_second.bAsync = true;
  EXPECT_TRUE(EnableTrace(m_logger, new HostOutput(m_first), LegacyUsers,
                          {.bUseLocalTime = true, .bBuffered = true}, new HostOutput(m_second)));
  EXPECT_TRUE(m_logger.ShouldUseLocalTime());
  EXPECT_TRUE(Trace(m_logger, "m"));
  EXPECT_THAT(m_first.Events(),
              ElementsAre("open", "buffered", "headers [Message][User]\n[=======][====]\n",
                          "log [Message][User]\n", "log [=======][====]\n", "log [m][]\n"));
  EXPECT_THAT(m_second.Events(),
              ElementsAre("open", "log [Message][User]\n", "log [=======][====]\n", "log [m][]\n"));
  EXPECT_TRUE(Enable(m_third, LegacyMessages, {.iFormat = 3}));
  EXPECT_THAT(m_third.Events(), ElementsAre("open", "unbuffered")) << "no titles in XML";
  EXPECT_FALSE(m_logger.ShouldUseLocalTime());
}

TEST_F(Tracing, StaysAsItIsWhenEnablingIsRefused) {
  HostOutput output(m_third), other(m_fourth);
  m_third.bAsync = true;
  const auto expectRefused = [&](CWyLogOutput* pFirst, CWyLogOutput* pSecond) {
    const TraceOptions local{.bUseLocalTime = true};
    EXPECT_FALSE(EnableTrace(m_logger, nullptr, LegacyMessages, local));
    EXPECT_FALSE(EnableTrace(m_logger, &output, LegacyMessages, local, &other)) << "asynchronous";
    EXPECT_FALSE(EnableTrace(m_logger, &other, LegacyMessages, local, &other));
    EXPECT_FALSE(EnableTrace(m_logger, &output, "data: User\n", local)) << "no configuration";
    EXPECT_FALSE(m_logger.EnableTrace(&output, 0, nullptr, "/nowhere/file", true, false, false));
    EXPECT_FALSE(m_logger.EnableTrace(&output, 0, nullptr, nullptr, true, false, false));
    EXPECT_FALSE(EnableTrace(m_logger, pFirst, LegacyMessages, local)) << "is installed";
    EXPECT_FALSE(EnableTrace(m_logger, pSecond, LegacyMessages, local)) << "is installed";
    EXPECT_FALSE(m_logger.ShouldUseLocalTime());
  };
  EXPECT_FALSE(EnableTrace(m_logger, &output, LegacyMessages, {.bOutputOnly = true}));
  expectRefused(nullptr, nullptr);
  auto *const pFirst = new HostOutput(m_first), *const pSecond = new HostOutput(m_second);
  ASSERT_TRUE(EnableTrace(m_logger, pFirst, LegacyMessages, {}, pSecond));
  m_first.Forget();
  expectRefused(pFirst, pSecond);
  EXPECT_TRUE(Trace(m_logger, "m"));
  EXPECT_THAT(m_first.Events(), ElementsAre("log [m]\n"));
  m_logger.Release();
  expectRefused(nullptr, nullptr);
  EXPECT_THAT(m_third.Events(), IsEmpty());
  EXPECT_THAT(m_fourth.Events(), IsEmpty());
}

TEST_F(Tracing, EndsWhenANewOutputCannotBeOpened) {
  for (const bool bFirstFails : {true, false}) {
    EnableBoth();
    m_third.bOpens = !bFirstFails;
    m_fourth.bOpens = bFirstFails;
    const auto pThird = std::make_unique<HostOutput>(m_third);
    const auto pFourth = std::make_unique<HostOutput>(m_fourth);
    EXPECT_FALSE(EnableTrace(m_logger, pThird.get(), LogFunctions, {}, pFourth.get()));
    EXPECT_FALSE(m_logger.TraceEnabled(0));
    EXPECT_THAT(m_first.Events(), ElementsAre("close", "delete"));
    EXPECT_THAT(m_second.Events(), ElementsAre("close", "delete"));
  }
  EXPECT_THAT(m_third.Events(),
              ElementsAre("open", "delete", "open", "unbuffered", "close", "delete"));
  EXPECT_THAT(m_fourth.Events(), ElementsAre("delete", "open", "delete"));
}

TEST_F(Tracing, GoesOnWithTheSecondOutputWhenOnlyTheFirstIsReplacedOrRemoved) {
  EnableBoth();
  m_fourth.bOpens = false;
  HostOutput refused(m_fourth), fourth(m_fourth);
  EXPECT_FALSE(EnableTrace(m_logger, &refused, LogFunctions, {.bOutputOnly = true}));
  EXPECT_TRUE(Trace(m_logger, "a"));
  m_fourth.bOpens = true;
  EXPECT_TRUE(EnableTrace(m_logger, new HostOutput(m_third), LogFunctions,
                          {.bUseLocalTime = true, .bOutputOnly = true}, &fourth));
  EXPECT_FALSE(m_logger.ShouldUseLocalTime() || m_logger.TraceEnabled(LogId))
      << "the configuration is the installed one";
  EXPECT_TRUE(Trace(m_logger, "b"));
  m_third.bLogs = false;
  EXPECT_FALSE(Trace(m_logger, "half"));
  m_logger.DisableTrace(true);
  EXPECT_TRUE(Trace(m_logger, "c"));
  m_logger.DisableTrace(false);
  EXPECT_FALSE(m_logger.TraceEnabled(0));
  EXPECT_THAT(m_first.Events(), ElementsAre("close", "delete"));
  EXPECT_THAT(m_second.Events(), ElementsAre("log [a][]\n", "log [b][]\n", "log [half][]\n",
                                             "log [c][]\n", "close", "delete"));
  EXPECT_THAT(
      m_third.Events(),
      ElementsAre("open", "unbuffered", "headers [Function]\n[========]\n", "log [Function]\n",
                  "log [========]\n", "log [b][]\n", "log [half][]\n", "close", "delete"));
  EXPECT_THAT(m_fourth.Events(), ElementsAre("open", "open")) << "the caller's";
}

TEST_F(Tracing, StopsWithoutAnOutputAlsoForComponentsAndRecordsThatAreAtHand) {
  ASSERT_TRUE(Enable(m_first, LegacyUsers));
  EXPECT_TRUE(RecordOf(m_logger) != nullptr && m_logger.TraceEnabled(LegacyId));
  m_second.bOpens = false;
  HostOutput refused(m_second);
  EXPECT_FALSE(EnableTrace(m_logger, &refused, LogFunctions, {.bOutputOnly = true}));
  EXPECT_FALSE(RecordOf(m_logger) != nullptr || m_logger.TraceEnabled(LegacyId));
  ASSERT_TRUE(Enable(m_third, LogFunctions, {.bOutputOnly = true}));
  EXPECT_TRUE(RecordOf(m_logger) != nullptr && m_logger.TraceEnabled(LegacyId));
  m_logger.DisableTrace(true);
  EXPECT_FALSE(RecordOf(m_logger) != nullptr || m_logger.TraceEnabled(LegacyId));
}

// ---- Decisions and records ----------------------------------------------------------------------

TEST_F(Tracing, IsDecidedOncePerComponentAndConfiguration) {
  const auto legacy = [&] { return m_logger.TraceEnabled(LegacyId); };
  EXPECT_FALSE(m_logger.TraceEnabled(0));
  EXPECT_TRUE(Enable(m_first, "components:\ndata:\n"));
  EXPECT_TRUE(m_logger.TraceEnabled(0) && !legacy());
  EXPECT_TRUE(Enable(m_first, LegacyMessages));
  EXPECT_TRUE(legacy());
  EXPECT_TRUE(m_logger.TraceEnabled(LegacyId | 0xFFFF)) << "the bits of a message do not count";
  for (const unsigned int uId : {1u, 0x01000000u, 0xFFFF0000u}) {
    EXPECT_FALSE(m_logger.TraceEnabled(uId)) << uId;
  }
  EXPECT_TRUE(Enable(m_first, LegacyMessages));
  EXPECT_FALSE(m_logger.TraceEnabled(LegacyId | 1)) << "but those of the first one asked for do";
  EXPECT_FALSE(legacy());
  m_logger.DisableTrace(true);
  EXPECT_TRUE(Enable(m_first, LogFunctions));
  EXPECT_TRUE(legacy());
  m_logger.DisableTrace(true);
  CWyTraceData record;
  EXPECT_FALSE(m_logger.TraceEnabled(0) || legacy() || m_logger.ShouldTrace(LegacyId, &record) ||
               RecordOf(m_logger) != nullptr);
  EXPECT_TRUE(Enable(m_first, LegacyMessages, {.bOutputOnly = true}));
  EXPECT_TRUE(legacy());
}

TEST_F(Tracing, HandsOutAThreadsRecordOnce) {
  EnableBoth();
  CWyTraceData* pData = nullptr;
  EXPECT_FALSE(m_logger.ShouldTraceAlloc(LegacyId, nullptr));
  EXPECT_FALSE(m_logger.ShouldTrace(LegacyId, nullptr));
  EXPECT_FALSE(m_logger.ShouldTraceAlloc(LogId, &pData) || pData != nullptr);
  ASSERT_TRUE(m_logger.ShouldTraceAlloc(LegacyId, &pData));
  CWyTraceData* const pTaken = pData;
  pTaken->SetLogger(nullptr);
  EXPECT_FALSE(m_logger.ShouldTraceAlloc(LegacyId, &pData) || pData != pTaken);
  m_logger.Init();
  EXPECT_EQ(RecordOf(m_logger), pTaken) << "a second Init changes nothing";
  EXPECT_EQ(pTaken->GetLogger(), &m_logger);
}

TEST_F(Tracing, BringsRecordsUpToEachNewConfigurationOfWhicheverLogger) {
  CWyLogger other;
  CWyTraceData own;
  const auto expectFields = [&](CWyLogger& logger, const char* pszTitles) {
    ASSERT_TRUE(logger.ShouldTrace(LegacyId, &own));
    EXPECT_EQ(Line(own, 1), pszTitles);
    EXPECT_EQ(Line(*RecordOf(logger), 1), pszTitles);
  };
  m_fourth.bOpens = false;
  HostOutput refused(m_fourth);
  for (int i = 0; i < 3; ++i) {
    EnableBoth();
    ASSERT_TRUE(EnableTrace(other, new HostOutput(m_third), LogFunctions));
    expectFields(m_logger, Titles);
    expectFields(other, "[Function]\n");
    expectFields(m_logger, Titles);
    EXPECT_TRUE(Enable(m_first, LegacyMessages));
    expectFields(m_logger, "[Message]\n");
    EXPECT_FALSE(EnableTrace(m_logger, &refused, LogFunctions));
    EnableBoth();  // numbered behind a configuration that a failure removed
    expectFields(m_logger, Titles);
    m_logger.DisableTrace(false);
    EXPECT_FALSE(m_logger.ShouldTrace(LegacyId, &own));
  }
}

TEST_F(Tracing, LeavesThreadsAndRecordsUsableThatOutliveTheirLogger) {
  const auto pOwn = std::make_unique<CWyTraceData>();
  for (int i = 0; i < (IsSanitized ? 20 : 200); ++i) {
    auto pLogger = std::make_unique<CWyLogger>();
    ASSERT_TRUE(EnableTrace(*pLogger, new HostOutput(m_first),
                            "components: Log\ndata: User, Message\nMessage: !=no\n",
                            {.iFormat = 2, .pszDelimiter = " of more than fifteen bytes "}));
    std::latch traced(1);
    // Comes to its end while the logger does.
    const TestThread thread([&] {
      EXPECT_TRUE(Trace(*pLogger, "m") && pLogger->ShouldTrace(LegacyId, pOwn.get()));
      traced.count_down();
    });
    traced.wait();
    pLogger.reset();
  }
  // The tables, names, filters and the delimiter are still there.
  ASSERT_NE(pOwn->GetComponentInfo("Log/Legacy"), nullptr);
  EXPECT_TRUE(pOwn->ComponentSelected(LegacyId) && pOwn->SetFieldValue(UserField, "u"));
  EXPECT_FALSE(pOwn->SetFieldValue(MessageField, "no"));
  EXPECT_EQ(Line(*pOwn, 0), "u of more than fifteen bytes no\n");
}

// The records of so many threads that live at the same time. They are left with values in them.
std::set<CWyTraceData*> RecordsOfThreads(CWyLogger& logger, int iThreads) {
  std::set<CWyTraceData*> records;
  std::mutex mutex;
  std::latch all(iThreads);
  std::list<TestThread> threads;
  for (int i = 0; i < iThreads; ++i) {
    threads.emplace_back([&] {
      CWyTraceData* const pData = RecordOf(logger);
      EXPECT_EQ(*pData->GetDataFieldInfo(UserField)->pszValue, 0) << "of another thread";
      pData->SetFieldValue(UserField, std::string(2000, 'x').c_str());
      all.arrive_and_wait();
      EXPECT_EQ(RecordOf(logger), pData);
      const std::lock_guard lock(mutex);
      records.insert(pData);
    });
  }
  threads.clear();
  return records;
}

TEST_F(Tracing, GivesEachThreadARecordAndThoseOfEndedThreadsToNewOnes) {
  EnableBoth();
  const auto records = RecordsOfThreads(m_logger, 65);  // more than twice what the pool grows by
  EXPECT_EQ(records.size(), 65u);
  EXPECT_EQ(RecordsOfThreads(m_logger, 65), records);
}

// The destructors of thread-specific values run one after another. When the host's runs, that of
// the library has freed the record, and another thread may have it.
TEST_F(Tracing, GivesAThreadThatTracesInItsLastDestructorARecordOfItsOwn) {
  EnableBoth();
  static CWyTraceData* s_pOwn;
  static CWyLogger* s_pLogger;
  s_pLogger = &m_logger;
  pthread_key_t key;
  ASSERT_EQ(pthread_key_create(&key,
                               [](void*) {
                                 CWyTraceData* pOther = nullptr;
                                 std::latch taken(1), leave(1);
                                 const TestThread other([&] {
                                   pOther = RecordOf(*s_pLogger);
                                   taken.count_down();
                                   leave.wait();
                                 });
                                 taken.wait();
                                 EXPECT_EQ(pOther, s_pOwn) << "it has not been freed";
                                 EXPECT_NE(RecordOf(*s_pLogger), pOther);
                                 leave.count_down();
                               }),
            0);
  {
    const TestThread thread([&] {
      s_pOwn = RecordOf(m_logger);
      pthread_setspecific(key, &key);
    });
  }
  pthread_key_delete(key);
}

TEST_F(Tracing, GivesTheThreadsOfAForkedChildRecordsOfTheirOwn) {
  if (IsSanitized) GTEST_SKIP() << "sanitizers do not follow threads of a child";
  EnableBoth();
  CWyTraceData *const pMine = RecordOf(m_logger), *pOthers = nullptr;
  std::latch taken(1), end(1);
  const TestThread other([&] {
    pOthers = RecordOf(m_logger);
    taken.count_down();
    end.wait();
  });
  taken.wait();
  const pid_t pid = fork();
  if (pid == 0) {
    // The other thread may have been in the middle of filling its record.
    const auto records = RecordsOfThreads(m_logger, 10);
    const bool bOwn = records.size() == 10 && !records.contains(pMine) &&
                      !records.contains(pOthers) && RecordOf(m_logger) == pMine;
    _exit(bOwn ? 0 : 1);
  }
  end.count_down();
  EXPECT_EQ(StatusOf(pid), 0);
}

// ---- While others reconfigure -------------------------------------------------------------------

// Does the work, and only then lets the thread go that holds the trace log up.
template <typename Work, typename LetGo>
void ExpectDone(Work work, LetGo letGo) {
  const TestThread thread(work);
  EXPECT_TRUE(Eventually([&] { return thread.IsDone(); }));
  letGo();
}

TEST_F(Tracing, OfWhatIsNotTracedIsAnsweredAtOnceWhileAnOutputIsBeingOpened) {
  ASSERT_TRUE(
      EnableTrace(m_logger, new HostOutput(m_first), LegacyMessages, {}, new HostOutput(m_first)));
  EXPECT_FALSE(m_logger.TraceEnabled(LogId)) << "from now on it is known";
  std::latch end(1);
  m_second.onOpen = [&] { end.wait(); };
  const TestThread enabling([&] {
    EXPECT_TRUE(
        EnableTrace(m_logger, new HostOutput(m_second), LegacyMessages, {.bOutputOnly = true}));
  });
  ASSERT_TRUE(Eventually([&] { return !m_second.Events().empty(); }));
  CWyTraceData configured;
  const TestThread asking([&] { EXPECT_TRUE(m_logger.TraceEnabled(LegacyId)); });
  const TestThread configuring([&] { EXPECT_TRUE(m_logger.ShouldTrace(LegacyId, &configured)); });
  const TestThread tracing([&] { EXPECT_NE(RecordOf(m_logger), nullptr); });
  for (const TestThread* pThread : {&asking, &configuring, &tracing}) {
    EXPECT_TRUE(pThread->Blocks()) << "of what is traced a thread waits";
  }
  const auto ask = [&] {
    CWyTraceData own;
    CWyTraceData* pData = nullptr;
    EXPECT_FALSE(m_logger.TraceEnabled(LogId) || m_logger.ShouldTrace(LogId | 7, &own) ||
                 m_logger.ShouldTraceAlloc(LogId, &pData));
  };
  ExpectDone(ask, [&] { end.count_down(); });
}

TEST_F(Tracing, NobodyWaitsWhileAConfigurationFileIsRead) {
  const TempDirectory directory;
  const std::string strPipe = directory.Path("pipe");
  ASSERT_EQ(mkfifo(strPipe.c_str(), 0600), 0);
  const int fd = open(strPipe.c_str(), O_RDWR | O_CLOEXEC);
  const TestThread reading([&] {
    EXPECT_TRUE(m_logger.EnableTrace(new HostOutput(m_second), 0, nullptr, strPipe.c_str(), false,
                                     false, false));
  });
  ASSERT_TRUE(reading.Blocks());
  const auto traceMeanwhile = [&] {
    EXPECT_TRUE(EnableTrace(m_logger, new HostOutput(m_first), LegacyMessages));
    EXPECT_TRUE(Trace(m_logger, "m"));
    m_logger.DisableTrace(false);
    m_logger.Release();
    m_logger.Init();
  };
  ExpectDone(traceMeanwhile, [&] {
    directory.Write("pipe", "components:\ndata:\n");
    close(fd);
  });
}

// ---- In one call --------------------------------------------------------------------------------

TEST(InitLogger, StartsANewFileUnlessItIsToAppend) {
  for (const int iCase : {0, 1, 2, 3}) {
    const bool bAppend = iCase % 2 == 0;
    const int iLimitMB = iCase / 2;
    const TempDirectory directory;
    directory.Write("t.conf", LegacyMessages);
    directory.Write("t.log", "old\n");
    const auto init = [&](const char* pszConfig, const char* pszLog, int iMaxSizeMB) {
      return WyInitLogger(bAppend, true, iMaxSizeMB, 2, "", directory.Path(pszConfig).c_str(),
                          directory.Path(pszLog).c_str(), 0);
    };
    EXPECT_TRUE(init("t.conf", "t.log", iLimitMB));
    EXPECT_TRUE(theLogger()->ShouldUseLocalTime());
    EXPECT_TRUE(Trace(*theLogger(), "m"));
    EXPECT_EQ(directory.Read("t.log"),
              std::string(bAppend ? "old\n" : "") + "Message\n=======\nm\n");
    EXPECT_EQ(directory.Names().size(), bAppend ? 2u : 3u) << "an old file becomes a backup";

    EXPECT_FALSE(init("missing", "t.log", 0) || init("t.conf", "missing/t.log", 0));
    EXPECT_FALSE(init("t.conf", "t.log", 4096));
    EXPECT_FALSE(WyInitLogger(bAppend, true, 0, 0, "", nullptr, "t.log", 0) ||
                 WyInitLogger(bAppend, true, 0, 0, "", "t.conf", nullptr, 0));

    directory.Write("full.log", std::string(1 << 20, 'o'));
    EXPECT_TRUE(init("t.conf", "full.log", 1));
    EXPECT_LT(directory.Read("full.log").size(), 100u) << "the old one is full";
  }
}

}  // namespace
