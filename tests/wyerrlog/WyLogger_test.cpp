// The logger's outputs: installing, replacing and removing them, and what messages go where.

#include "wyerrlog/WyLogger.h"

#include <gmock/gmock.h>

#include <memory>

#include "test_support/HostOutput.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"

namespace {

using test_support::HostOutput;
using test_support::OutputScript;
using test_support::TestThread;
using testing::ElementsAre;

// ---- What holds for each of the three logs ------------------------------------------------------

struct LogKind {
  const char* pszName;
  bool (*Install)(CWyLogger& logger, CWyLogOutput* pOutput);
  void (*Remove)(CWyLogger& logger);
  bool (CWyLogger::*Log)(CWyErrLogMessage& msg);
};

bool EnableTrace(CWyLogger& logger, CWyLogOutput* pOutput) {
  return test_support::EnableTrace(logger, pOutput, test_support::LegacyMessages, {.iFormat = 3});
}

const LogKind ErrorLog{"ErrorLog", [](auto& logger, auto* p) { return logger.SetLogOutput(p); },
                       [](auto& logger) { logger.DisableLog(); }, &CWyLogger::LogErrMsg};
const LogKind TraceLog{"TraceLog", EnableTrace, [](auto& logger) { logger.DisableTrace(false); },
                       &CWyLogger::LogTraceMsg};
const LogKind AuditLog{"AuditLog",
                       [](auto& logger, auto* p) { return logger.EnableAuditLogRollover(p); },
                       [](auto& logger) { logger.DisableAuditLog(); }, &CWyLogger::LogAuditMsg};

class EachLog : public testing::TestWithParam<LogKind> {
 protected:
  bool Install(CWyLogOutput* pOutput) { return GetParam().Install(m_logger, pOutput); }
  void Remove() { GetParam().Remove(m_logger); }
  bool Log(const char* pszText = "x") {
    return test_support::Log(m_logger, GetParam().Log, pszText);
  }
  std::vector<std::string> Events() {
    auto events = m_script.Events();
    std::erase(events, "unbuffered");  // which the trace log says besides
    return events;
  }

  OutputScript m_script;  // of all outputs of the test
  CWyLogger m_logger;
};

INSTANTIATE_TEST_SUITE_P(Logger, EachLog, testing::Values(ErrorLog, TraceLog, AuditLog),
                         [](const auto& param) { return param.param.pszName; });

TEST_P(EachLog, ClosesAndDeletesAnOutputBeforeTheNextOneIsOpened) {
  EXPECT_FALSE(Log("to no output"));
  auto* const pInstalled = new HostOutput(m_script);
  EXPECT_TRUE(Install(pInstalled));
  EXPECT_FALSE(Install(nullptr) || Install(pInstalled));
  EXPECT_TRUE(Log("a"));
  EXPECT_TRUE(Install(new HostOutput(m_script)));
  m_script.bLogs = false;
  EXPECT_FALSE(Log("b"));
  m_script.bOpens = false;
  HostOutput refused(m_script);
  EXPECT_FALSE(Install(&refused) || Log("to no output"));
  m_script.bOpens = true;
  EXPECT_TRUE(Install(new HostOutput(m_script)));
  Remove();
  Remove();
  EXPECT_THAT(Events(), ElementsAre("open", "log a", "close", "delete", "open", "log b", "close",
                                    "delete", "open", "open", "close", "delete"));
}

TEST_P(EachLog, RefusesAnyOutputWhileReleased) {
  EXPECT_TRUE(Install(new HostOutput(m_script)));
  m_logger.Release();
  m_logger.Release();
  HostOutput refused(m_script);
  EXPECT_FALSE(Install(&refused) || Log());
  EXPECT_THAT(Events(), ElementsAre("open", "close", "delete"));
  m_logger.Init();
  EXPECT_TRUE(Install(new HostOutput(m_script)));
  m_logger.Init();
  EXPECT_TRUE(Log()) << "a second Init changes nothing";
}

TEST_P(EachLog, RefusesAtOnceWhatItsOwnOutputAsksOfIt) {
  HostOutput other(m_script);
  const auto ask = [&] {
    EXPECT_FALSE(Log() || Install(&other) || m_logger.TraceEnabled(0));
    Remove();
    m_logger.Release();
    m_logger.Init();
  };
  m_script.onOpen = m_script.onClose = ask;
  // Also while a writer waits, behind which a new reader would.
  std::unique_ptr<TestThread> pWriter;
  m_script.onLog = [&] {
    pWriter = std::make_unique<TestThread>([&] { Remove(); });
    EXPECT_TRUE(pWriter->Blocks() && !pWriter->IsDone());
    ask();
  };
  EXPECT_TRUE(Install(new HostOutput(m_script)));
  EXPECT_TRUE(Log());
  pWriter.reset();
  EXPECT_THAT(Events(), ElementsAre("open", "log x", "close", "delete"));
}

// ---- The logger as a whole ----------------------------------------------------------------------

TEST(Logger, SendsEachMessageToTheLogThatTheCallNames) {
  OutputScript error, trace, second, audit;
  CWyLogger logger;
  ASSERT_TRUE(logger.SetLogOutput(new HostOutput(error)));
  ASSERT_TRUE(test_support::EnableTrace(logger, new HostOutput(trace), test_support::LegacyMessages,
                                        {.iFormat = 3}, new HostOutput(second)));
  ASSERT_TRUE(logger.EnableAuditLogRollover(new HostOutput(audit)));
  for (OutputScript* pScript : {&error, &trace, &second, &audit}) pScript->Forget();
  EXPECT_TRUE(test_support::Log(logger, ErrorLog.Log, "e"));
  EXPECT_TRUE(test_support::Log(logger, TraceLog.Log, "t"));
  EXPECT_TRUE(test_support::Log(logger, AuditLog.Log, "a"));
  // Both trace outputs are asked, and both must take the message.
  trace.bLogs = false;
  EXPECT_FALSE(test_support::Log(logger, TraceLog.Log, "u"));
  trace.bLogs = true;
  second.bLogs = false;
  EXPECT_FALSE(test_support::Log(logger, TraceLog.Log, "v"));
  logger.Release();
  EXPECT_THAT(error.Events(), ElementsAre("log e", "close", "delete"));
  EXPECT_THAT(trace.Events(), ElementsAre("log t", "log u", "log v", "close", "delete"));
  EXPECT_THAT(second.Events(), ElementsAre("log t", "log u", "log v", "close", "delete"));
  EXPECT_THAT(audit.Events(), ElementsAre("log a", "close", "delete"));
}

TEST(Logger, DeletesOnlyOutputsOfItsOwnKinds) {
  CWyLogger logger;
  logger.DeleteLogOutput(nullptr);
  for (const int iType : {-1, 0, 5, 6, 100}) {
    OutputScript script;
    auto* const pOutput = new HostOutput(script, iType);
    logger.DeleteLogOutput(pOutput);
    const bool bDeleted = iType == 0 || iType == 5;
    EXPECT_EQ(script.Events(), std::vector<std::string>(bDeleted ? 1 : 0, "delete"));
    if (!bDeleted) delete pOutput;
  }
}

}  // namespace
