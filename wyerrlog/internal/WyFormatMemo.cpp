// A record is written in one pass, into the room that the message has. What does not fit there, or
// is unusual in another way, is left to the general formatter, which starts over.

#include "wyerrlog/internal/WyFormatMemo.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyThreadOwned.h"

using Kind = WyPlainConversion::Kind;

namespace {

constexpr std::size_t LongestText = 4095;  // what the formatters write without an allocation
constexpr std::size_t LongestNumber = 24;  // 64 bits have at most 20 characters, with a sign
constexpr std::size_t UsualRoom = 256;     // bytes that a message has at least before it is written

template <typename Number>
char* WriteNumber(char* pEnd, Number value, std::size_t uWidth) {
  char* const pDigitsEnd = std::to_chars(pEnd, pEnd + LongestNumber, value).ptr;
  const auto uDigits = static_cast<std::size_t>(pDigitsEnd - pEnd);
  if (uDigits >= uWidth) return pDigitsEnd;
  std::memmove(pEnd + uWidth - uDigits, pEnd, uDigits);
  std::memset(pEnd, ' ', uWidth - uDigits);
  return pEnd + uWidth;
}

}  // namespace

// ---- Parsing ------------------------------------------------------------------------------------

void CWyParsedFormat::Parse(const char* pszFormat) {
  m_uParts = 0;
  // Behind the last part: see WyCopyLiteral, and the character after it. UsualRoom is more than all
  // of a WyShortText.
  m_uFixed = WyLiteralRoom + 1;
  std::memcpy(m_szText, pszFormat, std::strlen(pszFormat) + 1);
  const char* psz = m_szText;
  do {
    if (m_uParts == MaxParts || !AddPart(psz)) {
      m_uParts = 0;
      return;
    }
    m_uFixed += MostWithoutText(m_parts[m_uParts - 1]);
  } while (*psz != '\0');
}

// A number is written before it is moved to the end of its width.
std::uint16_t CWyParsedFormat::MostWithoutText(const Part& part) {
  const bool bNumber = part.kind != Kind::None && part.kind != Kind::Text;
  return static_cast<std::uint16_t>(part.uLength + part.uWidth + (bNumber ? LongestNumber : 0));
}

// Takes one part from the format. Returns false if its conversion is not plain. A width for a text
// is left to the general formatter: it is rare, and each text would be compared with it.
bool CWyParsedFormat::AddPart(const char*& psz) {
  const char* const pszPercent = ::strchrnul(psz, '%');
  Part& part = m_parts[m_uParts++];
  part = {static_cast<std::uint8_t>(psz - m_szText), static_cast<std::uint8_t>(pszPercent - psz),
          Kind::None, 0};
  psz = pszPercent;
  if (*psz == '\0') return true;
  if (psz[1] == '%') {
    ++part.uLength;
    psz += 2;
    return true;
  }
  const WyPlainConversion conversion(pszPercent + 1);
  part.kind = conversion.ArgumentKind();
  if (part.kind == Kind::None || conversion.uWidth > 0xFF) return false;
  if (part.kind == Kind::Text && conversion.uWidth != 0) return false;
  part.uWidth = static_cast<std::uint8_t>(conversion.uWidth);
  psz = conversion.pszRest;
  return true;
}

// ---- Writing ------------------------------------------------------------------------------------

// Writes the number of one part behind its literal text.
char* CWyParsedFormat::WriteNumberPart(char* pEnd, const Part& part, va_list args) {
  switch (part.kind) {
    case Kind::Int:
      return WriteNumber(pEnd, va_arg(args, int), part.uWidth);
    case Kind::Long:
      return WriteNumber(pEnd, va_arg(args, std::int64_t), part.uWidth);
    case Kind::UInt:
      return WriteNumber(pEnd, va_arg(args, unsigned int), part.uWidth);
    default:
      return WriteNumber(pEnd, va_arg(args, std::uint64_t), part.uWidth);
  }
}

