#ifndef WYERRLOG_INTERNAL_WYERRORLINE_H
#define WYERRLOG_INTERNAL_WYERRORLINE_H

// An error-log line taken apart, for outputs that pass its parts on: to syslog priorities, or to
// the fields of the journal.

#include <string_view>

// The parts of
//
//   [pid/tid][Mon Nov 16 2026 17:16:13][file:line][SEVERITY][key] text
//
// They lie within the parsed text. What the caller of a message can choose, its arguments, comes
// after all of them, so that no argument can pass for a part.
struct WyErrorLine {
  std::string_view strFile;  // empty if the line is not one of the error log
  std::string_view strLine;  // digits; empty if there are none
  std::string_view strKey;   // empty for a message without a key
  std::string_view strText;  // the message; all of an unknown line, in both without its newline
  int iPriority = -1;        // as of syslog(3): 3 ERROR, 4 WARNING, 6 INFO; -1 without a severity

  static WyErrorLine Parse(std::string_view strRecord);
};

#endif
