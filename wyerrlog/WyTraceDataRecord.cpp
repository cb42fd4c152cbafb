// The record side of CWyTraceData: from values to a message, and emptying. The lines of a header
// are assembled from the same fields in the same order, so columns and titles always agree.

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <string>

#include "wyerrlog/WyTraceData.h"
#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyTextPieces.h"
#include "wyerrlog/internal/WyTraceJson.h"

namespace {

// The line under a column's title: as long as the title or, in the layout FixedWidth, the column.
std::string Underline(const WyTraceDataFieldInfo& field, int nLayout, int iMode) {
  const size_t uLength = nLayout == WyTraceLayout::FixedWidth
                             ? field.uWidth
                             : std::char_traits<char>::length(field.pszName);
  return std::string(uLength, iMode == WyTraceLine::Dashes ? '-' : '=');
}

// The two forms of FormatTraceField: one layout needs the width of a field, the others its name.
void AppendText(CWyErrLogMessage& msg, const WyTraceDataFieldInfo& field, int nLayout,
                const char* pszText) {
  if (nLayout == WyTraceLayout::FixedWidth) {
    msg.FormatTraceField(pszText, static_cast<int>(field.uWidth));
  } else {
    msg.FormatTraceField(pszText, field.pszName);
  }
}

// A value that the host has replaced, or whose end it has moved, is measured.
WyTextPiece ValueOf(const WyTraceDataFieldInfo& field) {
  const bool bOwn = field.pszValue == field.szValue || field.bValueAllocated;
  if (bOwn && field.pszValue[field.uLength] == '\0') return {field.pszValue, field.uLength};
  const char* const pszValue = field.pszValue != nullptr ? field.pszValue : "";
  return {pszValue, std::strlen(pszValue)};
}

void AppendBrackets(CWyTextBuffer& text, std::span<const WyTextPiece> values, std::size_t uSize) {
  char* p = text.Room(uSize + 2 * values.size());
  if (p == nullptr) return;
  for (const WyTextPiece& value : values) {
    *p++ = '[';
    p = WyCopyText(p, value.pText, value.uLength);
    *p++ = ']';
  }
  text.AppendedUpTo(p);
}

void AppendDelimited(CWyTextBuffer& text, std::span<const WyTextPiece> values, std::size_t uSize,
                     std::string_view delimiter) {
  char* p = text.Room(uSize + values.size() * delimiter.size());
  if (p == nullptr) return;
  p = WyCopyText(p, values[0].pText, values[0].uLength);
  for (const WyTextPiece& value : values.subspan(1)) {
    if (delimiter.size() == 1) {
      *p++ = delimiter[0];
    } else {
      p = WyCopyText(p, delimiter.data(), delimiter.size());
    }
    p = WyCopyText(p, value.pText, value.uLength);
  }
  text.AppendedUpTo(p);
}

}  // namespace