// Writes all parts. Returns null if the texts have more than `uTexts` bytes. An argument in the
// message's own text is found before it is read; what has been written by then lies behind that
// text.
inline char* CWyParsedFormat::WriteParts(char* pEnd, std::size_t uTexts, const CWyTextBuffer& text,
                                         va_list args) const {
  for (const Part *pPart = m_parts, *pLast = m_parts + m_uParts; pPart != pLast; ++pPart) {
    pEnd = WyCopyLiteral(pEnd, m_szText + pPart->uStart, pPart->uLength);
    if (pPart->kind == Kind::Text) {
      const char* psz = va_arg(args, const char*);
      if (psz == nullptr) psz = "(null)";  // as glibc prints it
      if (text.Owns(psz)) return nullptr;
      const std::size_t uLength = std::strlen(psz);
      if (uLength > uTexts) return nullptr;
      uTexts -= uLength;
      pEnd = WyCopyText(pEnd, psz, uLength);
    } else if (pPart->kind != Kind::None) {
      pEnd = WriteNumberPart(pEnd, *pPart, args);
    }
  }
  return pEnd;
}

[[gnu::always_inline]] inline bool CWyParsedFormat::Write(CWyTextBuffer& text,
                                                          const WyShortText& before, char cAfter,
                                                          va_list args) const {
  if (m_uParts == 0) return false;
  if (!text.HasRoom(UsualRoom) && text.Room(UsualRoom) == nullptr) return false;
  const std::size_t uRoom = std::min(text.RoomLeft(), LongestText);
  const std::size_t uFixed = before.uLength + m_uFixed;
  if (uFixed > uRoom) return false;
  char* const pFirst = text.End();
  std::memcpy(pFirst, before.szText, sizeof before.szText);
  char* const pEnd = WriteParts(pFirst + before.uLength, uRoom - uFixed, text, args);
  if (pEnd == nullptr) {
    *pFirst = '\0';  // the end of the text, as it was
    return false;
  }
  *pEnd = cAfter;
  text.AppendedUpTo(pEnd + (cAfter != '\0' ? 1 : 0));
  return true;
}

// ---- The memo -----------------------------------------------------------------------------------

// By the address: a format is nearly always a literal. The factor is 2^64 divided by the golden
// ratio. Each format has two places, the second beside the first.
inline const CWyParsedFormat* CWyFormatMemo::Find(const char* pszFormat) {
  const auto uAddress = reinterpret_cast<std::uintptr_t>(pszFormat);
  const std::size_t uPlace = uAddress * 0x9E3779B97F4A7C15 >> (64 - PlacesLog2);
  if (m_formats[uPlace].Is(pszFormat)) return &m_formats[uPlace];
  if (m_formats[uPlace ^ 1].Is(pszFormat)) return &m_formats[uPlace ^ 1];
  return Remember(&m_formats[uPlace ^ std::exchange(m_uTurn, m_uTurn ^ 1)], pszFormat);
}

[[gnu::noinline]] const CWyParsedFormat* CWyFormatMemo::Remember(CWyParsedFormat* pPlace,
                                                                 const char* pszFormat) {
  constexpr std::size_t TooLong = CWyParsedFormat::LongestFormat + 1;
  if (::strnlen(pszFormat, TooLong) == TooLong) return nullptr;
  pPlace->Parse(pszFormat);
  return pPlace;
}

// A copy of the arguments is read: the caller starts over with the first one if this is refused.
bool CWyFormatMemo::Write(CWyTextBuffer& text, const WyShortText& before, const char* pszFormat,
                          char cAfter, va_list args) {
  CWyFormatMemo* const pMemo = CWyThreadOwned<CWyFormatMemo>::Get();
  if (pMemo == nullptr) return false;
  const CWyParsedFormat* const pFormat = pMemo->Find(pszFormat);
  if (pFormat == nullptr) return false;
  va_list argsCopy;
  va_copy(argsCopy, args);
  const bool bWritten = pFormat->Write(text, before, cAfter, argsCopy);
  va_end(argsCopy);
  return bWritten;
}
