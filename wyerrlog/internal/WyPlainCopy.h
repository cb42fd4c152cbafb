#ifndef WYERRLOG_INTERNAL_WYPLAINCOPY_H
#define WYERRLOG_INTERNAL_WYPLAINCOPY_H

// Copies texts and looks, in the same pass, whether they are printable ASCII (IsPlain of
// WyEscape.h), as nearly all are. The caller asks once for all of them, and starts over otherwise.

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "wyerrlog/WyEscape.h"

class CWyPlainCopy {
 public:
  // Copies `uSize` bytes and returns the end of the copy. The texts must not overlap.
  char* Copy(char* pTo, const char* pFrom, std::size_t uSize) {
    if (uSize >= 16) return CopyBlocks(pTo, pFrom, uSize);
    if (uSize >= 8) {
      const auto uFirst = Move<std::uint64_t>(pTo, pFrom);
      const auto uLast = Move<std::uint64_t>(pTo + uSize - 8, pFrom + uSize - 8);
      Look(_mm_set_epi64x(static_cast<std::int64_t>(uLast), static_cast<std::int64_t>(uFirst)));
    } else if (uSize >= 4) {
      const std::uint64_t uFirst = Move<std::uint32_t>(pTo, pFrom);
      const std::uint64_t uLast = Move<std::uint32_t>(pTo + uSize - 4, pFrom + uSize - 4);
      Look(_mm_set1_epi64x(static_cast<std::int64_t>(uLast << 32 | uFirst)));
    } else {
      for (std::size_t u = 0; u < uSize; ++u) {
        pTo[u] = pFrom[u];
        Look(_mm_set1_epi8(pFrom[u]));
      }
    }
    return pTo + uSize;
  }

  // Returns true if all bytes that have been copied are printable ASCII.
  bool IsPlain() const { return _mm_movemask_epi8(m_plain) == 0xFFFF; }

 private:
  // The last block overlaps the one before it.
  char* CopyBlocks(char* pTo, const char* pFrom, std::size_t uSize) {
    const char* const pLast = pFrom + uSize - 16;
    char* const pToLast = pTo + uSize - 16;
    for (; pFrom < pLast; pFrom += 16, pTo += 16) Look(Move<__m128i>(pTo, pFrom));
    Look(Move<__m128i>(pToLast, pLast));
    return pToLast + 16;
  }

  template <typename Word>
  static Word Move(char* pTo, const char* pFrom) {
    const Word word = WyLogDetail::LoadWord<Word>(pFrom);
    std::memcpy(pTo, &word, sizeof word);
    return word;
  }
  void Look(__m128i bytes) { m_plain = _mm_and_si128(m_plain, WyLogDetail::PlainBytes(bytes)); }

  __m128i m_plain = _mm_set1_epi8(-1);  // a byte is 0 once a byte of its place was not plain
};

#endif
