#ifndef TEST_SUPPORT_SYSTEMSTANDINS_H
#define TEST_SUPPORT_SYSTEMSTANDINS_H

#include <atomic>
#include <climits>
#include <ctime>
#include <functional>

// The clock and the file operations that a test program puts in place of the system's, by linking
// the target system_stand_ins. At first they are the system's own.
namespace stand_ins {

// What time() and gettimeofday() return, in seconds since the epoch; 0 is the real time.
inline std::atomic<time_t> clock{0};
// What CLOCK_MONOTONIC_COARSE reads, in milliseconds; 0 is the real time.
inline std::atomic<long> coarse_clock{0};

// Called before each write, and with the new name before each renaming, while they are set.
inline std::function<void()> before_write;
inline std::function<void(const char* pszTo)> before_rename;

// ---- Faults -------------------------------------------------------------------------------------

// Rename is the one that never replaces (renameat2), PlainRename the one that does; Time is time()
// and gettimeofday(), Sync is fsync() and fdatasync().
enum class Call {
  Write,
  WriteV,
  Read,
  PRead,
  Sync,
  MSync,
  MMap,
  MLock,
  MAdvise,
  FLock,
  Close,
  Fstat,
  Lseek,
  Open,
  Access,
  Stat,
  Rename,
  PlainRename,
  Unlink,
  OpenDir,
  ReadDir,
  Time
};
inline constexpr int CallKinds = static_cast<int>(Call::Time) + 1;

// What becomes of a call. A Short one, which can only be a write, does half of its work and returns
// so. A Death is the whole process's (SIGKILL). A close that fails has closed, as the system's has.
enum class Effect { Failure, Short, DeathBefore, DeathHalfWay, DeathAfter };

// Befalls the calls `lFirst` to `lFirst + lCount - 1` of its kind, counted from 1 and from its
// injection on, of all threads.
struct Fault {
  Call call;
  Effect effect;
  int iErrno;
  long lFirst = 1;
  long lCount = 1;
};
inline constexpr long AllCalls = LONG_MAX / 2;

void Inject(const Fault& fault);  // replaces an earlier one of the same kind
bool Withdraw(Call call);         // returns whether the fault has befallen a call
long Calls(Call call);            // those since the injection

// How many files were opened so that a program which the process executes would inherit them.
inline std::atomic<int> inheritable_opens{0};

}  // namespace stand_ins

#endif
