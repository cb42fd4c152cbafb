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
  // with the other logger, in a circle.
  template <typename Body>
  void InBothCallbacks(Body body) {
    const auto inCallback = [this, body](HostLog& other) {
      return [this, body, &other] {
        if (CalledOnThisThread()) return;
        m_bothCalled.arrive_and_wait();
        body(other);
      };
    };
    m_first.script.onLog = inCallback(m_second);
    m_second.script.onLog = inCallback(m_first);
    TestThread thread([this] { EXPECT_TRUE(LogError(m_first.logger, "1")); });
    EXPECT_TRUE(LogError(m_second.logger, "2"));
  }

  OutputScript m_script;  // of outputs that the test installs
  HostLog m_first, m_second;
  std::latch m_bothCalled{2};

 private:
  static bool CalledOnThisThread() {
    static thread_local bool s_bCalled = false;
    return std::exchange(s_bCalled, true);
  }
};

TEST_F(TwoLogs, WriteIntoEachOtherWhileAWriterWaitsForEach) {
  std::latch bothWait(2);
  std::atomic<int> iWritten{0};
  InBothCallbacks([&](HostLog& other) {
    other.RemoveAndWait();
    bothWait.arrive_and_wait();
    if (LogError(other.logger, "nested")) ++iWritten;
  });
  EXPECT_GE(iWritten, 1) << "the one that did not wait";
}

TEST_F(TwoLogs, InstallIntoEachOtherUnlessThatWouldHang) {
  std::atomic<int> iInstalled{0};
  InBothCallbacks([&](HostLog& other) {
    auto pOutput = std::make_unique<HostOutput>(m_script);
    if (!other.logger.SetLogOutput(pOutput.get())) return;
    static_cast<void>(pOutput.release());
    ++iInstalled;
  });
  EXPECT_GE(iInstalled, 1) << "the one that waited";
}

TEST_F(TwoLogs, ReleaseEachOtherUnlessThatWouldHang) {
  InBothCallbacks([&](HostLog& other) { other.logger.Release(); });
  EXPECT_FALSE(LogError(m_first.logger, "late") && LogError(m_second.logger, "late"));
  m_first.logger.Release();
  m_second.logger.Release();
  EXPECT_THAT(m_first.script.Events(), Contains("delete"));
  EXPECT_THAT(m_second.script.Events(), Contains("delete"));
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

TEST_F(TwoLogs, ACallbackIsRefusedByALogWhoseWriterWaitsForIt) {
  m_first.script.onLog = [&] {
    m_second.script.onClose = [&] {
      EXPECT_TRUE(m_first.logger.SetLogOutput(new HostOutput(m_script)));
    };
    m_second.RemoveAndWait();
    EXPECT_FALSE(LogError(m_second.logger, "nested"));
    m_second.logger.DisableLog();
  };
  EXPECT_TRUE(LogError(m_first.logger, "1"));
  m_second.remover.reset();
  EXPECT_TRUE(LogError(m_first.logger, "2"));
  EXPECT_THAT(m_script.Events(), Contains("log 2"));
}

TEST(Reentry, OutputsOfALoggerThatIsRemovedMayUseTheRegistry) {
  OutputScript script;
  CWyLogger& other = *getMyLogger("other");
  CWyLogger& removed = *getMyLogger("removed");
  script.onClose = [&] {
    EXPECT_EQ(getMyLogger("other"), &other);
    EXPECT_EQ(getMyLogger("removed"), nullptr);
    EXPECT_EQ(getMyLogger("new"), nullptr);
    EXPECT_FALSE(removeMyLogger("other"));
    EXPECT_FALSE(LogError(other, "x") || LogError(*theLogger(), "x"));
  };
  script.onLog = [&] {
    EXPECT_FALSE(removeMyLogger("removed"));
    EXPECT_NE(getMyLogger("new"), nullptr);
    EXPECT_TRUE(removeMyLogger("new"));
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
    EXPECT_FALSE(CWyTraceSupresser::isTracing());
    EXPECT_FALSE(Trace(logger, "nested"));
    EXPECT_FALSE(LogError(logger, "the callback of this log is under way"));
  };
  errors.onLog = [&] { EXPECT_TRUE(Trace(logger, "of an error")); };
  EXPECT_TRUE(LogError(logger, "x"));
  EXPECT_EQ(errors.Events().size(), 2u);
  EXPECT_EQ(traces.Events().size(), 3u) << "open, unbuffered, one record";
}

TEST(Reentry, AThrowingTraceCallbackLeavesTracingOnAndTheLogFree) {
  OutputScript traces;
  CWyLogger logger;
  ASSERT_TRUE(EnableTrace(logger, new HostOutput(traces), LegacyMessages));
  traces.onLog = [] { throw std::runtime_error("by the host"); };
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
  CWyLogger logger;
  ASSERT_TRUE(logger.SetLogOutput(new HostOutput(errors)));
  ASSERT_TRUE(
      EnableTrace(logger, new HostOutput(traces), LegacyMessages, {}, new HostOutput(seconds)));
  ASSERT_TRUE(logger.EnableAuditLogRollover(new HostOutput(audits)));
  for (OutputScript* pScript : {&errors, &traces, &seconds, &audits}) {
    pScript->onClose = [] { throw std::runtime_error("by the host"); };
  }
  EXPECT_THROW(logger.Release(), std::runtime_error);
  for (OutputScript* pScript : {&errors, &traces, &seconds, &audits}) {
    EXPECT_THAT(pScript->Events(), Contains("delete"));
  }
  logger.Init();
  auto pLast = std::make_unique<CWyLogger>();
  EXPECT_TRUE(pLast->SetLogOutput(new HostOutput(errors)));
  pLast.reset();  // a destructor has nobody to tell
  EXPECT_TRUE(EnableTrace(logger, logger.NewLogOutput(2, [](const char*, int) {}), LegacyMessages));
  EXPECT_TRUE(Trace(logger, "x"));
}

}  // namespace
