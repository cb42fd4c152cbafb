// Host code inside a log call that uses logs itself: it is served or refused, and never hangs.

#include <gmock/gmock.h>

#include <latch>
#include <memory>
#include <stdexcept>

#include "test_support/HostOutput.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"
#include "wyerrlog/WyLoggerList.h"

namespace {

using namespace test_support;
using testing::Contains;

bool LogError(CWyLogger& logger, const char* pszText) {
  return Log(logger, &CWyLogger::LogErrMsg, pszText);
}

// A logger whose error log is an output of the host's.
struct HostLog {
  HostLog() { EXPECT_TRUE(logger.SetLogOutput(new HostOutput(script))); }
  // Removes the output on a thread that comes to wait for the callbacks of the log.
  void RemoveAndWait() {
    remover = std::make_unique<TestThread>([this] { logger.DisableLog(); });
    EXPECT_TRUE(remover->Blocks() && !remover->IsDone());
  }

  OutputScript script;
  CWyLogger logger;
  std::unique_ptr<TestThread> remover;
};

class TwoLogs : public testing::Test {
 protected:
  // Logs to both at the same time; each callback, when both have been called, does what it is told
  // with the other logger. Returns how often that returned true.
  template <typename Body>
  int InBothCallbacks(Body body) {
    std::latch bothCalled(2);
    std::atomic<int> iDone{0};
    const auto inCallback = [&](HostLog& other) {
      return [&] {
        static thread_local bool s_bCalled = false;
        if (std::exchange(s_bCalled, true)) return;
        bothCalled.arrive_and_wait();
        if (body(other)) ++iDone;
      };
    };
    m_first.script.onLog = inCallback(m_second);
    m_second.script.onLog = inCallback(m_first);
    for (HostLog* pLog : {&m_first, &m_second}) {
      m_threads.push_back(
          std::make_unique<TestThread>([pLog] { EXPECT_TRUE(LogError(pLog->logger, "outer")); }));
    }
    m_threads.clear();
    m_first.script.onLog = m_second.script.onLog = nullptr;
    return iDone;
  }

