// Nearly every format that is logged is plain: its conversions are texts ("%s", "%20s"), decimal
// integers ("%d", "%5lu", "%zu") and "%%". Such a format is written here, at a fifth of what
// vsnprintf(3) takes; any other goes to vsnprintf as a whole, so that the result is always the same
// as that of vsnprintf.

#include "wyerrlog/internal/WyPlainFormat.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "wyerrlog/internal/WyPlainConversion.h"
#include "wyerrlog/internal/WyTextPieces.h"

namespace {

// The format is not plain, or its text is longer than an int can count.
constexpr int NotPlain = INT_MIN;

// Writes what fits and counts everything, as vsnprintf does: the caller learns from the count how
// large a buffer the text needs.
class CWyBoundedText {
 public:
  CWyBoundedText(char* pszBuffer, std::size_t uSize)
      : m_psz(pszBuffer), m_uRoom(uSize > 0 ? uSize - 1 : 0), m_bTerminated(uSize > 0) {}

  void Append(std::string_view text) {
    m_uLength += text.size();
    const std::size_t uCopied = std::min(text.size(), m_uRoom);
    m_psz = WyCopyText(m_psz, text.data(), uCopied);
    m_uRoom -= uCopied;
  }

  void AppendAlignedRight(std::string_view text, std::size_t uWidth) {
    if (text.size() < uWidth) AppendBlanks(uWidth - text.size());
    Append(text);
  }

  // vsnprintf fails for a text longer than INT_MAX; it is called to say so itself.
  int Terminate() {
    if (m_bTerminated) *m_psz = '\0';
    return m_uLength <= INT_MAX ? static_cast<int>(m_uLength) : NotPlain;
  }

 private:
  void AppendBlanks(std::size_t uCount) {
    m_uLength += uCount;
    const std::size_t uWritten = std::min(uCount, m_uRoom);
    m_psz = std::fill_n(m_psz, uWritten, ' ');
    m_uRoom -= uWritten;
  }

  char* m_psz;
  std::size_t m_uRoom;
  const bool m_bTerminated;
  std::size_t m_uLength = 0;
};

// 24 characters: 64 bits have at most 20, with a sign.
template <typename Number>
void AppendNumber(CWyBoundedText& text, Number value, std::size_t uWidth) {
  char szDigits[24];
  char* const pEnd = std::to_chars(szDigits, szDigits + sizeof szDigits, value).ptr;
  const auto uDigits = static_cast<std::size_t>(pEnd - szDigits);
  // With -fsanitize=thread g++ takes a copy of more bytes for possible, and warns of it.
  if (uDigits > sizeof szDigits) __builtin_unreachable();
  text.AppendAlignedRight({szDigits, uDigits}, uWidth);
}

// A null text is printed as glibc's vsnprintf prints it.
void AppendText(CWyBoundedText& text, const char* pszText, std::size_t uWidth) {
  text.AppendAlignedRight(pszText != nullptr ? pszText : "(null)", uWidth);
}

// Returns false, without taking an argument, if the conversion is not a plain one. On x86-64 a
// va_list is an array and passed by its address, so the caller goes on with the next argument.
bool AppendArgument(CWyBoundedText& text, const WyPlainConversion& conversion, va_list args) {
  using Kind = WyPlainConversion::Kind;
  switch (conversion.ArgumentKind()) {
    case Kind::Text:
      AppendText(text, va_arg(args, const char*), conversion.uWidth);
      return true;
    case Kind::Int:
      AppendNumber(text, va_arg(args, int), conversion.uWidth);
      return true;
    case Kind::Long:
      AppendNumber(text, va_arg(args, std::int64_t), conversion.uWidth);
      return true;
    case Kind::UInt:
      AppendNumber(text, va_arg(args, unsigned int), conversion.uWidth);
      return true;
    case Kind::ULong:
      AppendNumber(text, va_arg(args, std::uint64_t), conversion.uWidth);
      return true;
    case Kind::None:
      break;
  }
  return false;
}

// As vsnprintf, or NotPlain; the buffer may have been written to by then. The two most common
// conversions are tested first and need no parsing.
int FormatPlainly(char* pszBuffer, std::size_t uSize, const char* pszFormat, va_list args) {
  CWyBoundedText text(pszBuffer, uSize);
  while (true) {
    const char* const pszPercent = strchrnul(pszFormat, '%');
    text.Append({pszFormat, static_cast<std::size_t>(pszPercent - pszFormat)});
    if (*pszPercent == '\0') return text.Terminate();
    if (pszPercent[1] == 's' || pszPercent[1] == '%') {
      const char* const psz = pszPercent[1] == 's' ? va_arg(args, const char*) : "%";
      text.Append(psz != nullptr ? psz : "(null)");
      pszFormat = pszPercent + 2;
      continue;
    }
    const WyPlainConversion conversion(pszPercent + 1);
    if (!AppendArgument(text, conversion, args)) return NotPlain;
    pszFormat = conversion.pszRest;
  }
}

}  // namespace

int WyFormatBounded(char* pszBuffer, int iSize, const char* pszFormat, va_list args) {
  const auto uSize = static_cast<std::size_t>(std::max(iSize, 0));
  // A copy is read, because vsnprintf may have to start over with the first argument.
  va_list argsCopy;
  va_copy(argsCopy, args);
  int iLength = FormatPlainly(pszBuffer, uSize, pszFormat, argsCopy);
  va_end(argsCopy);
  if (iLength == NotPlain) iLength = vsnprintf(pszBuffer, uSize, pszFormat, args);
  if (iLength < 0) {
    if (uSize > 0) *pszBuffer = '\0';
    return iLength;
  }
  // Cut texts return the size that they need, with the terminator.
  return iLength < iSize ? iLength : iLength + 1;
}
