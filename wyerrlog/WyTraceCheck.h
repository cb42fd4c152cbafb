#ifndef WYERRLOG_WYTRACECHECK_H
#define WYERRLOG_WYTRACECHECK_H

// What a trace configuration file does, and what of it is passed over. The reader of these files
// accepts nearly everything and reports nothing: a misspelt component traces nothing, a filter
// without a separator filters nothing. The check runs the same reader and lists each decision that
// it took.

#include <string>
#include <vector>

#include "wyerrlog/WyErrLogPort.h"

class CWyLogger;

// What a finding means for the trace.
enum class WyTraceLevel {
  Effect,   // what the file turns on: a component, a field, a filter
  Warning,  // something is passed over, or has an effect that the file does not show
  Error,    // the file is refused: CWyLogger::EnableTrace returns false
};

// One decision of the reader, or one thing that a person would miss in the result.
struct WyTraceFinding {
  // Effects are no faults: a caller that reports faults skips them.
  WyTraceLevel level = WyTraceLevel::Warning;

  // "T301": its entry in the documentation of wylogctl. Codes are never given a new meaning.
  std::string strCode;

  // The place, from 1, in bytes; 0 in all three for the file as a whole.
  unsigned int uLine = 0;
  unsigned int uColumn = 0;
  unsigned int uLength = 0;

  std::string strWord;  // what stands there, as it is in the file
  std::string strText;  // one English sentence without a full stop
  std::string strHelp;  // the remedy ("did you mean `User`?"), or empty

  // Of effects: the component's or field's name and number, and the place of the cause.
  std::string strName;
  unsigned int uId = 0;
};

// Reads a trace configuration file as CWyLogger::EnableTrace does, with the components that the
// logger has loaded, and appends what it finds: first what stands on lines, in their order, then
// what concerns the file as a whole. Nothing is turned on or off.
//
// Returns true if EnableTrace would take the file: if there is no finding of the level Error. A
// file that cannot be read, a released logger and failed memory allocation are such findings; for
// the last one no finding may be appended.
//
// Thread-safe. The file is read without a lock.
//
//   std::vector<WyTraceFinding> findings;
//   WyCheckTraceConfiguration(*theLogger(), "trace.conf", findings);
//   for (const WyTraceFinding& finding : findings) {
//     if (finding.level == WyTraceLevel::Effect) continue;
//     std::fprintf(stderr, "trace.conf:%u: %s\n", finding.uLine, finding.strText.c_str());
//   }
WYERRLOG_API bool WyCheckTraceConfiguration(CWyLogger& logger, const char* pszFile,
                                            std::vector<WyTraceFinding>& findings);

#endif
