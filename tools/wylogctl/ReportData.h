#ifndef WYLOGCTL_REPORTDATA_H
#define WYLOGCTL_REPORTDATA_H

// What the function wyerrlog.report of the store returns: counts over time, and the rows of the
// tables. One JSON object a line.

#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <vector>

#include "tools/wylogctl/LogTime.h"

// Counts by the beginning of their step of time, in seconds since 1970.
using WyCounts = std::map<std::int64_t, std::uint64_t>;

struct WyReportRow {
  std::string strName;      // of a message's key, a user, or a host; empty if there is none
  std::string strSeverity;  // of messages
  std::string strText;      // of messages: the newest record
  std::uint64_t uCount = 0;
  std::uint64_t uHosts = 0;
  std::uint64_t uRequests = 0;  // of hosts
  std::uint64_t uErrors = 0;    // of hosts
  std::int64_t last = 0;
};

struct WyReport {
  std::int64_t since = 0;
  std::int64_t until = 0;
  std::int64_t made = 0;
  std::int64_t step = 3600;
  std::string strHost;  // empty: of all hosts
  std::uint64_t uRecords = 0;
  std::uint64_t uRequests = 0;
  std::uint64_t uRefusals = 0;
  std::uint64_t uErrors = 0;
  std::uint64_t uWarnings = 0;
  std::uint64_t uHosts = 0;
  WyCounts requests;
  WyCounts refusals;
  std::map<std::string, WyCounts> errors;    // by key
  std::map<std::string, WyCounts> warnings;  // by key
  std::vector<WyReportRow> messages;
  std::vector<WyReportRow> users;
  std::vector<WyReportRow> hosts;
};

// Returns false, with the reason and the number of the line in `strReason`, for lines that are not
// such rows, or if the last one is missing.
bool WyReadReport(std::istream& lines, WyReport& report, std::string& strReason);

#endif
