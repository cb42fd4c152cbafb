#ifndef WYLOGCTL_RECORD_H
#define WYLOGCTL_RECORD_H

// One parsed record. All texts are views into the reader's buffer and valid until its next
// record; nothing is copied or allocated for a record.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/wylogctl/LogTime.h"
#include "tools/wylogctl/RecordReader.h"

enum class WySeverityRank : std::uint8_t { None, Info, Warning, Error };
const char* WySeverityText(WySeverityRank rank);  // "INFO"
WySeverityRank WySeverityFrom(std::string_view word);

struct WyFieldValue {
  std::string_view name;
  std::string_view value;
};

struct WyRecord {
  WyRawRecord raw;
  std::string_view file;  // as the user reaches it
  WyCivil time = WyNoTime;
  bool bMilliseconds = false;
  WySeverityRank severity = WySeverityRank::None;
  unsigned int uFlags = 0;
  std::string_view pid;
  std::string_view tid;
  std::string_view src;  // without the line
  std::string_view line;
  std::string_view severityWord;
  std::string_view key;
  std::string_view text;
  std::vector<WyFieldValue> fields;   // traces, in the order of the columns; typed audit records
  std::vector<std::string_view> cut;  // names of columns that can be cut
  std::optional<std::int64_t> utc;    // if the record itself says in which zone its time is
  std::string strDecoded;             // texts that had escapes

  WyLogFormat Kind() const { return raw.pShape->kind; }

  // A field by the names of the trace configuration, which the other logs have some of: Pid, Tid,
  // SrcFile, Message; and Severity and Key. Those of a typed audit record are "fields." and the
  // key. Null data when the record has none.
  std::string_view Field(std::string_view name) const;
};

// Bits for what the bytes of a record show: WyInvalidUtf8, WyHoldsNul, and in the error log
// WyJoined.
unsigned int WyInspectBytes(const WyRecord& record);
bool WyIsValidUtf8(std::string_view text);

#endif
