#ifndef WYERRLOG_INTERNAL_WYTIMETEXT_H
#define WYERRLOG_INTERNAL_WYTIMETEXT_H

// The times in log lines and trace records as texts. They are not formatted with strftime(3), which
// reads the time zone files and takes a lock that a forked child may find locked.

#include <cstddef>
#include <cstdio>
#include <ctime>

// Writes a broken-down time of any origin into a buffer of `uSize` bytes, at least 25, with a
// terminator: "11/16/2026", and "Mon Nov 16 2026 17:16:13". Returns false if it does not fit; the
// second also if there is no such weekday or month.
bool WyWriteDate(char* psz, std::size_t uSize, const tm& time);
bool WyWriteDateTime(char* psz, std::size_t uSize, const tm& time);

// Each of these writes at `psz`, without a terminator, and returns the end of what it wrote.
// Requires: the values are those of a converted time, as WyErrLogGetCurrentTime returns them.

inline char* WyAppendTwoDigits(char* psz, int iValue) {
  *psz++ = static_cast<char>('0' + iValue / 10 % 10);
  *psz++ = static_cast<char>('0' + iValue % 10);
  return psz;
}

// "2026", from the years since 1900 that a tm holds; at most 11 characters.
inline char* WyAppendYear(char* psz, const tm& time) {
  const long lYear = time.tm_year + 1900L;
  if (lYear < 0 || lYear > 9999) return psz + std::sprintf(psz, "%04ld", lYear);
  const int iYear = static_cast<int>(lYear);
  return WyAppendTwoDigits(WyAppendTwoDigits(psz, iYear / 100), iYear % 100);
}

// "11/16/2026"
inline char* WyAppendDateText(char* psz, const tm& time) {
  psz = WyAppendTwoDigits(psz, time.tm_mon + 1);
  *psz++ = '/';
  psz = WyAppendTwoDigits(psz, time.tm_mday);
  *psz++ = '/';
  return WyAppendYear(psz, time);
}

// "17:16:13"
inline char* WyAppendTimeText(char* psz, const tm& time) {
  psz = WyAppendTwoDigits(psz, time.tm_hour);
  *psz++ = ':';
  psz = WyAppendTwoDigits(psz, time.tm_min);
  *psz++ = ':';
  return WyAppendTwoDigits(psz, time.tm_sec);
}

// ".005"; a negative count is 0.
inline char* WyAppendMilliseconds(char* psz, long lMilliseconds) {
  const int iValue = lMilliseconds < 0 ? 0 : static_cast<int>(lMilliseconds);
  *psz++ = '.';
  *psz++ = static_cast<char>('0' + iValue / 100 % 10);
  return WyAppendTwoDigits(psz, iValue % 100);
}

#endif
