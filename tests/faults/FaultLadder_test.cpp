// Each call that the library makes to the system fails once, in each way that the system has.

#include <cstring>
#include <limits>

#include "faults/LoggingRun.h"
#include "test_support/Footprint.h"

namespace {

using faults::LoggingRun;
using faults::Scenario;
using stand_ins::Call;
using stand_ins::Effect;
using stand_ins::Fault;

constexpr size_t Any = std::numeric_limits<size_t>::max();

// A fault, and how many messages it may cost.
struct Row {
  Fault fault;
  size_t uMostRefused;
};

constexpr Row Faults[] = {
    {{Call::Write, Effect::Failure, ENOSPC}, 1},
    {{Call::Close, Effect::Failure, EIO}, 0},
    {{Call::Lseek, Effect::Failure, EIO}, 1},
    {{Call::Fstat, Effect::Failure, EIO}, Any},
    {{Call::Open, Effect::Failure, EINTR}, 0},
    {{Call::Open, Effect::Failure, EMFILE}, Any},
    {{Call::Access, Effect::Failure, EACCES}, Any},
    {{Call::Stat, Effect::Failure, EIO}, 0},
    {{Call::Rename, Effect::Failure, EACCES}, Any},  // none but for the second one of a second
    {{Call::Rename, Effect::Failure, EEXIST}, 0},
    {{Call::Rename, Effect::Failure, EINTR}, 0},
    {{Call::Rename, Effect::Failure, EIO}, Any},
    {{Call::PlainRename, Effect::Failure, EACCES}, Any},
    {{Call::Unlink, Effect::Failure, EINTR}, 0},
    {{Call::Unlink, Effect::Failure, EACCES}, Any},
    {{Call::OpenDir, Effect::Failure, EINTR}, 0},
    {{Call::OpenDir, Effect::Failure, EMFILE}, Any},
    {{Call::ReadDir, Effect::Failure, EIO}, 0},
    {{Call::Time, Effect::Failure, EIO}, Any},
};

// What the outputs of the later classes continue or repeat.
constexpr Row Repeated[] = {
    {{Call::Write, Effect::Short, 0}, 0},
    {{Call::Write, Effect::Failure, EINTR}, 0},
};

bool Applies(const Fault& fault, const Scenario& scenario) {
  const Call call = fault.call;
  return !scenario.bPlainRename || call == Call::PlainRename || call == Call::Open;
}

// A rollover of an audit file that fails costs no record; only its opening may.
size_t MostRefused(const Scenario& scenario, const Row& row) {
  constexpr Call OfOpening[] = {Call::Write, Call::Open, Call::Fstat, Call::Access};
  const bool bOpens =
      std::find(std::begin(OfOpening), std::end(OfOpening), row.fault.call) != std::end(OfOpening);
  // A shared file does not continue a record that is cut short.
  if (scenario.kind == Scenario::Kind::SharedFile && row.fault.effect == Effect::Short) return 1;
  return scenario.kind == Scenario::Kind::PublishedFile || bOpens ? row.uMostRefused : 0;
}

// Returns whether the fault came to pass.
bool RunWith(const Scenario& scenario, const Row& row) {
  LoggingRun run(scenario);
  const long lDescriptors = test_support::OpenDescriptors();
  stand_ins::Inject(row.fault);
  run.Log();
  const bool bCameToPass = stand_ins::Withdraw(row.fault.call);
  EXPECT_EQ(test_support::OpenDescriptors(), lDescriptors);
  EXPECT_LE(run.RefusedMessages(), bCameToPass ? MostRefused(scenario, row) : 0);
  run.ExpectNothingLost();
  return bCameToPass;
}

// Has the first call of its kind fail, then a later one, until there are no more.
void Climb(const Scenario& scenario, Row row) {
  const long lStep = static_cast<long>(scenario.uThreads) * (test_support::IsSanitized ? 3 : 1);
  for (bool bCameToPass = true; bCameToPass; row.fault.lFirst += lStep) {
    bCameToPass = RunWith(scenario, row);
    ASSERT_FALSE(testing::Test::HasFailure())
        << scenario.pszName << ": call " << row.fault.lFirst << " of kind "
        << static_cast<int>(row.fault.call) << ", " << strerror(row.fault.iErrno);
  }
}

constexpr int Day = 86400;
constexpr auto Audit = Scenario::Kind::AuditFile;
constexpr auto Shared = Scenario::Kind::SharedFile;
constexpr auto Descriptor = Scenario::Kind::Descriptor;

class FaultLadder : public testing::TestWithParam<Scenario> {};

TEST_P(FaultLadder, NeitherMessageNorBackupIsLostByAnyFault) {
  theLogger();
  for (const Row& row : Faults) {
    if (Applies(row.fault, GetParam())) Climb(GetParam(), row);
    if (HasFatalFailure()) return;
  }
  for (const Row& row : Repeated) {
    if (GetParam().kind != Scenario::Kind::PublishedFile) Climb(GetParam(), row);
    if (HasFatalFailure()) return;
  }
  EXPECT_EQ(stand_ins::inheritable_opens, 0);
}

INSTANTIATE_TEST_SUITE_P(
    , FaultLadder,
    testing::Values(Scenario{"Overwriting", 0}, Scenario{"Appending", 1},
                    Scenario{"RollingOverAtOpen", 2, 8}, Scenario{"RollingOverBySize", 3},
                    Scenario{"DeletingOldBackups", 4, 8}, Scenario{"TryingAgain", 4, 0, 301},
                    Scenario{"RenamingPlainly", 3, 0, 0, true},
                    Scenario{"AppendingInThreads", 1, 0, 0, false, 4},
                    Scenario{"RollingOverInThreads", 3, 0, 301, false, 4},
                    Scenario{"RollingOverByDay", 1, 0, Day, false, 1, Audit},
                    Scenario{"DeletingByDay", 1, 8, Day, false, 1, Audit},
                    Scenario{"AuditingInThreads", 1, 0, Day, false, 4, Audit},
                    Scenario{"Sharing", 1, 0, Day, false, 1, Shared},
                    Scenario{"SharingAndDeleting", 1, 8, Day, false, 1, Shared},
                    Scenario{"SharingInThreads", 1, 0, Day, false, 4, Shared},
                    Scenario{"ToADescriptor", 1, 0, 0, false, 1, Descriptor},
                    Scenario{"ToADescriptorInThreads", 1, 0, 0, false, 4, Descriptor}),
    faults::NameOf);

}  // namespace
