// The record side of CWyTraceData: from values to a message, and emptying. The lines of a header
// are assembled from the same fields in the same order, so columns and titles always agree.

#include <new>
#include <string>

#include "wyerrlog/WyTraceData.h"
#include "wyerrlog/internal/WyTextBuffer.h"
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
    AppendFields(*pMsg, iMode);
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
    if (iMode == WyTraceLine::Values) {
      AppendText(msg, field, m_nTraceFormat, field.pszValue);
    } else if (iMode == WyTraceLine::Names) {
      AppendText(msg, field, m_nTraceFormat, field.pszName);
    } else {
      AppendText(msg, field, m_nTraceFormat, Underline(field, m_nTraceFormat, iMode).c_str());
    }
  }
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
  ReplaceLongTraceText(nullptr);
  m_message.CleanUpAndShrink();
  return true;
}

// The same under its second published name.
bool CWyTraceData::LeaveNoBody() { return CleanUpData(); }
