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
  WyPatternPart aParts[MaxParts];
  const std::size_t uParts =
      CWyMessageMemo::Internals().pfnParse(*m_pBundle, m_pszPattern, aParts, MaxParts);
  m_uSteps = 0;
  m_uArguments = 1;
  m_uMostUses = 0;
  std::for_each(aParts, aParts + uParts, [this](const WyPatternPart& part) { AddPart(part); });
  return uParts != 0;
}

const char* CWyMessageForm::Literal(const WyPatternPart& part) const {
  return part.uStart < m_uTailStart ? m_pszPattern + part.uStart
                                    : m_szTail + (part.uStart - m_uTailStart);
}

// An argument belongs to the step of the text before it, or to one without a text.
void CWyMessageForm::AddPart(const WyPatternPart& part) {
  if (part.uArgument >= NoArgument) {
    m_steps[m_uSteps++] = {Literal(part), part.uLength, NoArgument, 0, 0};
    return;
  }
  if (m_uSteps == 0 || m_steps[m_uSteps - 1].uArgument != NoArgument) {
    m_steps[m_uSteps++] = {static_cast<const char*>(m_szTail), 0, NoArgument, 0, 0};
  }
  Step& step = m_steps[m_uSteps - 1];
  step.uArgument = part.uArgument;
  step.uMissingStart = part.uStart;
  step.uMissingLength = part.uLength;
  m_uArguments = std::max<std::size_t>(m_uArguments, part.uArgument + 1u);
  m_uMostUses = std::max(m_uMostUses, Uses(part.uArgument));
}

unsigned int CWyMessageForm::Uses(unsigned int uArgument) const {
  return static_cast<unsigned int>(std::count_if(
      m_steps, m_steps + m_uSteps, [=](const Step& step) { return step.uArgument == uArgument; }));
}

// No call has the argument of a step that has none: the text that stands for it is empty.
inline WyTextPiece CWyMessageForm::Argument(const Step& step, const WyTextPiece* pArguments,
                                            std::size_t uCount) const {
  if (step.uArgument < uCount) return pArguments[step.uArgument];
  return {m_pszPattern + step.uMissingStart, step.uMissingLength};
}

// Requires: room for all of m_szHead. Most heads have fewer than half of its bytes.
inline char* CWyMessageForm::CopyHead(char* pTo) const {
  constexpr std::size_t Usual = sizeof m_szHead / 2;
  std::memcpy(pTo, m_szHead, Usual);
  if (m_uHeadLength > Usual) std::memcpy(pTo + Usual, m_szHead + Usual, sizeof m_szHead - Usual);
  return pTo + m_uHeadLength;
}

// A line that certainly fits into the message's room is written without measuring its pieces.
bool CWyMessageForm::AppendTo(CWyTextBuffer& text, const WyTextPiece* pArguments,
                              std::size_t uCount, std::size_t uSize) const {
  const std::size_t uMost = m_uPatternLength + m_uMostUses * uSize;
  if (uCount < m_uArguments || uMost > LongestText ||
      !text.HasRoom(sizeof m_szHead + uMost + 1 + WyLiteralRoom)) {
    return AppendGrowing(text, pArguments, uCount);
  }
  char* pEnd = CopyHead(text.End());
  for (const Step *pStep = m_steps, *pLast = m_steps + m_uSteps; pStep != pLast; ++pStep) {
    pEnd = WyCopyLiteral(pEnd, pStep->pText, pStep->uLength);
    if (pStep->uArgument == NoArgument) continue;
    const WyTextPiece& argument = pArguments[pStep->uArgument];
    pEnd = WyCopyText(pEnd, argument.pText, argument.uLength);
  }
  *pEnd++ = '\n';
  text.AppendedUpTo(pEnd);
  return true;
}

// Each text is read once. If one is found not to be plain, the line ends where it ended before.
bool CWyMessageForm::AppendPlain(CWyTextBuffer& text, const WyLogDetail::TextRef* pTexts,
                                 std::size_t uCount, unsigned int uAsTheyAre) const {
  if (uCount == 0) return AppendGrowing(text, nullptr, 0);
  if (uCount < m_uArguments) return false;
  std::size_t uSize = 0;
  for (std::size_t i = 0; i < uCount; ++i) {
    if (pTexts[i].pszText == nullptr) return false;
    uSize += pTexts[i].uSize;
  }
  const std::size_t uMost = m_uPatternLength + m_uMostUses * uSize;
  if (uMost > LongestText) return false;
  char* const pBegin = text.Room(sizeof m_szHead + uMost + 1 + WyLiteralRoom);
  if (pBegin == nullptr) return true;
  char* pEnd = CopyHead(pBegin);
  CWyPlainCopy plain;
  for (const Step *pStep = m_steps, *pLast = m_steps + m_uSteps; pStep != pLast; ++pStep) {
    pEnd = WyCopyLiteral(pEnd, pStep->pText, pStep->uLength);
    if (pStep->uArgument == NoArgument) continue;
    const WyLogDetail::TextRef& argument = pTexts[pStep->uArgument];
    if ((uAsTheyAre >> pStep->uArgument & 1) == 0) {
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
  WyTextPiece aPieces[2 * MaxParts] = {{m_pszPattern, m_uPatternLength}};
  const std::size_t uPieces = uCount == 0 ? 1 : 2 * m_uSteps;
  for (std::size_t i = 0; uCount != 0 && i < m_uSteps; ++i) {
    aPieces[2 * i] = {m_steps[i].pText, m_steps[i].uLength};
    aPieces[2 * i + 1] = Argument(m_steps[i], pArguments, uCount);
  }
  std::size_t uSize = 0;
  for (std::size_t i = 0; i < uPieces; ++i) uSize += aPieces[i].uLength;
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
