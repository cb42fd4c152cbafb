// Lines are composed and parsed here, and nowhere else. The parser accepts only what the
// composer writes: one spelling for each number and tag, so that no altered line counts as the
// same.

#include "extras/seal/internal/WySealLine.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

constexpr char Hex[] = "0123456789abcdef";

unsigned char At(std::string_view strText, size_t u) {
  return u < strText.size() ? static_cast<unsigned char>(strText[u]) : 0;
}

// The bytes of the character that must not stand in a TEXT; 0 for one that may. Line breaks of any
// kind would let one message look like two records in a viewer; escape sequences of terminals (C0,
// C1) would let it hide others.
size_t ForbiddenAt(std::string_view strText, size_t u) {
  const unsigned char c = At(strText, u);
  if (c < 0x20 || c == 0x7f) return 1;
  if (c == 0xc2 && At(strText, u + 1) >= 0x80 && At(strText, u + 1) <= 0x9f) return 2;
  const bool bSeparator = c == 0xe2 && At(strText, u + 1) == 0x80 &&
                          (At(strText, u + 2) == 0xa8 || At(strText, u + 2) == 0xa9);
  return bSeparator ? 3 : 0;
}

// Whether one of eight bytes can begin such a character: one below 0x20, 0x7f, 0xc2 or 0xe2. The
// usual tests for "less than" and "equal", of all bytes at once; never false for one that is there.
bool IsSuspicious(uint64_t uBytes) {
  constexpr uint64_t Ones = 0x0101010101010101u, High = Ones << 7;
  const auto below = [](uint64_t u, uint64_t uLimit) { return (u - Ones * uLimit) & ~u & High; };
  const auto equals = [&](uint64_t uByte) { return below(uBytes ^ (Ones * uByte), 1); };
  return (below(uBytes, 0x20) | equals(0x7f) | equals(0xc2) | equals(0xe2)) != 0;
}

// May return false for a text with nothing to escape (each character that begins with 0xc2 or
// 0xe2), never true for one with something: WySealEscape then copies it unchanged.
bool IsClean(std::string_view strText) {
  if (!strText.empty() && strText[0] == '~') return false;
  size_t u = 0;
  uint64_t uBytes = 0;
  for (; u + sizeof uBytes <= strText.size(); u += sizeof uBytes) {
    memcpy(&uBytes, strText.data() + u, sizeof uBytes);
    if (IsSuspicious(uBytes)) return false;
  }
  uBytes = 0x2020202020202020u;  // blanks fill the rest
  if (u < strText.size()) memcpy(&uBytes, strText.data() + u, strText.size() - u);
  return !IsSuspicious(uBytes);
}

