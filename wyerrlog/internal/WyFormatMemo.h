#ifndef WYERRLOG_INTERNAL_WYFORMATMEMO_H
#define WYERRLOG_INTERNAL_WYFORMATMEMO_H

// What a thread remembers of the plain printf formats that it used last: their literal texts and
// conversions, so that a record is written straight into its message without reading the format
// again. Formats are remembered by their text, so a buffer whose text has changed is another
// format.

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "wyerrlog/internal/WyPlainConversion.h"
#include "wyerrlog/internal/WyTextPieces.h"

class CWyTextBuffer;

// A text that is copied as a whole: a fixed number of bytes needs no call, and no comparison.
struct WyShortText {
  char szText[2 * WyLiteralRoom];
  std::size_t uLength;

  std::string_view View() const { return {szText, uLength}; }
};

// One plain format in parsed form, or the text of one that is not plain.
class CWyParsedFormat {
 public:
  bool Is(const char* pszFormat) const { return std::strcmp(m_szText, pszFormat) == 0; }
  void Parse(const char* pszFormat);

  // Appends `before`, the formatted text, and `cAfter` unless it is zero. Returns false, and
  // changes nothing, if the format is not plain, if there is no room in the message or the text may
  // have more than 4095 bytes, and if an argument lies in the message's own text; some of `args`
  // have been taken then.
  bool Write(CWyTextBuffer& text, const WyShortText& before, char cAfter, va_list args) const;

  static constexpr std::size_t LongestFormat = 187;  // bytes

 private:
  static constexpr std::size_t MaxParts = 12;

  // A literal text, and the conversion behind it; of the kind None at the format's end, and at a
  // "%%", whose first "%" is the end of the literal text.
  struct Part {
    std::uint8_t uStart;
    std::uint8_t uLength;
    WyPlainConversion::Kind kind;
    std::uint8_t uWidth;
  };

  bool AddPart(const char*& psz);
  static std::uint16_t MostWithoutText(const Part& part);
  static char* WriteNumberPart(char* pEnd, const Part& part, va_list args);
  char* WriteParts(char* pEnd, std::size_t uTexts, const CWyTextBuffer& text, va_list args) const;

  std::uint8_t m_uParts = 0;   // 0: not plain
  std::uint16_t m_uFixed = 0;  // the room for everything but the texts of "%s", in bytes
  Part m_parts[MaxParts];
  char m_szText[LongestFormat + 1 + WyLiteralRoom] = "";  // a literal may begin anywhere in it
};

// The formats that one thread used last, in places by the addresses of their texts. Used through
// CWyThreadOwned.
class CWyFormatMemo {
 public:
  // Writes a record as CWyParsedFormat::Write does. Returns false also for a format that is too
  // long to be remembered.
  static bool Write(CWyTextBuffer& text, const WyShortText& before, const char* pszFormat,
                    char cAfter, va_list args);

 private:
  const CWyParsedFormat* Find(const char* pszFormat);
  const CWyParsedFormat* Remember(CWyParsedFormat* pPlace, const char* pszFormat);

  static constexpr int PlacesLog2 = 4;

  unsigned int m_uTurn = 0;  // which of its two places the next format takes
  CWyParsedFormat m_formats[1 << PlacesLog2];
};

#endif
