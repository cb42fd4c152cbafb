#include <sys/time.h>

#include <ctime>

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyErrLogTimeText.h"

namespace {

bool Convert(time_t tSeconds, bool bLocal, tm& time) {
  CWyErrLogCriticalSection& section = WyTimeConversionSection();
  section.Enter();
  const tm* const pResult = bLocal ? localtime_r(&tSeconds, &time) : gmtime_r(&tSeconds, &time);
  section.Leave();
  return pResult != nullptr;
}

// The second that a thread converted last, for each time base.
struct ConvertedSecond {
  bool bValid;
  time_t tSeconds;
  tm time;
};

thread_local ConvertedSecond t_aConverted[2];

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

bool WyErrLogGetCurrentTime(bool bLocal, tm& time, long& lMilliseconds) {
  timeval now;
  if (gettimeofday(&now, nullptr) != 0) {
    time = tm{};
    return false;
  }
  if (!WyBreakDownTime(now.tv_sec, bLocal, time)) return false;
  lMilliseconds = now.tv_usec / 1000;
  return true;
}
