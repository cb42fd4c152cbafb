#ifndef WYERRLOG_INTERNAL_WYPLAINCONVERSION_H
#define WYERRLOG_INTERNAL_WYPLAINCONVERSION_H

// The conversions of a plain printf format. Any other format is left to vsnprintf(3) as a whole.

#include <cstddef>
#include <cstdint>

// What stands behind a "%": a width, "l" for numbers of 64 bits, and the letter.
struct WyPlainConversion {
  enum class Kind : std::uint8_t { None, Text, Int, Long, UInt, ULong };

  std::size_t uWidth = 0;
  bool bLong = false;
  char cLetter;
  const char* pszRest;

  explicit WyPlainConversion(const char* psz) {
    // Digits are read as long as the width is not above this. What is left of a longer number is no
    // conversion letter, so such a format goes to vsnprintf.
    constexpr std::size_t LargestWidth = 1000;
    if (*psz != '0') {  // which would be a flag
      for (; '0' <= *psz && *psz <= '9' && uWidth <= LargestWidth; ++psz) {
        uWidth = uWidth * 10 + static_cast<std::size_t>(*psz - '0');
      }
    }
    // On x86-64 both long and size_t have 64 bits.
    if (*psz == 'l' || *psz == 'z') {
      bLong = true;
      ++psz;
    }
    cLetter = *psz;
    pszRest = psz + 1;
  }

  // The argument that it takes; None if it is not a plain conversion.
  Kind ArgumentKind() const {
    switch (cLetter) {
      case 's':
        return bLong ? Kind::None : Kind::Text;
      case 'd':
      case 'i':
        return bLong ? Kind::Long : Kind::Int;
      case 'u':
        return bLong ? Kind::ULong : Kind::UInt;
      default:
        return Kind::None;
    }
  }
};

#endif
