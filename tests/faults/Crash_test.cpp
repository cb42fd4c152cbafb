// The process is killed at each call that it makes to the system: before it, after it and, when it
// writes, half way.

#include <sys/wait.h>
#include <unistd.h>

#include "faults/LoggingRun.h"
#include "test_support/Sanitizer.h"

namespace {

using faults::LoggingRun;
using faults::Scenario;
using stand_ins::Call;
using stand_ins::Effect;

struct Point {
  const char* pszName;
  Call call;
  Effect effect;
};

// The headers' writes are among the others.
constexpr Point Points[] = {
    {"before a write", Call::Write, Effect::DeathBefore},
    {"half way in a write", Call::Write, Effect::DeathHalfWay},
    {"after a write", Call::Write, Effect::DeathAfter},
    {"before the backups are read", Call::OpenDir, Effect::DeathBefore},
    {"before a backup is deleted", Call::Unlink, Effect::DeathBefore},
    {"after a backup is deleted", Call::Unlink, Effect::DeathAfter},
    {"before the rename", Call::Rename, Effect::DeathBefore},
    {"after the rename", Call::Rename, Effect::DeathAfter},
    {"before the plain rename", Call::PlainRename, Effect::DeathBefore},
    {"after the plain rename", Call::PlainRename, Effect::DeathAfter},
    {"before the reopening", Call::Open, Effect::DeathBefore},
    {"after the reopening", Call::Open, Effect::DeathAfter},
};

bool Applies(const Point& point, const Scenario& scenario) {
  if (point.call == Call::Rename) return !scenario.bPlainRename;
  // The other threads may write some more before they are gone.
  const bool bTogether = scenario.uThreads > 1 && scenario.iMode == 1;
  // What follows half a record in a pipe is another process's, which cannot know of it.
  const bool bOfHost = scenario.kind == Scenario::Kind::Descriptor;
  return point.effect != Effect::DeathHalfWay || (!bTogether && !bOfHost);
}

// Returns whether the point was reached.
bool DiesAt(const Point& point, long lTurn, const Scenario& scenario) {
  LoggingRun run(scenario);
  const pid_t pid = fork();
  if (pid == 0) {
    stand_ins::Inject({point.call, point.effect, 0, lTurn});
    run.Log();
    _exit(0);
  }
  int iStatus = -1;
  EXPECT_EQ(waitpid(pid, &iStatus, 0), pid);
  const bool bKilled = WIFSIGNALED(iStatus) && WTERMSIG(iStatus) == SIGKILL;
  EXPECT_TRUE(bKilled || iStatus == 0) << iStatus;
  run.ExpectNothingLost();
  return bKilled;
}

class Crash : public testing::TestWithParam<Scenario> {};

TEST_P(Crash, LosesNoMessageThatWasLogged) {
  theLogger();
  int iDeaths = 0;
  for (const Point& point : Points) {
    if (!Applies(point, GetParam())) continue;
    const long lStep = test_support::IsSanitized ? 5 : 1;
    long lTurn = 1;
    for (; DiesAt(point, lTurn, GetParam()); lTurn += lStep) {
      ++iDeaths;
      ASSERT_FALSE(HasFailure()) << point.pszName << ", time " << lTurn;
    }
  }
  EXPECT_GE(iDeaths, 2);
}

INSTANTIATE_TEST_SUITE_P(
    , Crash,
    testing::Values(Scenario{"Appending", 1}, Scenario{"RollingOverBySize", 3},
                    Scenario{"DeletingOldBackups", 4, 8},
                    Scenario{"RenamingPlainly", 3, 0, 0, true},
                    Scenario{"AppendingInThreads", 1, 0, 0, false, 4},
                    Scenario{"RollingOverInThreads", 4, 0, 0, false, 4},
                    Scenario{"AuditingByDay", 1, 8, 86400, false, 1, Scenario::Kind::AuditFile},
                    Scenario{"SharingByDay", 1, 8, 86400, false, 1, Scenario::Kind::SharedFile},
                    Scenario{"ToADescriptor", 1, 0, 0, false, 1, Scenario::Kind::Descriptor}),
    faults::NameOf);

}  // namespace
