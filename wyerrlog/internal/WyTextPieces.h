#ifndef WYERRLOG_INTERNAL_WYTEXTPIECES_H
#define WYERRLOG_INTERNAL_WYTEXTPIECES_H

// The short texts that a record is composed of, and their copying into the message.
//
// Most pieces have fewer than 64 bytes, for which the call of memcpy(3) costs more than the copy.

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

// A text that lives elsewhere. Without initial values: arrays of these are large.
struct WyTextPiece {
  const char* pText;
  std::size_t uLength;
};

// Two overlapping words copy every size between one and two words.
template <typename Word>
inline void WyCopyWords(char* pTo, const char* pFrom, std::size_t uSize) {
  Word first;
  Word last;
  std::memcpy(&first, pFrom, sizeof first);
  std::memcpy(&last, pFrom + uSize - sizeof last, sizeof last);
  std::memcpy(pTo, &first, sizeof first);
  std::memcpy(pTo + uSize - sizeof last, &last, sizeof last);
}

// Copies `uSize` bytes and returns the end of the copy. The texts must not overlap.
inline char* WyCopyText(char* pTo, const char* pFrom, std::size_t uSize) {
  if (uSize > 16) {
    if (uSize <= 32) {
      WyCopyWords<__m128i>(pTo, pFrom, uSize);
    } else if (uSize <= 64) {
      WyCopyWords<__m128i>(pTo, pFrom, 32);
      WyCopyWords<__m128i>(pTo + uSize - 32, pFrom + uSize - 32, 32);
    } else {
      std::memcpy(pTo, pFrom, uSize);
    }
  } else if (uSize >= 8) {
    WyCopyWords<std::uint64_t>(pTo, pFrom, uSize);
  } else if (uSize >= 4) {
    WyCopyWords<std::uint32_t>(pTo, pFrom, uSize);
  } else if (uSize != 0) {
    pTo[uSize - 1] = pFrom[uSize - 1];
    pTo[uSize / 2] = pFrom[uSize / 2];
    pTo[0] = pFrom[0];
  }
  return pTo + uSize;
}

// The same for a text that is rarely longer than sixteen bytes. Requires: sixteen bytes can be read
// and written, whatever the size.
inline constexpr std::size_t WyLiteralRoom = 16;
inline char* WyCopyLiteral(char* pTo, const char* pFrom, std::size_t uSize) {
  if (uSize > WyLiteralRoom) [[unlikely]]
    return WyCopyText(pTo, pFrom, uSize);
  std::memcpy(pTo, pFrom, WyLiteralRoom);
  return pTo + uSize;
}

#endif
