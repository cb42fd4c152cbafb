// Each call to the system fails once, in each way that it can, and the process dies at each of
// them, while the log is opened, rolled over with retention, and written to.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "seal/SealedLog.h"
#include "seal/SharedCounts.h"
#include "test_support/Footprint.h"
#include "test_support/Sanitizer.h"
#include "test_support/SystemStandIns.h"

namespace {

using seal_test::SealedLog;
using seal_test::SharedCounts;
using stand_ins::Call;
using stand_ins::Effect;

constexpr size_t Records = 4;
constexpr long Step = test_support::IsSanitized ? 5 : 1;  // from one turn to the next
enum Answer : uint64_t { Pending, Accepted, Refused };

class LogRun {
 public:
  LogRun() : m_log(true) {
    m_log.options.markRecords = 2;  // checkpoints, signed ones, among the records
    for (int i = 0; i < 3; ++i) {
      m_log.WriteFiles(1, 2);
      m_log.Verify(true, "", true);
      m_log.moreKeys.push_back(m_log.summary.publicKey);  // for when the files before are retired
    }
    m_log.file.mode = 2;
    m_log.file.backups = 1;
  }

  void Log() {
    const auto pOutput = m_log.Open();
    for (size_t u = 0; u < Records; ++u) {
      const bool bLogged = pOutput != nullptr && pOutput->Log("message " + std::to_string(u));
      m_answers[u] = bLogged ? Accepted : Refused;
    }
    if (pOutput != nullptr) pOutput->Flush();
  }

  // The log goes on, is intact, and has what was accepted and not what was refused.
  void ExpectAgreement() {
    m_log.file.mode = 1;
    m_log.Write("afterwards", 1);
    EXPECT_THAT(m_log.Verify(), testing::Contains("intact")) << m_log.explanations;
    EXPECT_THAT(m_log.Verify(true, "", true), testing::Contains("intact")) << m_log.explanations;
    const std::set<std::string> texts = m_log.Texts();
    for (size_t u = 0; u < Records; ++u) {
      const bool bFound = texts.contains("message " + std::to_string(u));
      EXPECT_TRUE(m_answers[u] != Accepted || bFound) << u << " is lost";
      EXPECT_TRUE(m_answers[u] != Refused || !bFound) << u << " was refused";
    }
  }

 private:
  SealedLog m_log;
  SharedCounts m_answers{Records};
};

std::string NameOf(const stand_ins::Fault& fault) {
  return "call " + std::to_string(fault.lFirst) + " of kind " +
         std::to_string(static_cast<int>(fault.call)) + ", effect " +
         std::to_string(static_cast<int>(fault.effect)) + ", " + strerror(fault.iErrno);
}

const stand_ins::Fault Faults[] = {
    {Call::WriteV, Effect::Failure, ENOSPC},  {Call::WriteV, Effect::Failure, EIO},
    {Call::WriteV, Effect::Failure, EINTR},   {Call::WriteV, Effect::Short, 0},
    {Call::Write, Effect::Failure, ENOSPC},   {Call::Write, Effect::Short, 0},
    {Call::Read, Effect::Failure, EIO},       {Call::PRead, Effect::Failure, EIO},
    {Call::PRead, Effect::Failure, EINTR},    {Call::Sync, Effect::Failure, EIO},
    {Call::MSync, Effect::Failure, EIO},      {Call::MMap, Effect::Failure, ENOMEM},
    {Call::MLock, Effect::Failure, ENOMEM},   {Call::MAdvise, Effect::Failure, EINVAL},
    {Call::FLock, Effect::Failure, ENOLCK},   {Call::Close, Effect::Failure, EIO},
    {Call::Fstat, Effect::Failure, EIO},      {Call::Lseek, Effect::Failure, EIO},
    {Call::Open, Effect::Failure, EMFILE},    {Call::Open, Effect::Failure, EROFS},
    {Call::Open, Effect::Failure, ENOENT},    {Call::Access, Effect::Failure, EACCES},
    {Call::Rename, Effect::Failure, EACCES},  {Call::Rename, Effect::Failure, EEXIST},
    {Call::Rename, Effect::Failure, EIO},     {Call::Unlink, Effect::Failure, EACCES},
    {Call::OpenDir, Effect::Failure, EMFILE}, {Call::ReadDir, Effect::Failure, EIO},
    {Call::Time, Effect::Failure, EIO},
};

TEST(SealFaults, NoFailingCallCostsAnAcceptedRecordOrTheSeal) {
  for (stand_ins::Fault fault : Faults) {
    for (bool bCameToPass = true; bCameToPass; fault.lFirst += Step) {
      LogRun run;
      const long lDescriptors = test_support::OpenDescriptors();
      stand_ins::Inject(fault);
      run.Log();
      bCameToPass = stand_ins::Withdraw(fault.call);
      EXPECT_EQ(test_support::OpenDescriptors(), lDescriptors);
      run.ExpectAgreement();
      ASSERT_FALSE(HasFailure()) << NameOf(fault);
      EXPECT_TRUE(bCameToPass || fault.lFirst > 1 || test_support::IsThreadSanitized)
          << "never called: " << NameOf(fault);
    }
  }
  EXPECT_EQ(stand_ins::inheritable_opens, 0);
}

// Returns whether the child died there.
bool DiesAt(const stand_ins::Fault& fault, LogRun& run) {
  const pid_t pid = fork();
  if (pid == 0) {
    stand_ins::Inject(fault);
    run.Log();
    _exit(0);
  }
  int iStatus = -1;
  EXPECT_EQ(waitpid(pid, &iStatus, 0), pid);
  return WIFSIGNALED(iStatus) && WTERMSIG(iStatus) == SIGKILL;
}

TEST(SealFaults, NoDeathCostsAnAcceptedRecordOrTheSeal) {
  int iDeaths = 0;
  for (const Call call : {Call::WriteV, Call::Write, Call::Sync, Call::MSync, Call::Open,
                          Call::Rename, Call::Unlink, Call::PRead, Call::FLock, Call::MLock}) {
    for (const Effect effect : {Effect::DeathBefore, Effect::DeathHalfWay, Effect::DeathAfter}) {
      const bool bWrites = call == Call::WriteV || call == Call::Write;
      if (effect == Effect::DeathHalfWay && !bWrites) continue;
      stand_ins::Fault fault{call, effect, 0};
      for (bool bDied = true; bDied; fault.lFirst += Step) {
        LogRun run;
        bDied = DiesAt(fault, run);
        iDeaths += bDied ? 1 : 0;
        run.ExpectAgreement();
        ASSERT_FALSE(HasFailure()) << NameOf(fault);
      }
    }
  }
  EXPECT_GT(iDeaths, 100 / Step);
}

}  // namespace
