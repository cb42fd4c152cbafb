#ifndef WYERRLOG_WYLOGTEXT_H
#define WYERRLOG_WYLOGTEXT_H

// Free texts in the error log, for programs and messages without a catalog:
//
//   WyLogText(WySeverity::Warning, "%d of %d sessions left", iLeft, iAll);
//
// writes the line "[pid/tid][date][file:line][WARNING][wy-log-00000] 3 of 20000 sessions left".
// Users include wyerrlog/WyLog.h, which includes this header.

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "wyerrlog/WyCallSite.h"
#include "wyerrlog/WyLogStatement.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyToText.h"

namespace WyLogDetail {

// The part of a path after its last "/". The compiler finds it for the paths that it supplies.
inline std::string_view FilePart(const char* pszPath) {
  const char* const pszSlash = __builtin_strrchr(pszPath, '/');
  const char* const pszFile = pszSlash != nullptr ? pszSlash + 1 : pszPath;
  return {pszFile, __builtin_strlen(pszFile)};
}

// One bit for each argument whose text is not escaped.
template <typename... Arguments>
constexpr unsigned int AsTheyAre() {
  unsigned int uBits = 0;
  unsigned int uBit = 1;
  ((uBits |= IsNeverEscaped<Arguments>() ? uBit : 0, uBit <<= 1), ...);
  return uBits;
}

// Calls `use` with the statement that has the texts of the arguments, which are of the given types.
template <typename... Arguments, typename Use, typename... Texts>
bool WithStatement(const WyMessageAt& message, const Use& use, const Texts&... texts) {
  const TextRef aTexts[] = {texts.Ref()..., TextRef{}};
  return use(Statement{message.uId, message.where.iLine, FilePart(message.where.pszFile),
                       static_cast<const TextRef*>(aTexts), sizeof...(texts),
                       AsTheyAre<Arguments...>()});
}

// Calls `use` with the statement of a text: message 1 of the built-in component, which is its first
// argument.
template <typename Use>
bool WithText(const WySeverityAt& severity, const Use& use, const TextRef& text,
              unsigned int uAsTheyAre) {
  constexpr unsigned int BuiltIn = WyComponentId(1);
  return use(Statement{WyMessageId(BuiltIn, severity.severity, 1), severity.where.iLine,
                       FilePart(severity.where.pszFile), &text, 1, uAsTheyAre});
}

// The same with a printf-formatted text, cut to 4095 bytes.
template <typename Use>
__attribute__((format(printf, 3, 0))) bool WithTextVA(const WySeverityAt& severity, const Use& use,
                                                      const char* pszFormat, va_list args) {
  constexpr int TextSize = 4096;  // bytes, with the terminator: the limit of a message's text
  char szText[TextSize];
  const int iLength = pszFormat != nullptr ? std::vsnprintf(szText, TextSize, pszFormat, args) : -1;
  if (iLength < 0) return false;
  const std::size_t uLength = static_cast<std::size_t>(std::min(iLength, TextSize - 1));
  return WithText(severity, use, {szText, uLength, true}, 0);
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
  return WyLogDetail::WithTextVA(
      severity,
      [&](const WyLogDetail::Statement& statement) { return logger.LogStatement(statement); },
      pszFormat, args);
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
  return WyLogDetail::WithText(
      severity,
      [&](const WyLogDetail::Statement& statement) { return logger.LogStatement(statement); },
      WyLogDetail::ToText(text).Ref(), 1);
}
inline bool WyLogText(const WySeverityAt& severity, const WyRawText& text) {
  return WyLogText(*theLogger(), severity, text);
}

#endif
