// The record side of CWyTraceData: from values to a message, and emptying. The lines of a header
// are assembled from the same fields in the same order, so columns and titles always agree.

#include <algorithm>
#include <cstring>
#include <new>
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
[[gnu::noinline]] WyTextPiece MeasuredValueOf(const WyTraceDataFieldInfo& field) {
  const char* const pszValue = field.pszValue != nullptr ? field.pszValue : "";
  return {pszValue, std::strlen(pszValue)};
}

inline WyTextPiece ValueOf(const WyTraceDataFieldInfo& field) {
  const bool bOwn = field.pszValue == field.szValue || field.bValueAllocated;
  if (!bOwn || field.pszValue[field.uLength] != '\0') [[unlikely]]
    return MeasuredValueOf(field);
  return {field.pszValue, field.uLength};
}

// A short text that a configuration has: sixteen bytes are copied whatever its size, which any
// std::string has.
inline char* CopyFixed(char* pTo, const std::string& strText) {
  std::memcpy(pTo, strText.data(), 16);
  if (strText.size() > 16) return WyCopyText(pTo, strText.data(), strText.size());
  return pTo + strText.size();
}

}  // namespace

// Xml and Json have no header: each value is named after its field.
bool CWyTraceData::AssembleTraceMessage(CWyErrLogMessage* pMsg, int iMode) {
  if (pMsg == nullptr) return false;
  if (iMode == WyTraceLine::Values && m_pShared != nullptr && !m_pShared->strEnd.empty()) {
    // For fields that the host appends itself.
    pMsg->SetTraceLayout(m_nTraceFormat, m_bUseLocalTime, TraceTag());
    AppendValues(*pMsg->m_pBuffer);
    return true;
  }
  if (m_nTraceFormat >= WyTraceLayout::Xml) {
    if (m_nTraceFormat == WyTraceLayout::Json) return AssembleJson(*pMsg, iMode);
    if (m_nTraceFormat == WyTraceLayout::Xml && iMode != WyTraceLine::Values) return false;
  }

  try {
    // Also for a layout that does not exist: the message keeps the former layout otherwise.
    pMsg->BeginTraceFormat(m_nTraceFormat, m_bUseLocalTime, TraceTag());
    if (iMode == WyTraceLine::Values) {
      AppendColumns(*pMsg);
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

// In one pass, if the message has room for the record, as it nearly always has. Otherwise it makes
// room for all of it.
void CWyTraceData::AppendValues(CWyTextBuffer& text) const {
  constexpr std::size_t Spare = 16;  // CopyFixed may write so much behind the end
  const std::size_t uTextsSize = m_pShared->uTextsSize + Spare;
  char* p = text.Room(uTextsSize);
  if (p == nullptr) return;
  char* pEnd = WriteValues(p, p + text.RoomLeft() - uTextsSize);
  if (pEnd == nullptr) {
    const std::size_t uSize = SizeOfValues() + m_pShared->uTextsSize;
    *p = '\0';
    p = text.Room(uSize + uTextsSize);
    if (p == nullptr) return;
    pEnd = WriteValues(p, p + uSize);
  }
  text.AppendedUpTo(pEnd);
}

// Returns the end; null if a value would end behind `pLimit`, behind which all fixed texts have
// room.
char* CWyTraceData::WriteValues(char* p, const char* pLimit) const {
  for (const Shared::ShownField& shown : m_pShared->shown) {
    p = CopyFixed(p, shown.strBefore);
    const WyTextPiece value = ValueOf(m_fields[shown.uId]);
    if (static_cast<std::ptrdiff_t>(value.uLength) > pLimit - p) return nullptr;
    p = WyCopyText(p, value.pText, value.uLength);
  }
  return CopyFixed(p, m_pShared->strEnd);
}

[[gnu::noinline]] std::size_t CWyTraceData::SizeOfValues() const {
  std::size_t uSize = 0;
  for (const Shared::ShownField& shown : m_pShared->shown) {
    uSize += ValueOf(m_fields[shown.uId]).uLength;
  }
  return uSize;
}

// The layout FixedWidth; in one that does not exist there are no values. Longer values are cut to
// the column, in bytes; two blanks separate the columns.
void CWyTraceData::AppendColumns(CWyErrLogMessage& msg) const {
  const bool bColumns = m_nTraceFormat == WyTraceLayout::FixedWidth;
  if (!bColumns || m_pShared == nullptr || m_pShared->shown.empty()) return;
  msg.m_bFirstField = false;
  char* const pBegin = msg.m_pBuffer->Room(m_pShared->uColumnsSize);
  if (pBegin == nullptr) return;
  std::memset(pBegin, ' ', m_pShared->uColumnsSize);
  char* p = pBegin;
  for (const Shared::ShownField& shown : m_pShared->shown) {
    const WyTextPiece value = ValueOf(m_fields[shown.uId]);
    WyCopyText(p, value.pText, std::min<std::size_t>(value.uLength, shown.uWidth));
    p += shown.uWidth + ColumnGap;
  }
  msg.m_pBuffer->AppendedUpTo(pBegin + m_pShared->uColumnsSize);
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
