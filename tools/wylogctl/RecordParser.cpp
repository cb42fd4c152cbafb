// Error-log lines and audit records, and what all records have. The trace layouts and the records
// that say themselves what is what have sources of their own.

#include "tools/wylogctl/RecordParser.h"

#include <cstring>

#include "tools/wylogctl/StructuredRecords.h"
#include "tools/wylogctl/TraceLayouts.h"

namespace {

struct SeverityWord {
  std::string_view bracket;  // with its brackets, behind the place of the call
  WySeverityRank rank;
};
// As the library writes them; the last one stands for a severity that no message should have.
constexpr SeverityWord SeverityWords[] = {
    {"][INFO]", WySeverityRank::Info},
    {"][WARNING]", WySeverityRank::Warning},
    {"][ERROR]", WySeverityRank::Error},
    {"][INVALID MESSAGE TYPE]", WySeverityRank::None},
};

const SeverityWord* SeverityAt(std::string_view text) {
  for (const SeverityWord& word : SeverityWords) {
    if (text.starts_with(word.bracket)) return &word;
  }
  return nullptr;
}

// "file.cpp:41" into its parts; the place that Java gives has no line.
void TakePlace(WyRecord& record, std::string_view place) {
  std::size_t uDigits = place.size();
  while (uDigits > 0 && WyIsDigit(place[uDigits - 1])) --uDigits;
  const bool bLine = uDigits > 0 && uDigits < place.size() && place[uDigits - 1] == ':';
  record.src = bLine ? place.substr(0, uDigits - 1) : place;
  record.line = bLine ? place.substr(uDigits) : std::string_view();
}

}  // namespace

// The record's memory is used again: only what was not reset can be of the record before.
void CWyRecordParser::Parse(const WyRawRecord& raw, WyRecord& record) {
  record.raw = raw;
  record.time = WyNoTime;
  record.bMilliseconds = false;
  record.severity = WySeverityRank::None;
  record.uFlags = raw.uFlags;
  record.pid = record.tid = record.src = record.line = record.severityWord = record.key = {};
  record.fields.clear();
  record.cut.clear();
  record.utc.reset();
  record.strDecoded.clear();
  std::string_view body = raw.text;
  if (body.ends_with('\n')) body.remove_suffix(1);
  record.text = body;
  if (raw.bTitles) return;
  if (raw.pShape->kind == WyLogFormat::Error) return ParseError(record, body);
  if (raw.pShape->kind == WyLogFormat::Audit) return ParseAudit(record, body);
  WyParseTrace(record, body);
  if (raw.pShape->bAssumed) record.uFlags |= WyNamesAssumed;
  TakeTraceTime(record);
}

// All records of a second have the same text of it. A comparison of 24 bytes is a fraction of the
// cost of the conversion.
void CWyRecordParser::TakeTime(WyRecord& record, std::string_view text) {
  if (std::memcmp(m_acTime, text.data(), sizeof m_acTime) != 0) {
    std::memcpy(m_acTime, text.data(), sizeof m_acTime);
    m_time = WyParseDateTime(text);
  }
  record.time = m_time;
}

void CWyRecordParser::ParseError(WyRecord& record, std::string_view body) {
  std::size_t uPlace;
  if (!WyIsErrorStart(body.data(), body.size(), uPlace)) {
    record.uFlags |= WyTorn;
    return;
  }
  // 24 bytes of time and the brackets behind it.
  const std::size_t uTime = uPlace - 26;
  const std::size_t uSlash = body.find('/');
  record.pid = body.substr(1, uSlash - 1);
  record.tid = body.substr(uSlash + 1, uTime - uSlash - 3);
  TakeTime(record, body.substr(uTime, 24));

  // The place is Java's own text there, and may hold brackets.
  const SeverityWord* pWord = nullptr;
  std::size_t uEnd = body.find(']', uPlace);
  while (uEnd != std::string_view::npos && (pWord = SeverityAt(body.substr(uEnd))) == nullptr) {
    uEnd = body.find(']', uEnd + 1);
  }
  if (pWord == nullptr) {
    record.uFlags |= WyTorn;
    record.text = body.substr(uPlace);
    return;
  }
  TakePlace(record, body.substr(uPlace, uEnd - uPlace));
  record.severity = pWord->rank;
  record.severityWord = pWord->bracket.substr(2, pWord->bracket.size() - 3);
  std::string_view rest = body.substr(uEnd + pWord->bracket.size());
  if (rest.starts_with('[')) {
    const std::size_t uKey = rest.find("] ");
    if (uKey == std::string_view::npos) {
      record.uFlags |= WyTorn;
    } else {
      record.key = rest.substr(1, uKey - 1);
      rest.remove_prefix(uKey + 1);
    }
  }
  if (rest.starts_with(' ')) rest.remove_prefix(1);
  record.text = rest;
}

void CWyRecordParser::ParseAudit(WyRecord& record, std::string_view body) {
  if (WyIsTypedAuditStart(body)) return WyParseTypedAudit(record, body);
  if (body.starts_with('[') && WyIsDateTime(body.data() + 1, body.size() - 1)) {
    TakeTime(record, body.substr(1, 24));
  } else if (record.raw.pShape->bTimed) {
    record.uFlags |= WyTorn;
  }
}

// The clock comes from two fields. Without a date there is a time of day alone, which is no time.
void CWyRecordParser::TakeTraceTime(WyRecord& record) {
  WyCivil clock = WyNoTime;
  WyCivil date = WyNoTime;
  for (const WyFieldValue& field : record.fields) {
    if (field.name == "PreciseTime" || (field.name == "Time" && !record.bMilliseconds)) {
      clock = WyParseTimeOfDay(field.value);
      record.bMilliseconds = field.name == "PreciseTime" && clock != WyNoTime;
    } else if (field.name == "Date" && field.value.size() == sizeof m_acDate) {
      if (std::memcmp(m_acDate, field.value.data(), sizeof m_acDate) != 0) {
        std::memcpy(m_acDate, field.value.data(), sizeof m_acDate);
        m_date = WyParseDate(field.value);
      }
      date = m_date;
    } else if (field.name == "Pid") {
      record.pid = field.value;
    } else if (field.name == "Tid") {
      record.tid = field.value;
    } else if (field.name == "SrcFile") {
      TakePlace(record, field.value);
    } else if (field.name == "Message") {
      record.text = field.value;
    }
  }
  if (clock != WyNoTime && date != WyNoTime) record.time = date + clock;
}
