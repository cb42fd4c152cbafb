#ifndef WYERRLOG_INTERNAL_WYJSONTEXT_H
#define WYERRLOG_INTERNAL_WYJSONTEXT_H

// Texts and numbers as JSON values (RFC 8259), for trace records and typed audit records. Whatever
// the bytes of a text are, the value is valid JSON and UTF-8, on one line, and contains no
// character that WyEscape.h calls a control character.

#include <string_view>

class CWyTextBuffer;

// Appends the text in quotes. Control characters, quotes and backslashes are escaped; each byte
// that is not part of a well-formed UTF-8 sequence becomes U+FFFD.
void WyAppendJsonText(CWyTextBuffer& buffer, std::string_view text);

// Appends the text as a number, or as true or false, if it is one in JSON; else in quotes ("nan").
void WyAppendJsonNumber(CWyTextBuffer& buffer, std::string_view text);

#endif
