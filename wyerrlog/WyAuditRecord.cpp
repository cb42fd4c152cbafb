// Typed audit records, appended piece by piece to the text of one message. Both formats differ in
// their punctuation alone.

#include "wyerrlog/WyAuditRecord.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <exception>
#include <functional>

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyRequestScope.h"
#include "wyerrlog/internal/WyJsonText.h"
#include "wyerrlog/internal/WyTextBuffer.h"
#include "wyerrlog/internal/WyThreadStamp.h"
#include "wyerrlog/internal/WyTimeText.h"

namespace {

constinit std::atomic<WyAuditFormat> s_format{WyAuditFormat::Logfmt};

bool IsKeyCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-' || c == '.';
}

// "+01:00", and "Z" for no offset.
char* AppendZone(char* psz, long lOffset) {
  if (lOffset == 0) {
    *psz = 'Z';
    return psz + 1;
  }
  *psz++ = lOffset < 0 ? '-' : '+';
  const int iMinutes = static_cast<int>(std::labs(lOffset) / 60);
  psz = WyAppendTwoDigits(psz, iMinutes / 60);
  *psz++ = ':';
  return WyAppendTwoDigits(psz, iMinutes % 60);
}

const char* NameOf(WyField::Number field) {
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  const bool bKnown = GetKnownDataFields(&iCount, &pRows) && static_cast<int>(field) < iCount;
  return bKnown ? pRows[field].pszName : "_";
}

}  // namespace

void WySetAuditFormat(WyAuditFormat format) { s_format.store(format, std::memory_order_relaxed); }

CWyAuditRecord::CWyAuditRecord(std::string_view event) : CWyAuditRecord(*theLogger(), event) {}

CWyAuditRecord::CWyAuditRecord(CWyLogger& logger, std::string_view event)
    : m_logger(logger),
      m_record(logger.ShouldUseLocalTime()),
      m_format(s_format.load(std::memory_order_relaxed)),
      m_iExceptions(std::uncaught_exceptions()) {
  Begin(event);
}

CWyAuditRecord::~CWyAuditRecord() noexcept(false) {
  if (!m_bWritten && std::uncaught_exceptions() == m_iExceptions) Write();
}

// ---- The beginning ------------------------------------------------------------------------------

void CWyAuditRecord::Begin(std::string_view event) {
  CWyTextBuffer& text = *m_record.m_pBuffer;
  CWyThreadStamp& stamp = CWyThreadStamp::OfThisThread();
  if (m_format == WyAuditFormat::Json) text.Append('{');
  AppendHead("time");
  AppendTime();
  AppendHead("pid");
  text.Append(stamp.Pid());
  AppendHead("tid");
  text.Append(stamp.Tid());
  const WyRequestField* pRequest = nullptr;
  WyRequestScope::ForEachField([&pRequest](const WyRequestField& field) {
    if (pRequest == nullptr && field.field == WyField::TransactionID) pRequest = &field;
  });
  if (pRequest != nullptr) {
    AppendHead("request");
    WyAppendJsonText(text, pRequest->strValue);
  }
  AppendHead("event");
  WyAppendJsonText(text, event);
  if (m_format != WyAuditFormat::Json) return;
  text.Append(std::string_view(",\"fields\":{"));
  m_bFirst = true;
}

// "2026-11-23T11:59:17.123+01:00" in quotes in JSON; null if the time cannot be read.
void CWyAuditRecord::AppendTime() {
  CWyTextBuffer& text = *m_record.m_pBuffer;
  tm time;
  long lMilliseconds = 0;
  if (!WyErrLogGetCurrentTime(m_record.m_bUseLocalTime, time, lMilliseconds)) {
    return text.Append(std::string_view("null"));
  }
  constexpr std::size_t LongestTime = 48;
  char* psz = text.Room(LongestTime);
  if (psz == nullptr) return;
  if (m_format == WyAuditFormat::Json) *psz++ = '"';
  psz = WyAppendYear(psz, time);
  *psz++ = '-';
  psz = WyAppendTwoDigits(psz, time.tm_mon + 1);
  *psz++ = '-';
  psz = WyAppendTwoDigits(psz, time.tm_mday);
  *psz++ = 'T';
  psz = WyAppendMilliseconds(WyAppendTimeText(psz, time), lMilliseconds);
  psz = AppendZone(psz, time.tm_gmtoff);
  if (m_format == WyAuditFormat::Json) *psz++ = '"';
  text.AppendedUpTo(psz);
}

