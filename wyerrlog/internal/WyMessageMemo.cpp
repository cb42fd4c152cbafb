// A form is learned from one look-up and used until one of its four conditions changes. Everything
// that is unusual is left to the look-up: messages without a translation, long texts, many
// arguments.

#include "wyerrlog/internal/WyMessageMemo.h"

#include <algorithm>
#include <utility>

#include "wyerrlog/internal/WyPlainCopy.h"
#include "wyerrlog/internal/WyTextBuffer.h"

namespace {

constexpr std::size_t LongestText = 4095;  // of a message; a longer one is cut

// All operations are compared: a host that replaces one of them expects it to be called.
const WyXlateInternals1* FindInternals() {
  if (&WyGetXlateInternals1 == nullptr) return nullptr;
  const WyXlateInternals1& internals = WyGetXlateInternals1();
  const bool bAllInPlace = internals.pfnSetResourceDirectory == &CWyXlate::SetResourceDirectory &&
                           internals.pfnGetBundle == &CWyXlate::GetBundle &&
                           internals.pfnFormatMessage == &CWyXlate::FormatMessage &&
                           internals.pfnLookup == &CWyXlateBundle::Lookup &&
                           internals.pfnRelease == &CWyXlateBundle::Release;
  return bAllInPlace ? &internals : nullptr;
}

// Copies the text with its terminator. Returns false if it does not fit.
template <std::size_t Size>
bool CopyName(char (&szTo)[Size], std::string_view text) {
  if (text.size() >= Size) return false;
  szTo[text.copy(szTo, text.size())] = '\0';
  return true;
}

}  // namespace

const WyXlateInternals1* const CWyMessageMemo::s_pInternals = FindInternals();

void CWyMessageForm::Forget() {
  if (CWyXlateBundle* const pBundle = std::exchange(m_pBundle, nullptr)) pBundle->Release();
}

void CWyMessageForm::Learn(const WyMessageOrigin& origin, const char* pszLocale,
                           const WyFoundMessage& found) {
  constexpr unsigned int SkipsAfterRefusal = 16;
  Forget();
  m_origin = origin;
  m_pBundle = found.pBundle;
  if (m_pBundle != nullptr && Store(pszLocale, found)) return;
  Forget();
  m_uSkips = SkipsAfterRefusal;
}

bool CWyMessageForm::Store(const char* pszLocale, const WyFoundMessage& found) {
  const std::string_view key(found.pszKey);
  m_uHeadLength = found.severity.size() + key.size() + 3;
  if (m_uHeadLength > sizeof m_szHead || !CopyName(m_szLocale, pszLocale)) return false;
  char* pEnd = m_szHead + found.severity.copy(m_szHead, found.severity.size());
  *pEnd++ = '[';
  pEnd += key.copy(pEnd, key.size());
  *pEnd++ = ']';
  *pEnd = ' ';
  m_pszPattern = found.pszPattern;
  m_uPatternLength = std::strlen(m_pszPattern);
  m_uTailStart = m_uPatternLength - std::min(m_uPatternLength, WyLiteralRoom);
  std::memcpy(m_szTail, m_pszPattern + m_uTailStart, m_uPatternLength - m_uTailStart);
  m_uParts = CWyMessageMemo::Internals().pfnParse(*m_pBundle, m_pszPattern, m_parts, MaxParts);
  m_uMostUses = MostUses();
  return m_uParts != 0;
}

// The number of times that the pattern has the argument that it has most often.
unsigned int CWyMessageForm::MostUses() const {
  unsigned int uMost = 0;
  for (std::size_t i = 0; i < m_uParts; ++i) {
    const auto uUses = std::count_if(m_parts, m_parts + m_uParts, [&](const WyPatternPart& part) {
      return part.uArgument == m_parts[i].uArgument;
    });
    uMost = std::max(uMost, static_cast<unsigned int>(uUses));
  }
  return uMost;
}

inline const char* CWyMessageForm::Literal(const WyPatternPart& part) const {
  return part.uStart < m_uTailStart ? m_pszPattern + part.uStart
                                    : m_szTail + (part.uStart - m_uTailStart);
}

inline WyTextPiece CWyMessageForm::Piece(const WyPatternPart& part, const WyTextPiece* pArguments,
                                         std::size_t uCount) const {
  if (part.uArgument < uCount) return pArguments[part.uArgument];
  return {m_pszPattern + part.uStart, part.uLength};
}

