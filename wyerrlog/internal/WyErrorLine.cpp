// The parts are bracketed; each must have its form, or the line is taken as it stands.

#include "wyerrlog/internal/WyErrorLine.h"

#include <syslog.h>

#include <algorithm>

namespace {

bool AreDigits(std::string_view strText) {
  return !strText.empty() &&
         std::all_of(strText.begin(), strText.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Takes "[...]" off the front. Returns false if there is none.
bool TakeBrackets(std::string_view& strRest, std::string_view& strContent) {
  const size_t uEnd = strRest.find(']');
  if (strRest.empty() || strRest[0] != '[' || uEnd == std::string_view::npos) return false;
  strContent = strRest.substr(1, uEnd - 1);
  strRest.remove_prefix(uEnd + 1);
  return true;
}

bool IsProcessAndThread(std::string_view strText) {
  const size_t uSlash = strText.find('/');
  return uSlash != std::string_view::npos && AreDigits(strText.substr(0, uSlash)) &&
         AreDigits(strText.substr(uSlash + 1));
}

int PriorityOf(std::string_view strSeverity) {
  if (strSeverity == "INFO") return LOG_INFO;
  if (strSeverity == "WARNING") return LOG_WARNING;
  if (strSeverity == "ERROR") return LOG_ERR;
  return strSeverity == "INVALID MESSAGE TYPE" ? LOG_NOTICE : -1;
}

}  // namespace

WyErrorLine WyErrorLine::Parse(std::string_view strRecord) {
  if (!strRecord.empty() && strRecord.back() == '\n') strRecord.remove_suffix(1);
  WyErrorLine whole, line;
  whole.strText = strRecord;
  std::string_view strIds, strTime, strPlace, strSeverity;
  if (!TakeBrackets(strRecord, strIds) || !IsProcessAndThread(strIds) ||
      !TakeBrackets(strRecord, strTime) || !TakeBrackets(strRecord, strPlace) ||
      !TakeBrackets(strRecord, strSeverity)) {
    return whole;
  }
  line.iPriority = PriorityOf(strSeverity);
  if (line.iPriority < 0) return whole;
  const size_t uColon = strPlace.rfind(':');
  const bool bLine = uColon != std::string_view::npos && AreDigits(strPlace.substr(uColon + 1));
  line.strFile = strPlace.substr(0, bLine ? uColon : strPlace.size());
  if (bLine) line.strLine = strPlace.substr(uColon + 1);
  // A pattern without a key is followed by its text at once: "[INFO] text".
  if (!strRecord.empty() && strRecord[0] == '[') TakeBrackets(strRecord, line.strKey);
  if (!strRecord.empty() && strRecord[0] == ' ') strRecord.remove_prefix(1);
  line.strText = strRecord;
  return line;
}