// Xml and Json have no header: each value is named after its field.
bool CWyTraceData::AssembleTraceMessage(CWyErrLogMessage* pMsg, int iMode) {
  if (pMsg == nullptr) return false;
  if (m_nTraceFormat >= WyTraceLayout::Xml) {
    if (m_nTraceFormat == WyTraceLayout::Json) return AssembleJson(*pMsg, iMode);
    if (m_nTraceFormat == WyTraceLayout::Xml && iMode != WyTraceLine::Values) return false;
  }

  const char* pszTag = nullptr;
  if (m_nTraceFormat == WyTraceLayout::Delimited) pszTag = m_pszDelimiter;
  if (m_nTraceFormat == WyTraceLayout::Xml) pszTag = "TraceMessage";
  try {
    // Also for a layout that does not exist: the message keeps the former layout otherwise.
    pMsg->BeginTraceFormat(m_nTraceFormat, m_bUseLocalTime, pszTag);
    if (iMode == WyTraceLine::Values) {
      AppendValues(*pMsg);
    } else {
      AppendFields(*pMsg, iMode);
    }
    pMsg->EndTraceFormat();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void CWyTraceData::AppendFields(CWyErrLogMessage& msg, int iMode) const {
  // An entry is a field number plus 1, in the order of the "data" line; 0 is the end.
  for (const unsigned int uEntry : m_auFieldOrder) {
    if (uEntry == 0) break;
    const WyTraceDataFieldInfo& field = m_fields[uEntry - 1];
    if (iMode == WyTraceLine::Names) {
      AppendText(msg, field, m_nTraceFormat, field.pszName);
    } else {
      AppendText(msg, field, m_nTraceFormat, Underline(field, m_nTraceFormat, iMode).c_str());
    }
  }
}

// FormatTraceField for all fields in one pass: their lengths are known, and the message makes room
// once.
void CWyTraceData::AppendValues(CWyErrLogMessage& msg) const {
  if (m_pShared == nullptr || m_pShared->shown.empty()) return;
  WyTextPiece values[FieldCount];
  WyTextPiece* pEnd = values;
  std::size_t uSize = 0;
  for (const Shared::ShownField& shown : m_pShared->shown) {
    *pEnd = ValueOf(m_fields[shown.uId]);
    uSize += pEnd->uLength;
    ++pEnd;
  }
  CWyTextBuffer& text = *msg.m_pBuffer;
  switch (m_nTraceFormat) {
    case WyTraceLayout::Brackets:
      return AppendBrackets(text, {values, pEnd}, uSize);
    case WyTraceLayout::Delimited:
      msg.m_bFirstField = false;
      return AppendDelimited(text, {values, pEnd}, uSize,
                             m_pszDelimiter != nullptr ? m_pszDelimiter : "");
    case WyTraceLayout::FixedWidth:
      msg.m_bFirstField = false;
      return AppendColumns(text, values);
    case WyTraceLayout::Xml:
      return AppendElements(text, values, uSize);
    default:
      return;
  }
}

// Longer values are cut to the column, in bytes; two blanks separate the columns.
void CWyTraceData::AppendColumns(CWyTextBuffer& text, const WyTextPiece* pValues) const {
  char* const pBegin = text.Room(m_pShared->uColumnsSize);
  if (pBegin == nullptr) return;
  std::memset(pBegin, ' ', m_pShared->uColumnsSize);
  char* p = pBegin;
  for (const Shared::ShownField& shown : m_pShared->shown) {
    WyCopyText(p, pValues->pText, std::min<std::size_t>(pValues->uLength, shown.uWidth));
    ++pValues;
    p += shown.uWidth + ColumnGap;
  }
  text.AppendedUpTo(pBegin + m_pShared->uColumnsSize);
}

void CWyTraceData::AppendElements(CWyTextBuffer& text, const WyTextPiece* pValues,
                                  std::size_t uSize) const {
  char* p = text.Room(uSize + m_pShared->uTagsSize);
  if (p == nullptr) return;
  for (const Shared::ShownField& shown : m_pShared->shown) {
    p = WyCopyText(p, shown.strBefore.data(), shown.strBefore.size());
    p = WyCopyText(p, pValues->pText, pValues->uLength);
    ++pValues;
  }
  p = WyCopyText(p, m_pShared->strEnd.data(), m_pShared->strEnd.size());
  text.AppendedUpTo(p);
}

// A field that was not set is left out: its type is not known.
bool CWyTraceData::AssembleJson(CWyErrLogMessage& msg, int iMode) const {
  if (iMode != WyTraceLine::Values) return false;
  CWyTextBuffer& text = *msg.m_pBuffer;
  bool bFirst = true;
  WyBeginTraceJson(text);
  for (const unsigned int uEntry : m_auFieldOrder) {
    if (uEntry == 0) break;
    const WyTraceDataFieldInfo& field = m_fields[uEntry - 1];
    if (!HasBit(m_auSet, field.uId)) continue;
    WyAppendTraceJsonField(text, bFirst, field.pszName, field.pszValue,
                           HasBit(m_auNumber, field.uId));
    bFirst = false;
  }
  WyEndTraceJson(text);
  return !msg.IsIncomplete();
}

bool CWyTraceData::Format() { return AssembleTraceMessage(&m_message, WyTraceLine::Values); }

// A record keeps its message's memory for the thread's next record, but not that of a huge one.
// Without a configuration it has no values.
bool CWyTraceData::CleanUpData() {
  if (!m_bValid) return true;
  ClearValues();
  if (m_pszLongTraceText != nullptr) ReplaceLongTraceText(nullptr);
  if (m_message.m_pBuffer->size() != 0 || m_message.m_pBuffer->IsIncomplete())
    m_message.CleanUpAndShrink();
  return true;
}

// The same under its second published name.
bool CWyTraceData::LeaveNoBody() { return CleanUpData(); }
