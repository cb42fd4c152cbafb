#ifndef WYERRLOG_WYLOGTEXT_H
#define WYERRLOG_WYLOGTEXT_H

// Free texts in the error log, for programs and messages without a catalog:
//
//   WyLogText(WySeverity::Warning, "%d of %d sessions left", iLeft, iAll);
//
// writes the line "[pid/tid][date][file:line][WARNING][wy-log-00000] 3 of 20000 sessions left".
// Users include wyerrlog/WyLog.h, which includes this header.

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "wyerrlog/WyCallSite.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyToText.h"

namespace WyLogDetail {

// Appends the message to the line. Returns false if there was no memory to escape a text.
template <typename... Texts>
bool FormatTexts(CWyErrLogMessage& line, unsigned int uId, const Texts&... texts) {
  if (!(... && texts.IsComplete())) return false;
  line.FormatMessage(uId, texts.View()...);
  return true;
}

// Formats the line of a text: message 1 of the built-in component, which is its first argument.
template <typename Text>
bool FormatTextLine(CWyErrLogMessage& line, const WySeverityAt& severity, const Text& text) {
  line.FormatLogProlog(severity.where.pszFile, severity.where.iLine, 0);
  constexpr unsigned int BuiltIn = WyComponentId(1);
  return FormatTexts(line, WyMessageId(BuiltIn, severity.severity, 1), CpaArgument<Text>(text));
}

// The same with a printf-formatted text, cut to 4095 bytes.
inline bool FormatTextLineVA(CWyErrLogMessage& line, const WySeverityAt& severity,
                             const char* pszFormat, va_list args)
    __attribute__((format(printf, 3, 0)));
inline bool FormatTextLineVA(CWyErrLogMessage& line, const WySeverityAt& severity,
                             const char* pszFormat, va_list args) {
  constexpr int TextSize = 4096;  // bytes, with the terminator: the limit of a message's text
  char szText[TextSize];
  if (pszFormat == nullptr || std::vsnprintf(szText, TextSize, pszFormat, args) < 0) return false;
  return FormatTextLine(line, severity, static_cast<const char*>(szText));
}

}  // namespace WyLogDetail

// Logs a printf-formatted text with a severity: Information, Warning or Error. The compiler checks
// format and arguments. The text has no newline at its end: the line gets one. Control characters
// are escaped (WyEscape.h), those of the format too. A text of more than 4095 bytes is cut.
//
// Returns true if the logger's output has taken the line; false also without an output, for a null
// format, if formatting fails (a character that does not exist for "%ls"), and if memory allocation
// fails. Throws only what a host's output throws. Thread-safe.
inline bool WyLogTextVA(CWyLogger& logger, const WySeverityAt& severity, const char* pszFormat,
                        va_list args) __attribute__((format(printf, 3, 0)));
inline bool WyLogText(CWyLogger& logger, const WySeverityAt& severity, const char* pszFormat, ...)
    __attribute__((format(printf, 3, 4)));
inline bool WyLogText(const WySeverityAt& severity, const char* pszFormat, ...)
    __attribute__((format(printf, 2, 3)));

inline bool WyLogTextVA(CWyLogger& logger, const WySeverityAt& severity, const char* pszFormat,
                        va_list args) {
  CWyErrLogMessage line(logger.ShouldUseLocalTime());
  return WyLogDetail::FormatTextLineVA(line, severity, pszFormat, args) && logger.LogErrMsg(line);
}
inline bool WyLogText(CWyLogger& logger, const WySeverityAt& severity, const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bLogged = WyLogTextVA(logger, severity, pszFormat, args);
  va_end(args);
  return bLogged;
}
inline bool WyLogText(const WySeverityAt& severity, const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bLogged = WyLogTextVA(*theLogger(), severity, pszFormat, args);
  va_end(args);
  return bLogged;
}

// The same with a text that is written as it stands, with its newlines: WyRaw(strTable).
inline bool WyLogText(CWyLogger& logger, const WySeverityAt& severity, const WyRawText& text) {
  CWyErrLogMessage line(logger.ShouldUseLocalTime());
  return WyLogDetail::FormatTextLine(line, severity, text) && logger.LogErrMsg(line);
}
inline bool WyLogText(const WySeverityAt& severity, const WyRawText& text) {
  return WyLogText(*theLogger(), severity, text);
}

#endif
