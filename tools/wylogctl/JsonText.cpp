// By hand, because a record is written in less time than a general library needs to allocate one.

#include "tools/wylogctl/JsonText.h"

#include <charconv>
#include <cstring>

#include "tools/common/Utf8.h"
#include "tools/wylogctl/LogShape.h"
#include "tools/wylogctl/Record.h"

namespace {

constexpr char Hex[] = "0123456789abcdef";
constexpr std::uint64_t Ones = 0x0101010101010101u;
constexpr std::uint64_t Highs = 0x8080808080808080u;

std::uint64_t HasZero(std::uint64_t u) { return (u - Ones) & ~u & Highs; }

// Whether none of eight bytes is a control character, a quote or a backslash.
bool IsPlain(const char* p) {
  std::uint64_t u;
  std::memcpy(&u, p, sizeof u);
  const std::uint64_t uControl = (u - Ones * 0x20) & ~u & Highs;
  return (uControl | HasZero(u ^ (Ones * '"')) | HasZero(u ^ (Ones * '\\'))) == 0;
}

bool NeedsEscape(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; }

void AppendEscape(std::string& strText, char c) {
  strText += '\\';
  switch (c) {
    case '"':
    case '\\':
      strText += c;
      return;
    case '\n':
      strText += 'n';
      return;
    case '\t':
      strText += 't';
      return;
    case '\r':
      strText += 'r';
      return;
    default:
      strText += "u00";
      strText += Hex[(c >> 4) & 15];
      strText += Hex[c & 15];
  }
}

}  // namespace

void WyAppendEscaped(std::string& strText, std::string_view value) {
  const char* p = value.data();
  const char* const pEnd = p + value.size();
  const char* pPlain = p;
  while (p < pEnd) {
    if (pEnd - p >= 8 && IsPlain(p)) {
      p += 8;
    } else if (!NeedsEscape(*p)) {
      ++p;
    } else {
      strText.append(pPlain, p);
      AppendEscape(strText, *p++);
      pPlain = p;
    }
  }
  strText.append(pPlain, p);
}

void WyAppendJson(std::string& strText, std::string_view value) {
  strText += '"';
  if (WyIsValidUtf8(value)) {
    WyAppendEscaped(strText, value);
  } else {
    WyAppendEscaped(strText, ValidUtf8(value));
  }
  strText += '"';
}

void WyAppendNumber(std::string& strText, std::uint64_t uNumber) {
  char sz[24];
  strText.append(sz, std::to_chars(sz, sz + sizeof sz, uNumber).ptr);
}

void WyAppendBase64(std::string& strText, std::string_view bytes) {
  constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t uGroup = 0;
    for (std::size_t j = 0; j < 3; ++j) {
      uGroup = uGroup << 8 | (i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0u);
    }
    for (std::size_t j = 0; j < 4; ++j) {
      const bool bDigit = i + j <= bytes.size();
      strText += bDigit ? Digits[uGroup >> (18 - 6 * j) & 63] : '=';
    }
  }
}

bool WyIsQuotedInCsv(std::string_view value) {
  return value.find_first_of("\",\r\n") != std::string_view::npos;
}

void WyAppendCsvText(std::string& strText, std::string_view value) {
  for (std::size_t u; (u = value.find('"')) != std::string_view::npos; value.remove_prefix(u + 1)) {
    strText.append(value.substr(0, u)).append("\"\"");
  }
  strText += value;
}

void WyAppendCsv(std::string& strText, std::string_view value) {
  const bool bQuoted = WyIsQuotedInCsv(value);
  if (bQuoted) strText += '"';
  WyAppendCsvText(strText, value);
  if (bQuoted) strText += '"';
}

void WyAppendPrintable(std::string& strText, std::string_view value) {
  while (!value.empty()) {
    const std::size_t uEnd = value.find('\n');
    strText += Printable(value.substr(0, uEnd));
    if (uEnd == std::string_view::npos) return;
    strText += '\n';
    value.remove_prefix(uEnd + 1);
  }
}

void CWyJsonObject::Name(std::string_view name) {
  if (!m_bFirst) m_strText += ',';
  m_bFirst = false;
  m_strText += '"';
  m_strText += name;
  m_strText += "\":";
}

void CWyJsonObject::Text(std::string_view name, std::string_view value) {
  Name(name);
  WyAppendJson(m_strText, value);
}

void CWyJsonObject::Number(std::string_view name, std::uint64_t uNumber) {
  Name(name);
  WyAppendNumber(m_strText, uNumber);
}

void CWyJsonObject::Digits(std::string_view name, std::string_view digits) {
  if (digits.empty() || digits.size() > 19) return;
  std::uint64_t uNumber = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), uNumber);
  if (result.ec == std::errc() && result.ptr == digits.data() + digits.size()) {
    Number(name, uNumber);
  }
}

void CWyJsonObject::Null(std::string_view name) {
  Name(name);
  m_strText += "null";
}

void CWyJsonObject::Bool(std::string_view name, bool bValue) {
  Name(name);
  m_strText += bValue ? "true" : "false";
}