void AppendEscaped(std::string& strBuffer, std::string_view strBytes) {
  for (const char c : strBytes) {
    const auto u = static_cast<unsigned char>(c);
    strBuffer += {'\\', 'x', Hex[u >> 4], Hex[u & 15]};
  }
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

// The backslash itself is not escaped, so the original text cannot be restored with certainty; the
// seal covers the TEXT as it is in the file.
std::string_view WySealEscape(std::string_view strText, std::string& strBuffer) {
  if (!strText.empty() && strText.back() == '\n') strText.remove_suffix(1);
  if (IsClean(strText)) return strText;
  strBuffer.clear();
  if (strText[0] == '~') strBuffer += '\\';
  for (size_t u = 0; u < strText.size();) {
    const size_t uForbidden = ForbiddenAt(strText, u);
    if (uForbidden == 0) {
      strBuffer += strText[u++];
      continue;
    }
    AppendEscaped(strBuffer, strText.substr(u, uForbidden));
    u += uForbidden;
  }
  return strBuffer;
}

bool WySealIsText(std::string_view strText) {
  for (size_t u = 0; u < strText.size(); ++u) {
    if (ForbiddenAt(strText, u) != 0) return false;
  }
  return true;
}

CWySealTrailer::CWySealTrailer(uint64_t uSeq, const WySealTag& tag) {
  m_szText[0] = '\t';
  m_szText[1] = '~';
  char* pEnd = std::to_chars(m_szText + 2, m_szText + 22, uSeq).ptr;
  *pEnd++ = '~';
  char szTag[WySealTagChars + 1];
  WySealEncodeTag(tag, szTag);
  memcpy(pEnd, szTag, WySealTagChars);
  pEnd += WySealTagChars;
  *pEnd++ = '\n';
  m_uLength = static_cast<size_t>(pEnd - m_szText);
}

// From the end, since nothing but the trailer has a fixed form there: a TEXT cannot contain a tab,
// but a line that an attacker wrote can.
bool WySealParseLine(std::string_view strLine, WySealLine& line) {
  if (strLine.size() < WySealTagChars + 4) return false;
  size_t u = strLine.size() - WySealTagChars - 1;
  line.strTag = strLine.substr(u + 1);
  if (strLine[u] != '~') return false;
  const size_t uDigitsEnd = u;
  while (u > 0 && IsDigit(strLine[u - 1])) --u;
  if (u < 2 || strLine[u - 1] != '~' || strLine[u - 2] != '\t') return false;
  const auto uSeq = WySealParseNumber(strLine.substr(u, uDigitsEnd - u));
  line.uSeq = uSeq.value_or(0);
  line.strText = strLine.substr(0, u - 2);
  return line.uSeq != 0;
}

// No sign, blank or leading zero.
std::optional<uint64_t> WySealParseNumber(std::string_view strDigits) {
  uint64_t uNumber = 0;
  const char* const pEnd = strDigits.data() + strDigits.size();
  const auto [pStop, error] = std::from_chars(strDigits.data(), pEnd, uNumber);
  if (error != std::errc() || pStop != pEnd || (strDigits.size() > 1 && strDigits[0] == '0')) {
    return std::nullopt;
  }
  return uNumber;
}

// The first field of the name wins. Only texts of the log's own records are searched, whose values
// contain no blanks; nothing of a caller's message is ever in them.
std::string_view WySealField(std::string_view strText, std::string_view strName) {
  for (size_t u = strText.find(' '); u != std::string_view::npos; u = strText.find(' ', u + 1)) {
    const std::string_view strRest = strText.substr(u + 1);
    if (!strRest.starts_with(strName) || At(strRest, strName.size()) != '=') continue;
    const std::string_view strValue = strRest.substr(strName.size() + 1);
    return strValue.substr(0, strValue.find(' '));
  }
  return {};
}

std::optional<uint64_t> WySealNumber(std::string_view strText, std::string_view strName) {
  return WySealParseNumber(WySealField(strText, strName));
}

std::optional<WySealTag> WySealTagField(std::string_view strText, std::string_view strName) {
  WySealTag tag;
  if (!WySealDecode(WySealField(strText, strName), tag.data(), tag.size())) return std::nullopt;
  return tag;
}

bool WySealIsKind(std::string_view strText, std::string_view strKind) {
  return strText.starts_with(strKind) && At(strText, strKind.size()) == ' ';
}

std::string WySealRange(uint64_t uFirst, uint64_t uLast) {
  return std::to_string(uFirst) + ".." + std::to_string(uLast);
}

// Not by the C library, whose conversions take a lock that a forked child may find held.
std::string WySealTimeText(int64_t iSeconds) {
  using namespace std::chrono;
  const sys_seconds time{seconds(iSeconds)};
  const year_month_day date(floor<days>(time));
  const hh_mm_ss clock(time - floor<days>(time));
  char szText[64];
  snprintf(szText, sizeof szText, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
           static_cast<unsigned int>(date.month()), static_cast<unsigned int>(date.day()),
           static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
           static_cast<int>(clock.seconds().count()));
  return szText;
}
