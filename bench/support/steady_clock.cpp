// A library for LD_PRELOAD whose clocks depend on nothing but how often they are read: each reading
// of the time of day takes a microsecond, about the time of a record. So what is done once a
// second, a millisecond or a tick of the coarse clock is done equally often in every run.

#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <ctime>

namespace {

constexpr long Start = 1'800'000'000;  // seconds since the epoch
constexpr long Tick = 4'000;           // microseconds of the coarse clock
std::atomic<long> g_lMicroseconds;

}  // namespace

extern "C" [[gnu::visibility("default")]] int gettimeofday(timeval* pNow, void*) noexcept {
  const long lNow = ++g_lMicroseconds;
  *pNow = {Start + lNow / 1'000'000, lNow % 1'000'000};
  return 0;
}

extern "C" [[gnu::visibility("default")]] time_t time(time_t* pNow) noexcept {
  const time_t tNow = Start + g_lMicroseconds / 1'000'000;
  if (pNow != nullptr) *pNow = tNow;
  return tNow;
}

extern "C" [[gnu::visibility("default")]] int clock_gettime(clockid_t clock,
                                                            timespec* pNow) noexcept {
  if (clock != CLOCK_MONOTONIC_COARSE) {
    return static_cast<int>(syscall(SYS_clock_gettime, clock, pNow));
  }
  const long lNow = g_lMicroseconds / Tick * Tick;
  *pNow = {lNow / 1'000'000, lNow % 1'000'000 * 1'000};
  return 0;
}
