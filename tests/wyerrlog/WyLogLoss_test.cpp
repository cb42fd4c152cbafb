// The account of refused messages, and the callback about it.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "test_support/HostOutput.h"
#include "wyerrlog/WyLogLoss.h"
#include "wyerrlog/WyLoggerList.h"

namespace {

using test_support::HostOutput;
using test_support::Log;
using test_support::OutputScript;

constexpr auto LogErr = &CWyLogger::LogErrMsg;
constexpr auto LogTrace = &CWyLogger::LogTraceMsg;
constexpr auto LogAudit = &CWyLogger::LogAuditMsg;

// Notes its calls: "2+ 1" is the audit log that begins to lose, with one refused message.
struct Observed {
  CWyLogger& logger = *getMyLogger("observed");
  OutputScript script;
  std::vector<std::string> calls;

  Observed() {
    EXPECT_TRUE(WySetLogLossCallback(logger, OnLoss, this));
    EXPECT_TRUE(logger.EnableAuditLogRollover(new HostOutput(script)));
  }
  static void OnLoss(CWyLogger& logger, WyLogKind log, const WyLogLoss& loss, void* pParam) {
    auto& observed = *static_cast<Observed*>(pParam);
    EXPECT_EQ(&logger, &observed.logger);
    observed.calls.push_back(std::to_string(static_cast<int>(log)) + (loss.bLosing ? "+ " : "- ") +
                             std::to_string(loss.uRefused));
    // The log is not held, and its own refusals are not reported to itself.
    Log(logger, LogAudit);
    EXPECT_FALSE(WySetLogLossCallback(logger, nullptr, nullptr));
    EXPECT_EQ(errno, EDEADLK);
  }
};

TEST(LogLoss, CountsWhatEachLogRefusesAndWhy) {
  CWyLogger& logger = *getMyLogger("counted");
  OutputScript script;
  ASSERT_TRUE(logger.EnableAuditLogRollover(new HostOutput(script)));
  const std::int64_t iStart = time(nullptr);
  EXPECT_TRUE(Log(logger, LogAudit));
  EXPECT_EQ(WyGetLogLoss(logger, WyLogKind::Audit).iSince, 0);

  script.bLogs = false;
  script.onLog = [] { errno = ENOSPC; };
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(Log(logger, LogAudit));
  EXPECT_EQ(errno, ENOSPC) << "of the call that was refused";
  EXPECT_FALSE(Log(logger, LogErr) || Log(logger, LogTrace));
  const auto expect = [&](WyLogKind log, std::uint64_t uRefused, bool bLosing, int iErrno) {
    const WyLogLoss loss = WyGetLogLoss(logger, log);
    EXPECT_EQ(loss.uRefused, uRefused);
    EXPECT_EQ(loss.bLosing, bLosing);
    EXPECT_EQ(loss.iErrno, iErrno);
    EXPECT_TRUE(iStart <= loss.iSince && loss.iSince <= time(nullptr));
  };
  expect(WyLogKind::Audit, 3, true, ENOSPC);
  expect(WyLogKind::Error, 1, true, ENXIO);
  expect(WyLogKind::Trace, 1, true, ENXIO);
  script.bLogs = true;
  EXPECT_TRUE(Log(logger, LogAudit));
  expect(WyLogKind::Audit, 3, false, ENOSPC);
  expect(WyLogKind::Error, 1, true, ENXIO);

  script.onLog = [&] { EXPECT_FALSE(Log(logger, LogAudit)); };
  EXPECT_TRUE(Log(logger, LogAudit));
  expect(WyLogKind::Audit, 4, false, EDEADLK);
  logger.Release();
  EXPECT_FALSE(Log(logger, LogAudit));
  expect(WyLogKind::Audit, 5, true, ESHUTDOWN);
}

TEST(LogLoss, TheCallbackIsCalledWhenALossBeginsAndEnds) {
  Observed observed;
  observed.script.bLogs = false;
  observed.script.onLog = [] { errno = ENOSPC; };
  EXPECT_FALSE(Log(observed.logger, LogAudit));
  EXPECT_EQ(errno, ENOSPC) << "not that of the callback";
  for (int i = 0; i < 2; ++i) EXPECT_FALSE(Log(observed.logger, LogAudit));
  EXPECT_EQ(observed.calls, std::vector<std::string>{"2+ 1"});
  observed.script.bLogs = true;
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Log(observed.logger, LogAudit));
  EXPECT_EQ(observed.calls, (std::vector<std::string>{"2+ 1", "2- 4"}));

  EXPECT_TRUE(WySetLogLossCallback(observed.logger, nullptr, nullptr));
  observed.script.bLogs = false;
  EXPECT_FALSE(Log(observed.logger, LogAudit));
  EXPECT_TRUE(WySetLogLossCallback(observed.logger, Observed::OnLoss, &observed));
  observed.logger.Release();
  EXPECT_FALSE(Log(observed.logger, LogErr)) << "released: no function of the host is called";
  EXPECT_EQ(observed.calls.size(), 2u);
}

// For the thread sanitizer too: the account, and a callback that comes and goes.
TEST(LogLoss, ThreadsLoseNothingOfTheAccount) {
  CWyLogger& logger = *getMyLogger("shared");
  std::atomic<int> iBegan{0};
  const auto onLoss = [](CWyLogger&, WyLogKind, const WyLogLoss& loss, void* pParam) {
    if (loss.bLosing) ++*static_cast<std::atomic<int>*>(pParam);
  };
  ASSERT_TRUE(WySetLogLossCallback(logger, onLoss, &iBegan));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) {
        Log(logger, LogErr);
        if (i % 100 == 0) WySetLogLossCallback(logger, onLoss, &iBegan);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(WyGetLogLoss(logger, WyLogKind::Error).uRefused, 4000u);
  EXPECT_EQ(iBegan, 1);
}

}  // namespace
