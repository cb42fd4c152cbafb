#ifndef WYERRLOG_TOOLS_COMMON_ROFF_H
#define WYERRLOG_TOOLS_COMMON_ROFF_H

// Texts in man pages.

#include <string>

// A text for troff: no line begins with a control character, and dashes can be copied. An unescaped
// "-" becomes a hyphen in some viewers, which a shell does not take for an option.
inline std::string Roff(const std::string& strText) {
  std::string strEscaped;
  for (const char c : strText) {
    if (c == '\\') strEscaped += "\\e";
    if (c == '-') strEscaped += "\\-";
    if (c == '\'') strEscaped += "\\(aq";
    if (c != '\\' && c != '-' && c != '\'') strEscaped += c;
  }
  return strEscaped.starts_with('.') ? "\\&" + strEscaped : strEscaped;
}

#endif
