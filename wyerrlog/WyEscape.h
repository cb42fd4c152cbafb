#ifndef WYERRLOG_WYESCAPE_H
#define WYERRLOG_WYESCAPE_H

// Texts from outside the program, so written that they cannot begin a line of their own or steer a
// terminal. Escaped are
//
//   - the control characters U+0000 to U+001F, U+007F and U+0080 to U+009F,
//   - the line separators U+2028 and U+2029,
//   - every byte that is not part of a well-formed UTF-8 sequence: overlong sequences, cut ones,
//     surrogates, single bytes above 0x7F. A lenient reader could take them for one of the above,
//     also together with the text behind them.
//
// Each escaped byte is written as "\x" and two hexadecimal digits: a newline as "\x0a". All else
// stays as it is, also a backslash: the result is for people, and is not meant to be decoded.
//
// WyLog, WyLogText and WY_TRACE escape their arguments themselves, WY_AUDIT in its own way (see
// WyAuditRecord.h). The raw classes, WyAudit and WyLogPrintf write texts unchanged: a program that
// uses them escapes texts from the network first:
//
//   WyAudit("deny user=\"%s\"\n", WyEscape(strUser).c_str());
//
// All of it is thread-safe and without state.

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

// A text that is written as it stands, with all its control characters: an argument for a text that
// the program itself has composed of several lines. Not copied: it must live as long as the
// statement that logs it.
struct WyRawText {
  const char* pszText;  // null: shown as a null pointer is
  std::size_t uSize;    // bytes
  bool bTerminated;     // a zero byte follows
};

// Returns the text as one that is not escaped:
//
//   WyLog(Login::Dump, WyRaw(strTable));
inline WyRawText WyRaw(std::string_view text) { return {text.data(), text.size(), false}; }
inline WyRawText WyRaw(const char* pszText) {
  return {pszText, pszText != nullptr ? std::strlen(pszText) : 0, true};
}

