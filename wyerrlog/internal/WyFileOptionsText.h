#ifndef WYERRLOG_INTERNAL_WYFILEOPTIONSTEXT_H
#define WYERRLOG_INTERNAL_WYFILEOPTIONSTEXT_H

// Options of log files as a text, "mode=appendRollBySize maxSizeMB=10 shared": the form in which
// configurations of hosts, and callers in other languages, pass them.

#include <string>
#include <string_view>

#include "wyerrlog/WyFileOptions.h"
#include "wyerrlog/WyTraceData.h"

// What the text of one call sets.
struct WyTextOptions {
  WyFileOptions file;
  int iLayout = WyTraceLayout::Brackets;
  std::string strDelimiter;
};

// Reads the text into `options`, which has the defaults. Returns an empty text, or why it is
// refused: one English sentence that names the word and the remedy. The words `layout` and
// `delimiter` are known only if the options are those of a trace. Throws std::bad_alloc.
std::string WyReadFileOptions(std::string_view strText, bool bTrace, WyTextOptions& options);

// Why an output that has all of the options would refuse them although each is within its range;
// null if it would not.
const char* WyConflictOf(const WyFileOptions& options);

#endif