// A line that certainly fits into the message's room is written without measuring its pieces.
bool CWyMessageForm::AppendTo(CWyTextBuffer& text, const WyTextPiece* pArguments,
                              std::size_t uCount, std::size_t uSize) const {
  const std::size_t uMost = m_uPatternLength + m_uMostUses * uSize;
  if (uCount == 0 || uMost > LongestText ||
      !text.HasRoom(m_uHeadLength + uMost + 1 + WyLiteralRoom)) {
    return AppendGrowing(text, pArguments, uCount);
  }
  char* pEnd = WyCopyText(text.End(), m_szHead, m_uHeadLength);
  for (const WyPatternPart *pPart = m_parts, *pLast = m_parts + m_uParts; pPart != pLast; ++pPart) {
    if (pPart->uArgument < uCount) {
      const WyTextPiece& argument = pArguments[pPart->uArgument];
      pEnd = WyCopyText(pEnd, argument.pText, argument.uLength);
    } else {
      pEnd = WyCopyLiteral(pEnd, Literal(*pPart), pPart->uLength);
    }
  }
  *pEnd++ = '\n';
  text.AppendedUpTo(pEnd);
  return true;
}

// Each text is read once. If one is found not to be plain, the line ends where it ended before.
bool CWyMessageForm::AppendPlain(CWyTextBuffer& text, const WyLogDetail::TextRef* pTexts,
                                 std::size_t uCount, unsigned int uAsTheyAre) const {
  if (uCount == 0) return AppendGrowing(text, nullptr, 0);
  std::size_t uSize = 0;
  for (std::size_t i = 0; i < uCount; ++i) {
    if (pTexts[i].pszText == nullptr) return false;
    uSize += pTexts[i].uSize;
  }
  const std::size_t uMost = m_uPatternLength + m_uMostUses * uSize;
  if (uMost > LongestText) return false;
  char* const pBegin = text.Room(m_uHeadLength + uMost + 1 + WyLiteralRoom);
  if (pBegin == nullptr) return true;
  char* pEnd = WyCopyText(pBegin, m_szHead, m_uHeadLength);
  CWyPlainCopy plain;
  for (const WyPatternPart *pPart = m_parts, *pLast = m_parts + m_uParts; pPart != pLast; ++pPart) {
    if (pPart->uArgument >= uCount) {
      pEnd = WyCopyLiteral(pEnd, Literal(*pPart), pPart->uLength);
    } else if (const WyLogDetail::TextRef& argument = pTexts[pPart->uArgument];
               (uAsTheyAre >> pPart->uArgument & 1) == 0) {
      pEnd = plain.Copy(pEnd, argument.pszText, argument.uSize);
    } else {
      pEnd = WyCopyText(pEnd, argument.pszText, argument.uSize);
    }
  }
  if (!plain.IsPlain()) {
    *pBegin = '\0';
    return false;
  }
  *pEnd++ = '\n';
  text.AppendedUpTo(pEnd);
  return true;
}

// Without arguments the pattern is copied as it is: quotes and braces have a meaning only if there
// is something to insert.
[[gnu::noinline]] bool CWyMessageForm::AppendGrowing(CWyTextBuffer& text,
                                                     const WyTextPiece* pArguments,
                                                     std::size_t uCount) const {
  WyTextPiece aPieces[MaxParts] = {{m_pszPattern, m_uPatternLength}};
  const std::size_t uPieces = uCount == 0 ? 1 : m_uParts;
  std::size_t uSize = 0;
  for (std::size_t i = 0; i < uPieces; ++i) {
    if (uCount != 0) aPieces[i] = Piece(m_parts[i], pArguments, uCount);
    uSize += aPieces[i].uLength;
  }
  if (uSize > LongestText) return false;
  char* pEnd = text.Room(m_uHeadLength + uSize + 1);
  if (pEnd == nullptr) return true;
  pEnd = WyCopyText(pEnd, m_szHead, m_uHeadLength);
  for (std::size_t i = 0; i < uPieces; ++i) {
    pEnd = WyCopyText(pEnd, aPieces[i].pText, aPieces[i].uLength);
  }
  *pEnd++ = '\n';
  text.AppendedUpTo(pEnd);
  return true;
}

// Two messages that share both places take turns.
void CWyMessageMemo::Learn(const WyMessageOrigin& origin, const char* pszLocale,
                           const WyFoundMessage& found) {
  const std::size_t uPlace = PlaceOf(origin.uId);
  if (m_forms[uPlace].MayLearn(origin) && m_forms[uPlace ^ 1].MayLearn(origin)) {
    m_forms[uPlace ^ std::exchange(m_uTurn, m_uTurn ^ 1)].Learn(origin, pszLocale, found);
  } else if (found.pBundle != nullptr) {
    found.pBundle->Release();
  }
}
