// Dates and times of any origin. Those of converted times are written digit by digit; values that
// no conversion returns (a year of five digits, an hour of 99) go to strftime(3), which fails if
// the text does not fit.

#include "wyerrlog/internal/WyTimeText.h"

#include <algorithm>

namespace {

// English whatever the process's locale: log files are read by programs.
constexpr const char* Weekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* Months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool IsBetween(int iValue, int iFirst, int iLast) { return iFirst <= iValue && iValue <= iLast; }

// Whether every value has its usual number of digits, so that the text has its usual length. A
// second of 60 is a leap second.
bool IsConvertedTime(const tm& time) {
  return IsBetween(time.tm_mday, 1, 31) && IsBetween(time.tm_hour, 0, 23) &&
         IsBetween(time.tm_min, 0, 59) && IsBetween(time.tm_sec, 0, 60) &&
         IsBetween(time.tm_year, 1000 - 1900, 9999 - 1900);
}

}  // namespace

bool WyWriteDate(char* psz, std::size_t uSize, const tm& time) {
  if (!IsConvertedTime(time)) return strftime(psz, uSize, "%m/%d/%Y", &time) != 0;
  *WyAppendDateText(psz, time) = '\0';
  return true;
}

// The names are table look-ups, so weekday and month are checked first; strftime would print a "?"
// for them.
bool WyWriteDateTime(char* psz, std::size_t uSize, const tm& time) {
  if (!IsBetween(time.tm_wday, 0, 6) || !IsBetween(time.tm_mon, 0, 11)) return false;
  const char* const pszEnd = psz + uSize;
  psz = std::copy_n(Weekdays[time.tm_wday], 3, psz);
  *psz++ = ' ';
  psz = std::copy_n(Months[time.tm_mon], 3, psz);
  *psz++ = ' ';
  if (!IsConvertedTime(time)) {
    const auto uRoom = static_cast<std::size_t>(pszEnd - psz);
    return strftime(psz, uRoom, "%d %Y %H:%M:%S", &time) != 0;
  }
  psz = WyAppendTwoDigits(psz, time.tm_mday);
  *psz++ = ' ';
  psz = WyAppendYear(psz, time);
  *psz++ = ' ';
  *WyAppendTimeText(psz, time) = '\0';
  return true;
}
