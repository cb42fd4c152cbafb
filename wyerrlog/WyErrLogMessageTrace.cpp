#include <memory>
#include <string>
#include <string_view>

#include "wyerrlog/WyErrLogMessage.h"

namespace {

constexpr int TextSize = 4096;  // bytes of a text of usual length, with its terminator

enum Layout { Bracketed = 0, FixedWidth = 1, Delimited = 2, Xml = 3 };

std::string_view ViewOf(const char* pszText) { return pszText != nullptr ? pszText : ""; }

}  // namespace

// ---- Trace records ------------------------------------------------------------------------------

void CWyErrLogMessage::BeginTraceFormat(int iFormat, bool bUseLocalTime, const char* pszTag) {
  m_nTraceFormat = iFormat;
  m_bUseLocalTime = bUseLocalTime;
  m_pszTraceTag = pszTag;
  m_bFirstField = true;
  if (iFormat == Xml) m_pBuffer->append("<").append(ViewOf(pszTag)).append(">\n");
}

void CWyErrLogMessage::FormatTraceField(const char* pszValue, const char* pszName) {
  const std::string_view value = ViewOf(pszValue);
  switch (m_nTraceFormat) {
    case Bracketed:
      m_pBuffer->append("[").append(value).append("]");
      break;
    case Delimited:
      if (!m_bFirstField) m_pBuffer->append(ViewOf(m_pszTraceTag));
      m_bFirstField = false;
      m_pBuffer->append(value);
      break;
    case Xml: {
      const std::string_view name = ViewOf(pszName);
      m_pBuffer->append("\t<").append(name).append(">").append(value);
      m_pBuffer->append("</").append(name).append(">\n");
      break;
    }
    default:
      break;
  }
}

void CWyErrLogMessage::FormatTraceField(const char* pszValue, int iWidth) {
  if (!m_bFirstField) m_pBuffer->append("  ");
  m_bFirstField = false;
  const auto uWidth = static_cast<std::size_t>(iWidth > 0 ? iWidth : 0);
  const std::string_view value = ViewOf(pszValue).substr(0, uWidth);
  m_pBuffer->append(value).append(uWidth - value.size(), ' ');
}

void CWyErrLogMessage::EndTraceFormat() {
  if (m_nTraceFormat == Xml) m_pBuffer->append("</").append(ViewOf(m_pszTraceTag)).append(">");
  m_pBuffer->push_back('\n');
}

// ---- Audit records and free texts ---------------------------------------------------------------

bool CWyErrLogMessage::FormatAuditMessage(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const bool bFormatted = FormatAuditMessageVA(pszFormat, args);
  va_end(args);
  return bFormatted;
}

bool CWyErrLogMessage::FormatAuditMessageVA(const char* pszFormat, va_list args) {
  if (pszFormat == nullptr || *pszFormat == '\0') return false;
  va_list argsCopy;
  va_copy(argsCopy, args);
  char szText[TextSize];
  const int iLength = VSNPRINTFEX(szText, TextSize, pszFormat, argsCopy);
  va_end(argsCopy);
  if (iLength <= TextSize) {
    m_pBuffer->assign(szText);
    return true;
  }
  // In memory of its own: the message's text may be among the arguments.
  const std::unique_ptr<char[]> pszLong(new char[static_cast<std::size_t>(iLength)]);
  VSNPRINTFEX(pszLong.get(), iLength, pszFormat, args);
  m_pBuffer->append(pszLong.get());
  return true;
}

char* CWyErrLogMessage::FormatTraceMessage(const char* pszFormat, ...) {
  if (pszFormat == nullptr || *pszFormat == '\0') return nullptr;
  auto* const pszText = new char[TextSize];
  va_list args;
  va_start(args, pszFormat);
  VSNPRINTFEX(pszText, TextSize, pszFormat, args);
  va_end(args);
  return pszText;
}

void CWyErrLogMessage::FreeFormattedMessage(const char* pszText) { delete[] pszText; }