// ---- Fields -------------------------------------------------------------------------------------

// The name of a member, with what stands before and behind it.
void CWyAuditRecord::AppendHead(std::string_view name) {
  CWyTextBuffer& text = *m_record.m_pBuffer;
  const bool bJson = m_format == WyAuditFormat::Json;
  if (!m_bFirst) text.Append(bJson ? ',' : ' ');
  m_bFirst = false;
  if (bJson) {
    text.Append('"', name, std::string_view("\":"));
  } else {
    text.Append(name, '=');
  }
}

// How many fields of this name the record has, with this one. Beyond the keys that are remembered
// the count is 1.
unsigned int CWyAuditRecord::CountKey(std::string_view key) {
  const std::size_t uHash = std::hash<std::string_view>()(key);
  const auto pEnd = m_auKeys.begin() + static_cast<std::ptrdiff_t>(m_uKeys);
  const auto uCount = static_cast<unsigned int>(std::count(m_auKeys.begin(), pEnd, uHash));
  if (m_uKeys < RememberedKeys) m_auKeys[m_uKeys++] = uHash;
  return uCount + 1;
}

// Most keys are constants that need no change.
void CWyAuditRecord::AppendKey(std::string_view key) {
  constexpr std::size_t LongestKey = 64;
  constexpr std::size_t LongestNumber = 8;
  char szKey[LongestKey + LongestNumber];
  key = key.empty() ? "_" : key.substr(0, LongestKey);
  char* pEnd = std::transform(key.begin(), key.end(), szKey,
                              [](char c) { return IsKeyCharacter(c) ? c : '_'; });
  const unsigned int uCount = CountKey({szKey, key.size()});
  if (uCount > 1) {
    *pEnd++ = '_';
    pEnd = std::to_chars(pEnd, szKey + sizeof szKey, uCount).ptr;
  }
  AppendHead({szKey, static_cast<std::size_t>(pEnd - szKey)});
}

void CWyAuditRecord::AppendValue(const WyLogDetail::TextRef& value, Kind kind) {
  CWyTextBuffer& text = *m_record.m_pBuffer;
  const std::string_view view(value.pszText, value.uSize);
  if (value.pszText == nullptr) return text.Append(std::string_view("null"));
  if (kind == Kind::Raw) return text.Append(view);
  if (kind == Kind::Number) return WyAppendJsonNumber(text, view);
  WyAppendJsonText(text, view);
}

void CWyAuditRecord::Add(std::string_view key, const WyLogDetail::TextRef& value, Kind kind) {
  AppendKey(key);
  AppendValue(value, kind);
}

// ---- The end ------------------------------------------------------------------------------------

// The innermost scope comes first: a field of an outer one with the same name is left out.
void CWyAuditRecord::AddRequest() {
  WyRequestScope::ForEachField([this](const WyRequestField& field) {
    if (field.field == WyField::TransactionID) return;
    const std::string_view name = NameOf(field.field);
    const std::size_t uHash = std::hash<std::string_view>()(name);
    const auto pEnd = m_auKeys.begin() + static_cast<std::ptrdiff_t>(m_uKeys);
    if (std::find(m_auKeys.begin(), pEnd, uHash) != pEnd) return;
    Add(name, {field.strValue.data(), field.strValue.size(), true},
        field.bNumber ? Kind::Number : Kind::Text);
  });
}

bool CWyAuditRecord::Write() {
  if (m_bWritten) return false;
  m_bWritten = true;
  AddRequest();
  m_record.m_pBuffer->Append(std::string_view(m_format == WyAuditFormat::Json ? "}}\n" : "\n"));
  return m_logger.LogAuditMsg(m_record);
}
