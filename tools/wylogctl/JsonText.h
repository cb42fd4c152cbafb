#ifndef WYLOGCTL_JSONTEXT_H
#define WYLOGCTL_JSONTEXT_H

// Writing JSON, CSV and texts for a terminal, appended to a string that the caller reuses.

#include <cstdint>
#include <string>
#include <string_view>

// Appends the text in quotes. Bytes that are no UTF-8 become U+FFFD.
void WyAppendJson(std::string& strText, std::string_view value);
// A part of such a text without the quotes, which is known to be UTF-8.
void WyAppendEscaped(std::string& strText, std::string_view value);
void WyAppendNumber(std::string& strText, std::uint64_t uNumber);
void WyAppendBase64(std::string& strText, std::string_view bytes);

// Appends one field of CSV, in quotes where it needs them.
void WyAppendCsv(std::string& strText, std::string_view value);
// The same in parts: whether the field needs quotes, and a part of its text without them.
bool WyIsQuotedInCsv(std::string_view value);
void WyAppendCsvText(std::string& strText, std::string_view value);

// Appends the text with its control characters as "\x1b"; newlines and tabs stay.
void WyAppendPrintable(std::string& strText, std::string_view value);

// An object, name by name: {"a":1,"b":"x"}. The names are constants that need no escapes.
class CWyJsonObject {
 public:
  explicit CWyJsonObject(std::string& strText) : m_strText(strText) { m_strText += '{'; }
  void End() { m_strText += '}'; }

  void Name(std::string_view name);
  void Text(std::string_view name, std::string_view value);
  void Number(std::string_view name, std::uint64_t uNumber);
  // A text that is digits alone as a number; else nothing.
  void Digits(std::string_view name, std::string_view digits);
  void Null(std::string_view name);
  void Bool(std::string_view name, bool bValue);

 private:
  std::string& m_strText;
  bool m_bFirst = true;
};

#endif
