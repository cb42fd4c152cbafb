#ifndef WYERRLOG_INTERNAL_WYTIMECONVERSION_H
#define WYERRLOG_INTERNAL_WYTIMECONVERSION_H

// From seconds to broken-down time, in a way that forks cannot damage.

#include <ctime>

// Converts a second since the Epoch to local time (localtime_r) or UTC (gmtime_r). Each thread
// remembers the second that it converted last, for either, so a change of the time zone (TZ and
// tzset) is seen from the next second on. On failure returns false and zeroes `time`. Thread-safe.
bool WyBreakDownTime(time_t tSeconds, bool bLocal, tm& time);

#endif
