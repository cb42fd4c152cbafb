// The record side of CWyTraceData: from values to a message, and emptying.

#include <new>
#include <string>

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyTraceData.h"

namespace {

enum Layout { FixedWidth = 1, Delimited = 2, Xml = 3 };

enum Mode { Values = 0, Names = 1, Dashes = 2 };

// The line under a column's title.
std::string Underline(const WyTraceDataFieldInfo& field, int nLayout, int iMode) {
  const size_t uLength =
      nLayout == FixedWidth ? field.uWidth : std::char_traits<char>::length(field.pszName);
  return std::string(uLength, iMode == Dashes ? '-' : '=');
}

void AppendText(CWyErrLogMessage& msg, const WyTraceDataFieldInfo& field, int nLayout,
                const char* pszText) {
  if (nLayout == FixedWidth) {
    msg.FormatTraceField(pszText, static_cast<int>(field.uWidth));
  } else {
    msg.FormatTraceField(pszText, field.pszName);
  }
}

}  // namespace

bool CWyTraceData::AssembleTraceMessage(CWyErrLogMessage* pMsg, int iMode) {
  if (pMsg == nullptr || (m_nTraceFormat == Xml && iMode != Values)) return false;

  const char* pszTag = nullptr;
  if (m_nTraceFormat == Delimited) pszTag = m_pszDelimiter;
  if (m_nTraceFormat == Xml) pszTag = "TraceMessage";
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
    if (iMode == Values) {
      AppendText(msg, field, m_nTraceFormat, field.pszValue);
    } else if (iMode == Names) {
      AppendText(msg, field, m_nTraceFormat, field.pszName);
    } else {
      AppendText(msg, field, m_nTraceFormat, Underline(field, m_nTraceFormat, iMode).c_str());
    }
  }
}

bool CWyTraceData::Format() { return AssembleTraceMessage(&m_message, Values); }

bool CWyTraceData::Log() { return GetLogger()->LogTraceMsg(m_message); }

CWyLogger* CWyTraceData::GetLogger() const {
  return m_pLogger != nullptr ? m_pLogger : theLogger();
}

bool CWyTraceData::CleanUpData() {
  if (!m_bValid) return true;
  ClearValues();
  ReplaceLongTraceText(nullptr);
  m_message.CleanUpAndShrink();
  return true;
}

bool CWyTraceData::LeaveNoBody() { return CleanUpData(); }
