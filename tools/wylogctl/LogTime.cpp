// Calendar arithmetic without zones, and the conversions that need one. Those go through the C
// library with TZ set for the whole process: this program has one thread and one zone.

#include "tools/wylogctl/LogTime.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "tools/wylogctl/LogShape.h"

namespace {

constexpr std::int64_t Second = 1000;
constexpr std::int64_t Day = 86400 * Second;
constexpr std::int64_t Minute = 60;                    // seconds
constexpr std::int64_t LongestSetBack = 180 * Minute;  // three hours, in Antarctica

int Two(const char* p) { return (p[0] - '0') * 10 + (p[1] - '0'); }

bool AreDigits(const char* p, std::size_t uCount) {
  for (std::size_t i = 0; i < uCount; ++i) {
    if (!WyIsDigit(p[i])) return false;
  }
  return true;
}

// Impossible dates (31 February) have no time, instead of that of another day as mktime would give.
WyCivil DaysOf(int iYear, int iMonth, int iDay) {
  using namespace std::chrono;
  const year_month_day date{year(iYear), month(static_cast<unsigned>(iMonth)),
                            day(static_cast<unsigned>(iDay))};
  if (!date.ok()) return WyNoTime;
  return sys_days(date).time_since_epoch().count() * Day;
}

int MonthOf(const char* p) {
  constexpr const char Names[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int i = 0; i < 12; ++i) {
    if (std::memcmp(p, Names[i], 3) == 0) return i + 1;
  }
  return 0;
}

// Rounded down, also before 1970, where division rounds up.
tm Pieces(WyCivil time) {
  tm pieces{};
  const time_t tSeconds = static_cast<time_t>(time / Second - (time % Second < 0 ? 1 : 0));
  gmtime_r(&tSeconds, &pieces);
  return pieces;
}

WyCivil CivilOf(const tm& pieces) {
  tm copy = pieces;
  return static_cast<WyCivil>(timegm(&copy)) * Second;
}

// "17:16", "17:16:13" or "17:16:13.005".
std::optional<WyCivil> ParseClock(std::string_view text) {
  std::string strFull(text);
  if (text.size() == 5) strFull += ":00";
  const WyCivil time = WyParseTimeOfDay(strFull);
  if (time == WyNoTime) return std::nullopt;
  return time;
}

}  // namespace

WyCivil WyParseDateTime(std::string_view text) {
  if (text.size() < 24 || !WyIsDateTime(text.data(), text.size())) return WyNoTime;
  const char* const p = text.data();
  if (!AreDigits(p + 12, 2)) return WyNoTime;
  const WyCivil days = DaysOf(Two(p + 11) * 100 + Two(p + 13), MonthOf(p + 4), Two(p + 8));
  const WyCivil clock = WyParseTimeOfDay(text.substr(16, 8));
  return days == WyNoTime || clock == WyNoTime ? WyNoTime : days + clock;
}

WyCivil WyParseDate(std::string_view text) {
  if (!WyHasForm(text, WyFieldForm::Date)) return WyNoTime;
  const char* const p = text.data();
  return DaysOf(Two(p + 6) * 100 + Two(p + 8), Two(p), Two(p + 3));
}

WyCivil WyParseTimeOfDay(std::string_view text) {
  const char* const p = text.data();
  if ((text.size() != 8 && text.size() != 12) || p[2] != ':' || p[5] != ':') return WyNoTime;
  if (!AreDigits(p, 2) || !AreDigits(p + 3, 2) || !AreDigits(p + 6, 2)) return WyNoTime;
  // 60: a leap second.
  if (Two(p) > 23 || Two(p + 3) > 59 || Two(p + 6) > 60) return WyNoTime;
  WyCivil time = ((Two(p) * 60 + Two(p + 3)) * 60 + Two(p + 6)) * Second;
  if (text.size() == 12) {
    if (p[8] != '.' || !AreDigits(p + 9, 3)) return WyNoTime;
    time += (p[9] - '0') * 100 + Two(p + 10);
  }
  return time;
}

