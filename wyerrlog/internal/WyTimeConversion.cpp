// The C library converts local times under a lock of its own, which it does not protect from forks.
// So every conversion here holds a mutex that a fork waits for. A conversion costs about as much as
// the rest of a record, hence the one second that each thread remembers.

#include "wyerrlog/internal/WyTimeConversion.h"

#include "wyerrlog/internal/WyForkHandling.h"

namespace {

bool Convert(time_t tSeconds, bool bLocal, tm& time) {
  const CWyMutexLock lock(WyTimeConversionMutex());
  return (bLocal ? localtime_r(&tSeconds, &time) : gmtime_r(&tSeconds, &time)) != nullptr;
}

// The second that a thread converted last, as UTC or as local time.
struct ConvertedSecond {
  bool bValid;
  time_t tSeconds;
  tm time;
};

thread_local ConvertedSecond t_aConverted[2];  // UTC, local time

}  // namespace

bool WyBreakDownTime(time_t tSeconds, bool bLocal, tm& time) {
  ConvertedSecond& converted = t_aConverted[bLocal ? 1 : 0];
  if (!converted.bValid || converted.tSeconds != tSeconds) {
    converted.bValid = Convert(tSeconds, bLocal, converted.time);
    converted.tSeconds = tSeconds;
  }
  // A failed conversion may have filled a part of its result.
  time = converted.bValid ? converted.time : tm{};
  return converted.bValid;
}
