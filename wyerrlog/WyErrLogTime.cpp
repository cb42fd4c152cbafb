#include <sys/time.h>

#include <ctime>

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyErrLogPrivUtil.h"

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

bool WyErrLogGetCurrentTime(bool bLocal, tm& time, long& lMilliseconds) {
  timeval now;
  ConvertedSecond& converted = t_aConverted[bLocal ? 1 : 0];
  if (gettimeofday(&now, nullptr) != 0) {
    time = tm{};
    return false;
  }
  if (!converted.bValid || converted.tSeconds != now.tv_sec) {
    converted.bValid = Convert(now.tv_sec, bLocal, converted.time);
    converted.tSeconds = now.tv_sec;
  }
  // A failed conversion may have filled a part of its result.
  time = converted.bValid ? converted.time : tm{};
  if (!converted.bValid) return false;
  lMilliseconds = now.tv_usec / 1000;
  return true;
}
