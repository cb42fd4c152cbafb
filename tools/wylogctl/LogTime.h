#ifndef WYLOGCTL_LOGTIME_H
#define WYLOGCTL_LOGTIME_H

// The times in logs. A line does not say in which zone its time is, so times are kept as they
// stand, as milliseconds of a calendar without zones: they compare and print without knowing one.
// The zone is needed for UTC alone, and for what the user gives relative to now.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

using WyCivil = std::int64_t;  // milliseconds since 1970-01-01 00:00:00 of the same calendar
constexpr WyCivil WyNoTime = INT64_MIN;

// "Mon Nov 16 2026 17:16:13", "11/16/2026" and "17:16:13[.005]"; WyNoTime if it is none. Both of
// the last two together are the sum.
WyCivil WyParseDateTime(std::string_view text);
WyCivil WyParseDate(std::string_view text);
WyCivil WyParseTimeOfDay(std::string_view text);

// "1h", "30m", "2d", "10s" or "1w".
std::optional<WyCivil> WyParseDuration(const std::string& strText);

// Appends "2026-11-16T17:16:13", with ".005" if `bMilliseconds`.
void WyAppendIso(std::string& strText, WyCivil time, bool bMilliseconds);

// The zone in which times of logs are taken to be: this machine's, UTC, or one by name.
class CWyZone {
 public:
  // "local", "utc", or a name of the zone database ("Europe/Berlin"). Returns false for an unknown
  // one.
  bool Set(const std::string& strName);

  // For people: "local time (CET)", "UTC", "Europe/Berlin".
  std::string Description() const;

  // UTC as milliseconds since the epoch; nothing when the time occurs twice or not at all in the
  // zone, where clocks are set back or forward.
  std::optional<std::int64_t> ToUtc(WyCivil time) const;
  // The time of so many milliseconds before now. The two calendars differ if clocks were changed
  // since: by what the clocks showed, and by what has passed.
  WyCivil Before(WyCivil back) const;
  WyCivil PassedBefore(WyCivil back) const;

  // The earliest time that clocks show from that moment on, and the latest that they have shown up
  // to it. They differ from PassedBefore in an hour that occurs twice.
  WyCivil EarliestSince(WyCivil back) const;
  WyCivil LatestUntil(WyCivil back) const;

  // Whether the clocks of the zone are set back within a day of `time`.
  bool IsSetBackNear(WyCivil time) const;

 private:
  WyCivil At(std::int64_t iSeconds) const;

  bool m_bUtc = false;
  std::string m_strName = "local";
};

// A time that a user gives: "2026-11-16", "2026-11-16 17:16[:13[.005]]" (or with a T), "17:16[:13]"
// of today, "now", "today", "yesterday", or back from now: "-1h", "-30m", "-2d", "-10s", "-1w".
// A time relative to now, "now" included, is the earliest or the latest time that it can mean where
// clocks were changed; the others are compared as they stand in the lines.
enum class WyTimeChoice : std::uint8_t { Earlier, Later };
std::optional<WyCivil> WyParseUserTime(const std::string& strText, const CWyZone& zone,
                                       WyTimeChoice choice);

#endif
