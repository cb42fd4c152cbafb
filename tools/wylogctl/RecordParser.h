#ifndef WYLOGCTL_RECORDPARSER_H
#define WYLOGCTL_RECORDPARSER_H

// Parses a record of any format.

#include <string_view>

#include "tools/wylogctl/Record.h"

// One object for each file: it remembers the time of the record before.
class CWyRecordParser {
 public:
  void Parse(const WyRawRecord& raw, WyRecord& record);

 private:
  void ParseError(WyRecord& record, std::string_view body);
  void ParseAudit(WyRecord& record, std::string_view body);
  void TakeTime(WyRecord& record, std::string_view text);
  void TakeTraceTime(WyRecord& record);

  char m_acTime[24] = {};
  WyCivil m_time = WyNoTime;
  char m_acDate[10] = {};
  WyCivil m_date = WyNoTime;
};

#endif