std::optional<WyCivil> WyParseDuration(const std::string& strText) {
  char* pEnd = nullptr;
  const long long iCount = std::strtoll(strText.c_str(), &pEnd, 10);
  // The limit keeps the product of count and unit within 64 bits.
  if (strText.empty() || !WyIsDigit(strText[0]) || iCount > 1'000'000'000) return std::nullopt;
  const std::string_view unit(pEnd);
  if (unit == "s") return iCount * Second;
  if (unit == "m" || unit == "min") return iCount * 60 * Second;
  if (unit == "h") return iCount * 3600 * Second;
  if (unit == "d") return iCount * Day;
  if (unit == "w") return iCount * 7 * Day;
  return std::nullopt;
}

void WyAppendIso(std::string& strText, WyCivil time, bool bMilliseconds) {
  // Most lines have the second of the line before them.
  static WyCivil s_second = WyNoTime;
  static std::array<char, 32> s_text{};
  static std::size_t s_uSize = 0;
  const WyCivil within = (time % Second + Second) % Second;
  if (time - within != s_second) {
    s_second = time - within;
    const tm pieces = Pieces(s_second);
    s_uSize = strftime(s_text.data(), s_text.size(), "%Y-%m-%dT%H:%M:%S", &pieces);
  }
  strText.append(s_text.data(), s_uSize);
  if (!bMilliseconds) return;
  strText += '.';
  for (const WyCivil unit : {100, 10, 1}) strText += static_cast<char>('0' + within / unit % 10);
}

// Checked first, since tzset takes an unknown name for UTC without a word. ".." would let a zone be
// any file.
bool CWyZone::Set(const std::string& strName) {
  m_strName = strName;
  m_bUtc = strName == "utc" || strName == "UTC";
  if (m_bUtc || strName == "local") return true;
  const char* const pszRoot = std::getenv("TZDIR");
  const std::string strPath = (pszRoot != nullptr ? pszRoot : "/usr/share/zoneinfo");
  struct stat status;
  if (strName.empty() || strName.find("..") != std::string::npos ||
      stat((strPath + "/" + strName).c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return false;
  }
  setenv("TZ", strName.c_str(), 1);
  tzset();
  return true;
}

std::string CWyZone::Description() const {
  if (m_bUtc) return "UTC";
  if (m_strName != "local") return m_strName;
  tzset();
  const char* const pszName = std::getenv("TZ");
  const std::string strZone = pszName != nullptr && *pszName != '\0' ? pszName : tzname[0];
  return "the local time of this machine (" + strZone + ")";
}

std::optional<std::int64_t> CWyZone::ToUtc(WyCivil time) const {
  if (m_bUtc) return time;
  // Two records of one minute have the same distance from UTC: one conversion serves them all.
  static WyCivil s_minute = WyNoTime;
  static std::optional<std::int64_t> s_distance;
  const WyCivil minute = time - ((time % 60000) + 60000) % 60000;
  if (minute != s_minute) {
    s_minute = minute;
    s_distance.reset();
    int iFound = 0;
    // Both are asked: in the hour that clocks repeat two moments have this time, and in the hour
    // that they skip none has. Neither can be converted, and the record's time stays a local one.
    for (const int iDaylight : {0, 1}) {
      tm pieces = Pieces(minute);
      pieces.tm_isdst = iDaylight;
      const time_t tSeconds = mktime(&pieces);
      if (tSeconds == -1 || CivilOf(pieces) != minute) continue;
      const std::int64_t distance = minute - static_cast<std::int64_t>(tSeconds) * Second;
      if (iFound == 0 || distance != *s_distance) ++iFound;
      s_distance = distance;
    }
    if (iFound != 1) s_distance.reset();
  }
  if (!s_distance) return std::nullopt;
  return time - *s_distance;
}

WyCivil CWyZone::At(std::int64_t iSeconds) const {
  const auto tThen = static_cast<time_t>(iSeconds);
  tm pieces{};
  if (m_bUtc) {
    gmtime_r(&tThen, &pieces);
  } else {
    localtime_r(&tThen, &pieces);
  }
  return CivilOf(pieces);
}

WyCivil CWyZone::PassedBefore(WyCivil back) const { return At(::time(nullptr) - back / Second); }

WyCivil CWyZone::Before(WyCivil back) const { return PassedBefore(0) - back; }

// Clocks are changed at the beginning of a minute.
WyCivil CWyZone::EarliestSince(WyCivil back) const {
  const std::int64_t iThen = ::time(nullptr) - back / Second;
  WyCivil earliest = At(iThen);
  for (std::int64_t i = iThen - iThen % Minute + Minute; i <= iThen + LongestSetBack; i += Minute) {
    earliest = std::min(earliest, At(i));
  }
  return earliest;
}

WyCivil CWyZone::LatestUntil(WyCivil back) const {
  const std::int64_t iThen = ::time(nullptr) - back / Second;
  WyCivil latest = At(iThen);
  for (std::int64_t i = iThen - iThen % Minute; i > iThen - LongestSetBack; i -= Minute) {
    latest = std::max(latest, At(i - 1));
  }
  return latest + Second - 1;
}

// A day on both sides: the record's own hour is the one that cannot be converted.
bool CWyZone::IsSetBackNear(WyCivil time) const {
  if (m_bUtc) return false;
  std::array<std::int64_t, 2> distances{};
  for (std::size_t i = 0; i < 2; ++i) {
    tm pieces = Pieces(time + (i == 0 ? -Day : Day));
    pieces.tm_isdst = -1;
    mktime(&pieces);
    distances[i] = pieces.tm_gmtoff;
  }
  return distances[1] < distances[0];
}

std::optional<WyCivil> WyParseUserTime(const std::string& strText, const CWyZone& zone,
                                       WyTimeChoice choice) {
  const WyCivil now = zone.Before(0);
  const WyCivil today = now - now % Day;
  if (strText == "now") return WyParseUserTime("-0s", zone, choice);
  if (strText == "today") return today;
  if (strText == "yesterday") return today - Day;
  if (strText.size() > 2 && strText[0] == '-') {
    const auto back = WyParseDuration(strText.substr(1));
    if (!back) return std::nullopt;
    // On a day on which clocks change, "-3h" by the clock and by the time that has passed are two
    // moments; the choice takes the wider window, so that no record is left out.
    return choice == WyTimeChoice::Earlier ? std::min(zone.Before(*back), zone.EarliestSince(*back))
                                           : std::max(zone.Before(*back), zone.LatestUntil(*back));
  }
  if (strText.size() < 10 || strText[4] != '-') {
    const auto clock = ParseClock(strText);
    if (!clock) return std::nullopt;
    return today + *clock;
  }
  const char* const p = strText.c_str();
  if (!AreDigits(p, 4) || !AreDigits(p + 5, 2) || p[7] != '-' || !AreDigits(p + 8, 2)) {
    return std::nullopt;
  }
  const WyCivil date = DaysOf(Two(p) * 100 + Two(p + 2), Two(p + 5), Two(p + 8));
  if (date == WyNoTime) return std::nullopt;
  if (strText.size() == 10) return date;
  if (strText[10] != ' ' && strText[10] != 'T') return std::nullopt;
  const auto clock = ParseClock(std::string_view(strText).substr(11));
  if (!clock) return std::nullopt;
  return date + *clock;
}
