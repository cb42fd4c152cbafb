// Trace records in their layouts, audit records, and free texts. Values appear unchanged in every
// layout but Json, also if they contain the characters that separate fields.

#include <memory>
#include <new>
#include <string_view>

#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/internal/WyFormatMemo.h"
#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyTraceJson.h"

namespace {

constexpr WyShortText Nothing{"", 0};

// On the stack, so that audit records of usual length allocate nothing.
constexpr int TextSize = 4096;  // bytes of a text of usual length, with its terminator

// A null text counts as an empty one: a record must not fail because of a field.
std::string_view ViewOf(const char* pszText) { return pszText != nullptr ? pszText : ""; }

// A function of its own, so that the other layouts save no registers for it.
[[gnu::noinline]] void AppendElement(CWyTextBuffer& text, std::string_view name,
                                     std::string_view value) {
  text.Append(std::string_view("\t<"), name, '>', value, std::string_view("</"), name,
              std::string_view(">\n"));
}

}  // namespace

// ---- Trace records ------------------------------------------------------------------------------

void CWyErrLogMessage::BeginTraceFormat(int iFormat, bool bUseLocalTime, const char* pszTag) {
  m_nTraceFormat = iFormat;
  m_bUseLocalTime = bUseLocalTime;
  m_pszTraceTag = pszTag;
  m_bFirstField = true;
  if (iFormat < WyTraceLayout::Xml) return;
  if (iFormat == WyTraceLayout::Xml)
    m_pBuffer->Append('<', ViewOf(pszTag), std::string_view(">\n"));
  if (iFormat == WyTraceLayout::Json) WyBeginTraceJson(*m_pBuffer);
}

// In a layout that does not exist a field is nothing, and the record is its newline.
void CWyErrLogMessage::FormatTraceField(const char* pszValue, const char* pszName) {
  const std::string_view value = ViewOf(pszValue);
  if (m_nTraceFormat == WyTraceLayout::Brackets) {
    m_pBuffer->Append('[', value, ']');
  } else if (m_nTraceFormat == WyTraceLayout::Delimited) {
    m_pBuffer->Append(ViewOf(m_bFirstField ? "" : m_pszTraceTag), value);
    m_bFirstField = false;
  } else if (m_nTraceFormat == WyTraceLayout::Xml) {
    AppendElement(*m_pBuffer, ViewOf(pszName), value);
  } else if (m_nTraceFormat == WyTraceLayout::Json) {
    WyAppendTraceJsonField(*m_pBuffer, m_bFirstField, ViewOf(pszName), value, false);
    m_bFirstField = false;
  }
}

// Longer values are cut to the column, in bytes: the columns of all records stay aligned. Two
// blanks separate the columns.
void CWyErrLogMessage::FormatTraceField(const char* pszValue, int iWidth) {
  const auto uWidth = static_cast<std::size_t>(iWidth > 0 ? iWidth : 0);
  const std::string_view value = ViewOf(pszValue).substr(0, uWidth);
  m_pBuffer->AppendColumn(m_bFirstField ? 0 : 2, value, uWidth);
  m_bFirstField = false;
}

void CWyErrLogMessage::EndTraceFormat() {
  if (m_nTraceFormat >= WyTraceLayout::Xml) {
    if (m_nTraceFormat == WyTraceLayout::Json) return WyEndTraceJson(*m_pBuffer);
    if (m_nTraceFormat == WyTraceLayout::Xml)
      m_pBuffer->Append(std::string_view("</"), ViewOf(m_pszTraceTag), '>');
  }
  m_pBuffer->Append('\n');
}

// ---- Audit records and free texts ---------------------------------------------------------------

bool CWyErrLogMessage::FormatAuditMessage(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bFormatted = FormatAuditMessageVA(pszFormat, args);
  va_end(args);
  return bFormatted;
}

// Both ways format into memory of their own, because the message's text may be among the arguments.
// A longer record is formatted twice, hence the copy of the arguments; that it is appended is the
// contract.
bool CWyErrLogMessage::FormatAuditMessageVA(const char* pszFormat, va_list args) {
  if (pszFormat == nullptr || *pszFormat == '\0') return false;
  // A message that has a text already: some of the arguments may lie in it.
  const bool bEmpty = m_pBuffer->size() == 0 && !IsIncomplete();
  if (bEmpty && CWyFormatMemo::Write(*m_pBuffer, Nothing, pszFormat, '\0', args)) return true;
  FormatAudit(pszFormat, args);
  if (IsIncomplete()) throw std::bad_alloc();
  return true;
}

// For formats that are not plain, and for long records. Not inlined: the usual way needs no text on
// the stack.
[[gnu::noinline]] void CWyErrLogMessage::FormatAudit(const char* pszFormat, va_list args) {
  va_list argsCopy;
  va_copy(argsCopy, args);
  char szText[TextSize];
  const int iLength = VSNPRINTFEX(szText, TextSize, pszFormat, argsCopy);
  va_end(argsCopy);
  if (iLength <= TextSize) {
    m_pBuffer->Assign(szText);
  } else {
    const std::unique_ptr<char[]> pszLong(new char[static_cast<std::size_t>(iLength)]);
    VSNPRINTFEX(pszLong.get(), iLength, pszFormat, args);
    m_pBuffer->Append(std::string_view(pszLong.get()));
  }
}

char* CWyErrLogMessage::FormatTraceMessage(const char* pszFormat, ...) {
  if (pszFormat == nullptr || *pszFormat == '\0') return nullptr;
  // Freed by FreeFormattedMessage alone, in this library, whatever allocator the host uses.
  auto* const pszText = new char[TextSize];
  va_list args;
  va_start(args, pszFormat);
  VSNPRINTFEX(pszText, TextSize, pszFormat, args);
  va_end(args);
  return pszText;
}

void CWyErrLogMessage::FreeFormattedMessage(const char* pszText) { delete[] pszText; }