  OutputScript m_script;  // of outputs that the test installs
  HostLog m_first, m_second;
  std::vector<std::unique_ptr<TestThread>> m_threads;
};

TEST_F(TwoLogs, WriteIntoEachOtherWhileAWriterWaitsForEach) {
  std::latch bothWait(2);
  EXPECT_GE(InBothCallbacks([&](HostLog& other) {
              other.RemoveAndWait();
              bothWait.arrive_and_wait();
              return LogError(other.logger, "nested");
            }),
            1);
}

TEST_F(TwoLogs, InstallIntoAndReleaseEachOtherUnlessThatWouldHang) {
  EXPECT_GE(InBothCallbacks([&](HostLog& other) {
              auto pOutput = std::make_unique<HostOutput>(m_script);
              const bool bInstalled = other.logger.SetLogOutput(pOutput.get());
              if (bInstalled) static_cast<void>(pOutput.release());
              other.logger.Release();
              return bInstalled;
            }),
            1);
  EXPECT_FALSE(LogError(m_first.logger, "late") && LogError(m_second.logger, "late"));
}

TEST_F(TwoLogs, AWriterOfTheOtherLogStillComesFirst) {
  std::latch inSecond(1), leaveSecond(1);
  m_second.script.onLog = [&] {
    inSecond.count_down();
    leaveSecond.wait();
  };
  TestThread reader([&] { EXPECT_TRUE(LogError(m_second.logger, "2")); });
  inSecond.wait();
  m_second.RemoveAndWait();
  m_first.script.onLog = [&] { EXPECT_FALSE(LogError(m_second.logger, "behind the removal")); };
  TestThread nested([&] { EXPECT_TRUE(LogError(m_first.logger, "1")); });
  EXPECT_TRUE(nested.Blocks());
  leaveSecond.count_down();
}

TEST(Reentry, OutputsOfALoggerThatIsRemovedMayUseTheRegistry) {
  OutputScript script;
  CWyLogger& other = *getMyLogger("other");
  CWyLogger& removed = *getMyLogger("removed");
  script.onClose = [&] {
    EXPECT_EQ(getMyLogger("other"), &other);
    EXPECT_EQ(getMyLogger("removed"), nullptr);
    EXPECT_EQ(getMyLogger("new"), nullptr);
    EXPECT_FALSE(removeMyLogger("other") || LogError(other, "x") || LogError(*theLogger(), "x"));
  };
  script.onLog = [&] {
    EXPECT_FALSE(removeMyLogger("removed"));
    EXPECT_TRUE(getMyLogger("new") != nullptr && removeMyLogger("new"));
  };
  ASSERT_TRUE(removed.SetLogOutput(new HostOutput(script)));
  EXPECT_TRUE(LogError(removed, "x"));
  EXPECT_TRUE(removeMyLogger("removed"));
  EXPECT_THAT(script.Events(), testing::ElementsAre("open", "log x", "close", "delete"));
}

TEST(Reentry, AnErrorCallbackMayTraceAndATraceCallbackMayNot) {
  OutputScript errors, traces;
  CWyLogger logger;
  ASSERT_TRUE(logger.SetLogOutput(new HostOutput(errors)));
  ASSERT_TRUE(EnableTrace(logger, new HostOutput(traces), LegacyMessages, {.iFormat = 3}));
  traces.onLog = [&] {
    CWyTraceData* pData = nullptr;
    EXPECT_FALSE(logger.TraceEnabled(LegacyId) || logger.ShouldTraceAlloc(LegacyId, &pData));
  };
  EXPECT_TRUE(Trace(logger, "by the callback with the thread's record at hand"));
  traces.onLog = [&] {
    EXPECT_FALSE(CWyTraceSupresser::isTracing() || Trace(logger, "nested"));
    EXPECT_FALSE(LogError(logger, "the callback of this log is under way"));
  };
  errors.onLog = [&] { EXPECT_TRUE(Trace(logger, "of an error")); };
  EXPECT_TRUE(LogError(logger, "x"));
  EXPECT_EQ(errors.Events().size() + traces.Events().size(), 2u + 4u);
}

const auto Throw = [] { throw std::runtime_error("by the host"); };

TEST(Reentry, AThrowingTraceCallbackLeavesTracingOnAndTheLogFree) {
  OutputScript traces;
  CWyLogger logger;
  ASSERT_TRUE(EnableTrace(logger, new HostOutput(traces), LegacyMessages));
  traces.onLog = Throw;
  EXPECT_THROW(Trace(logger, "x"), std::runtime_error);
  EXPECT_TRUE(CWyTraceSupresser::isTracing());
  HostOutput refused(traces);
  EXPECT_THROW(EnableTrace(logger, &refused, LegacyMessages), std::runtime_error) << "title lines";
  EXPECT_FALSE(logger.TraceEnabled(0));
  traces.onLog = nullptr;
  {
    const TestThread other([&] {
      EXPECT_TRUE(EnableTrace(logger, new HostOutput(traces), LegacyMessages));
      EXPECT_TRUE(Trace(logger, "y"));
    });
  }
  EXPECT_THAT(traces.Events(), Contains("log [y]\n"));
}

TEST(Reentry, AnOutputThatThrowsWhenItIsClosedIsGoneAllTheSame) {
  OutputScript errors, traces, seconds, audits;
  auto pLogger = std::make_unique<CWyLogger>();
  ASSERT_TRUE(pLogger->SetLogOutput(new HostOutput(errors)));
  ASSERT_TRUE(
      EnableTrace(*pLogger, new HostOutput(traces), LegacyMessages, {}, new HostOutput(seconds)));
  ASSERT_TRUE(pLogger->EnableAuditLogRollover(new HostOutput(audits)));
  for (OutputScript* pScript : {&errors, &traces, &seconds, &audits}) pScript->onClose = Throw;
  EXPECT_THROW(pLogger->Release(), std::runtime_error);
  for (OutputScript* pScript : {&errors, &traces, &seconds, &audits}) {
    EXPECT_THAT(pScript->Events(), Contains("delete"));
  }
  pLogger->Init();
  EXPECT_TRUE(pLogger->SetLogOutput(new HostOutput(errors)));
  pLogger.reset();  // a destructor does not throw
}

}  // namespace
