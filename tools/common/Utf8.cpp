// UTF-8: the tables of the Unicode standard (table 3-7, "Well-Formed UTF-8 Byte Sequences") as a
// decoder of one character, and everything else as loops over that.
#include "tools/common/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace {

struct Character {
  std::size_t uLength;  // 0: no UTF-8
  char32_t c;
};

// The smallest value that needs as many bytes, by the number of bytes.
constexpr char32_t SmallestOf[] = {0, 0, 0x80, 0x800, 0x10000};

// 0xC0 and 0xC1 could only begin overlong forms, 0xF5 and above only values beyond Unicode.
std::size_t LengthByFirstByte(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xC2) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF5 ? 4 : 0;
}

Character Decode(std::string_view text) {
  if (text.empty()) return {0, 0};
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t uLength = LengthByFirstByte(first);
  if (uLength <= 1) return {uLength, first};
  if (text.size() < uLength) return {0, 0};
  char32_t c = first & (0xFFU >> (uLength + 1));
  for (const char next : text.substr(1, uLength - 1)) {
    if ((static_cast<unsigned char>(next) & 0xC0) != 0x80) return {0, 0};
    c = c << 6 | (static_cast<unsigned char>(next) & 0x3F);
  }
  // Overlong forms are refused, since two spellings of one character would pass comparisons as two.
  const bool bSurrogate = c >= 0xD800 && c < 0xE000;
  if (c < SmallestOf[uLength] || c > 0x10FFFF || bSurrogate) return {0, 0};
  return {uLength, c};
}

struct Range {
  char32_t cFirst, cLast;
};

template <std::size_t Count>
bool IsIn(const Range (&ranges)[Count], char32_t c) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [c](const Range& r) { return c >= r.cFirst && c <= r.cLast; });
}

// The blocks of Unicode's East Asian width "W" and "F" as far as texts and file names have them.
constexpr Range Wide[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                          {0xF900, 0xFAFF}, {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                          {0xFFE0, 0xFFE6}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};
// And characters without a width of their own. Not complete: it decides where a mark stands,
// nothing else.
constexpr Range Combining[] = {{0x300, 0x36F},   {0x591, 0x5BD},   {0x64B, 0x65F},
                               {0x1AB0, 0x1AFF}, {0x200B, 0x200F}, {0x20D0, 0x20FF},
                               {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

std::size_t WidthOf(char32_t c) {
  if (c < 0x300) return 1;
  if (IsIn(Combining, c)) return 0;
  return IsIn(Wide, c) ? 2 : 1;
}

// Calls `visit` with each character and the bytes it is made of; a byte that is no UTF-8 is a
// character of length 0.
template <typename Visitor>
void ForEachCharacter(std::string_view text, Visitor visit) {
  while (!text.empty()) {
    const Character character = Decode(text);
    const std::size_t uBytes = std::max<std::size_t>(character.uLength, 1);
    visit(character, text.substr(0, uBytes));
    text.remove_prefix(uBytes);
  }
}

bool IsControl(char32_t c) { return (c < 0x20 && c != '\t') || (c >= 0x7F && c < 0xA0); }

void AppendEscaped(std::string_view bytes, std::string& str) {
  constexpr std::string_view Digits = "0123456789abcdef";
  for (const char c : bytes) {
    const auto uByte = static_cast<unsigned char>(c);
    str.append("\\x").append(1, Digits[uByte / 16]).append(1, Digits[uByte % 16]);
  }
}

}  // namespace

std::size_t Utf8CharacterLength(std::string_view text) { return Decode(text).uLength; }

std::size_t FindInvalidUtf8(std::string_view text) {
  for (std::size_t uAt = 0; uAt < text.size();) {
    const std::size_t uLength = Utf8CharacterLength(text.substr(uAt));
    if (uLength == 0) return uAt;
    uAt += uLength;
  }
  return std::string_view::npos;
}

std::size_t CountCharacters(std::string_view text) {
  std::size_t uCount = 0;
  ForEachCharacter(text, [&](const Character&, std::string_view) { ++uCount; });
  return uCount;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t uWidth = 0;
  ForEachCharacter(
      text, [&](const Character& character, std::string_view) { uWidth += WidthOf(character.c); });
  return uWidth;
}

// Invalid bytes too are escaped: what a terminal does with them depends on its encoding.
std::string Printable(std::string_view text) {
  std::string str;
  ForEachCharacter(text, [&](const Character& character, std::string_view bytes) {
    if (character.uLength == 0 || IsControl(character.c)) return AppendEscaped(bytes, str);
    str += bytes;
  });
  return str;
}

std::string ValidUtf8(std::string_view text) {
  std::string str;
  ForEachCharacter(text, [&](const Character& character, std::string_view bytes) {
    str += character.uLength == 0 ? std::string_view("\xEF\xBF\xBD") : bytes;
  });
  return str;
}