namespace WyLogDetail {

// ---- Finding ------------------------------------------------------------------------------------

// Sets all bits of each byte that is of 0x20 to 0x7E, and clears those of the others: these bytes
// alone, plus one, are above 0x20 as signed numbers.
inline __m128i PlainBytes(__m128i bytes) {
  return _mm_cmpgt_epi8(_mm_add_epi8(bytes, _mm_set1_epi8(1)), _mm_set1_epi8(0x20));
}

// Returns true if all 16 bytes are of 0x20 to 0x7E.
inline bool IsPlainBlock(__m128i bytes) { return _mm_movemask_epi8(PlainBytes(bytes)) == 0xFFFF; }

// Reads 2, 4, 8 or 16 bytes of any alignment.
template <typename Word>
Word LoadWord(const char* pText) {
  Word word;
  std::memcpy(&word, pText, sizeof word);
  return word;
}

// Up to 15 bytes: two words that overlap, of the largest size that fits, repeated to fill a block.
inline bool IsPlainShort(const char* pText, std::size_t uSize) {
  if (uSize >= 8) {
    return IsPlainBlock(
        _mm_set_epi64x(LoadWord<std::int64_t>(pText + uSize - 8), LoadWord<std::int64_t>(pText)));
  }
  if (uSize >= 4) {
    const auto uFirst = LoadWord<std::uint32_t>(pText);
    const std::uint64_t uLast = LoadWord<std::uint32_t>(pText + uSize - 4);
    return IsPlainBlock(_mm_set1_epi64x(static_cast<std::int64_t>(uLast << 32 | uFirst)));
  }
  for (std::size_t u = 0; u < uSize; ++u) {
    if (pText[u] < 0x20 || pText[u] == 0x7F) return false;  // negative above 0x7F
  }
  return true;
}

// Returns true if the text has printable ASCII characters alone, as nearly all texts: one scan of
// 16 bytes at a time. The last block overlaps the one before it.
inline bool IsPlain(const char* pText, std::size_t uSize) {
  if (uSize < 16) return IsPlainShort(pText, uSize);
  const char* const pLast = pText + uSize - 16;
  for (; pText < pLast; pText += 16) {
    if (!IsPlainBlock(LoadWord<__m128i>(pText))) return false;
  }
  return IsPlainBlock(LoadWord<__m128i>(pLast));
}

// Returns the length of the well-formed UTF-8 sequence at the start of a text that is not empty; 0
// if there is none. The ranges of the second byte exclude overlong sequences, surrogates and what
// lies above U+10FFFF.
inline std::size_t SequenceLength(std::string_view text) {
  const auto isIn = [text](std::size_t u, unsigned int uLowest, unsigned int uHighest) {
    return u < text.size() && static_cast<unsigned char>(text[u]) >= uLowest &&
           static_cast<unsigned char>(text[u]) <= uHighest;
  };
  const unsigned int uFirst = static_cast<unsigned char>(text[0]);
  if (uFirst < 0x80) return 1;
  if (uFirst >= 0xC2 && uFirst <= 0xDF) return isIn(1, 0x80, 0xBF) ? 2 : 0;
  if (uFirst >= 0xE0 && uFirst <= 0xEF) {
    const bool bSecond = isIn(1, uFirst == 0xE0 ? 0xA0 : 0x80, uFirst == 0xED ? 0x9F : 0xBF);
    return bSecond && isIn(2, 0x80, 0xBF) ? 3 : 0;
  }
  if (uFirst < 0xF0 || uFirst > 0xF4) return 0;
  const bool bSecond = isIn(1, uFirst == 0xF0 ? 0x90 : 0x80, uFirst == 0xF4 ? 0x8F : 0xBF);
  return bSecond && isIn(2, 0x80, 0xBF) && isIn(3, 0x80, 0xBF) ? 4 : 0;
}

// Returns true for the well-formed sequences that are escaped.
inline bool IsControl(std::string_view sequence) {
  const auto uFirst = static_cast<unsigned char>(sequence[0]);
  if (sequence.size() == 1) return uFirst < 0x20 || uFirst == 0x7F;
  if (sequence.size() == 2) return uFirst == 0xC2 && static_cast<unsigned char>(sequence[1]) < 0xA0;
  return sequence == "\xE2\x80\xA8" || sequence == "\xE2\x80\xA9";
}

// ---- Writing ------------------------------------------------------------------------------------

// Writes the escaped text, without a terminator, and returns its length; with a null pointer it
// only counts. A sequence that is escaped is so byte by byte: each byte that remains of it is not
// the start of a sequence.
inline std::size_t WriteEscaped(std::string_view text, char* pOut) {
  constexpr char Digits[] = "0123456789abcdef";
  std::size_t uLength = 0;
  while (!text.empty()) {
    std::size_t uKept = SequenceLength(text);
    if (uKept != 0 && IsControl(text.substr(0, uKept))) uKept = 0;
    if (pOut != nullptr && uKept != 0) {
      text.copy(pOut + uLength, uKept);
    } else if (pOut != nullptr) {
      const auto uByte = static_cast<unsigned char>(text[0]);
      const char szEscape[] = {'\\', 'x', Digits[uByte >> 4], Digits[uByte & 0xF]};
      std::memcpy(pOut + uLength, szEscape, sizeof szEscape);
    }
    uLength += uKept != 0 ? uKept : 4;
    text.remove_prefix(uKept != 0 ? uKept : 1);
  }
  return uLength;
}

// A text as a caller passes it: null for a null pointer. If `bTerminated`, a zero byte follows it.
struct TextRef {
  const char* pszText;
  std::size_t uSize;
  bool bTerminated;
};

// Makes `text` refer to its escaped form, in the memory that `pEscaped` receives, unless there is
// nothing to escape. A text ends with its first zero byte. Returns false if memory allocation
// fails. Requires: the text is not IsPlain.
[[gnu::noinline]] inline bool Escape(TextRef& text, std::unique_ptr<char[]>& pEscaped) {
  const std::string_view all(text.pszText, text.uSize);
  const std::string_view shown = all.substr(0, all.find('\0'));
  const std::size_t uLength = WriteEscaped(shown, nullptr);
  if (uLength == shown.size()) {
    text = {shown.data(), uLength, text.bTerminated || uLength < all.size()};
    return true;
  }
  pEscaped.reset(new (std::nothrow) char[uLength + 1]);
  if (pEscaped == nullptr) return false;
  WriteEscaped(shown, pEscaped.get());
  pEscaped[uLength] = '\0';
  text = {pEscaped.get(), uLength, true};
  return true;
}

}  // namespace WyLogDetail

// Returns the escaped text. Throws std::bad_alloc if memory allocation fails.
inline std::string WyEscape(std::string_view text) {
  if (WyLogDetail::IsPlain(text.data(), text.size())) return std::string(text);
  std::string strEscaped(WyLogDetail::WriteEscaped(text, nullptr), '\0');
  WyLogDetail::WriteEscaped(text, strEscaped.data());
  return strEscaped;
}

#endif
