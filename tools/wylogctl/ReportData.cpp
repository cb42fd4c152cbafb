// An answer of the store that is cut, or an error message in its place, must not become a page that
// looks complete: each line is checked, and the last one must be there.

#include "tools/wylogctl/ReportData.h"

#include <nlohmann/json.hpp>

#include "tools/common/Utf8.h"

namespace {

using Json = nlohmann::json;

constexpr std::int64_t LastSecond = 253'402'300'799;  // of the year 9999
constexpr std::int64_t MostSteps = 10'000;

// Absent and null are 0 and the empty text; a value of another type throws Json::type_error.
template <class T>
T Get(const Json& row, const char* pszName, T value = {}) {
  const auto found = row.find(pszName);
  return found == row.end() || found->is_null() ? value : found->get<T>();
}

std::uint64_t Count(const Json& row, const char* pszName) {
  return Get<std::uint64_t>(row, pszName);
}

void TakeHead(const Json& row, WyReport& report) {
  if (Get<int>(row, "v") != 1) throw std::invalid_argument("a report of another version");
  report.since = Get<std::int64_t>(row, "since");
  report.until = Get<std::int64_t>(row, "until");
  report.made = Get<std::int64_t>(row, "made");
  report.step = Get<std::int64_t>(row, "step");
  report.strHost = Get<std::string>(row, "host");
  // The page has a column for each step.
  const bool bTimes =
      report.since >= 0 && report.since < report.until && report.until <= LastSecond;
  if (!bTimes || report.step < 1 || (report.until - report.since) / report.step > MostSteps) {
    throw std::invalid_argument("no time between `since` and `until`, or no step for it");
  }
}

void TakeTotal(const Json& row, WyReport& report) {
  report.uRecords = Count(row, "records");
  report.uRequests = Count(row, "requests");
  report.uRefusals = Count(row, "refusals");
  report.uErrors = Count(row, "errors");
  report.uWarnings = Count(row, "warnings");
  report.uHosts = Count(row, "hosts");
}

WyReportRow RowOf(const Json& row, const char* pszName, const char* pszCount) {
  return {Get<std::string>(row, pszName),
          Get<std::string>(row, "severity"),
          Get<std::string>(row, "text"),
          Count(row, pszCount),
          Count(row, "hosts"),
          Count(row, "requests"),
          Count(row, "errors"),
          Get<std::int64_t>(row, "last")};
}

// Returns false for the last row.
bool Take(const Json& row, WyReport& report) {
  const std::string strWhat = row.at("what").get<std::string>();
  const auto at = Get<std::int64_t>(row, "at");
  if (strWhat == "end") return false;
  if (strWhat == "report") {
    TakeHead(row, report);
  } else if (strWhat == "total") {
    TakeTotal(row, report);
  } else if (strWhat == "requests") {
    report.requests[at] += Count(row, "count");
  } else if (strWhat == "refusals") {
    report.refusals[at] += Count(row, "count");
  } else if (strWhat == "errors") {
    report.errors[Get<std::string>(row, "key")][at] += Count(row, "count");
  } else if (strWhat == "warnings") {
    report.warnings[Get<std::string>(row, "key")][at] += Count(row, "count");
  } else if (strWhat == "message") {
    report.messages.push_back(RowOf(row, "key", "count"));
  } else if (strWhat == "user") {
    report.users.push_back(RowOf(row, "username", "count"));
  } else if (strWhat == "host") {
    report.hosts.push_back(RowOf(row, "host", "records"));
  } else {
    throw std::invalid_argument("`" + strWhat + "` is not known");
  }
  return true;
}

}  // namespace

bool WyReadReport(std::istream& lines, WyReport& report, std::string& strReason) {
  std::string strLine;
  int iLine = 0;
  bool bMore = true;
  while (bMore && std::getline(lines, strLine)) {
    const std::string strPlace = std::to_string(++iLine) + ": ";
    try {
      bMore = Take(Json::parse(strLine), report);
    } catch (const Json::exception&) {
      strReason = strPlace + "`" + strLine.substr(0, 200) + "` is not a row of wyerrlog.report";
      return false;
    } catch (const std::invalid_argument& error) {
      strReason = strPlace + error.what();
      return false;
    }
  }
  if (bMore) strReason = std::to_string(iLine + 1) + ": the rows end before the last one";
  if (!bMore && report.until == 0) strReason = "1: the first row is missing";
  return strReason.empty();
}
