// The record side of CWyTraceData: from values to a message, and emptying.

#include <new>
#include <string>

#include "wyerrlog/WyTraceData.h"

namespace {

// The line under a column's title.
std::string Underline(const WyTraceDataFieldInfo& field, int nLayout, int iMode) {
  const size_t uLength = nLayout == WyTraceLayout::FixedWidth
                             ? field.uWidth
                             : std::char_traits<char>::length(field.pszName);
  return std::string(uLength, iMode == WyTraceLine::Dashes ? '-' : '=');
}

void AppendText(CWyErrLogMessage& msg, const WyTraceDataFieldInfo& field, int nLayout,
                const char* pszText) {
  if (nLayout == WyTraceLayout::FixedWidth) {
    msg.FormatTraceField(pszText, static_cast<int>(field.uWidth));
  } else {
    msg.FormatTraceField(pszText, field.pszName);
  }
}

}  // namespace

bool CWyTraceData::AssembleTraceMessage(CWyErrLogMessage* pMsg, int iMode) {
  if (pMsg == nullptr || (m_nTraceFormat == WyTraceLayout::Xml && iMode != WyTraceLine::Values))
    return false;

  const char* pszTag = nullptr;
  if (m_nTraceFormat == WyTraceLayout::Delimited) pszTag = m_pszDelimiter;
  if (m_nTraceFormat == WyTraceLayout::Xml) pszTag = "TraceMessage";
  try {
    // Also for a layout that does not exist: the message must forget the layout it had before.
    pMsg->BeginTraceFormat(m_nTraceFormat, m_bUseLocalTime, pszTag);
    AppendFields(*pMsg, iMode);
    pMsg->EndTraceFormat();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void CWyTraceData::AppendFields(CWyErrLogMessage& msg, int iMode) const {
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

bool CWyTraceData::Format() { return AssembleTraceMessage(&m_message, WyTraceLine::Values); }

bool CWyTraceData::CleanUpData() {
  if (!m_bValid) return true;
  ClearValues();
  ReplaceLongTraceText(nullptr);
  m_message.CleanUpAndShrink();
  return true;
}

bool CWyTraceData::LeaveNoBody() { return CleanUpData(); }
