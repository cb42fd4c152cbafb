// A line is parsed from its front. Texts without an escape are views into the line; others are
// decoded into the record's own memory, which never grows while the record is parsed, because a
// decoded text is never longer than its escaped form.

#include "tools/wylogctl/StructuredRecords.h"

namespace {

bool Take(std::string_view& rest, std::string_view token) {
  if (!rest.starts_with(token)) return false;
  rest.remove_prefix(token.size());
  return true;
}

void AppendUtf8(std::string& strText, unsigned int uCode) {
  if (uCode < 0x80) {
    strText += static_cast<char>(uCode);
  } else if (uCode < 0x800) {
    strText += static_cast<char>(0xC0 | uCode >> 6);
    strText += static_cast<char>(0x80 | (uCode & 0x3F));
  } else {
    strText += static_cast<char>(0xE0 | uCode >> 12);
    strText += static_cast<char>(0x80 | (uCode >> 6 & 0x3F));
    strText += static_cast<char>(0x80 | (uCode & 0x3F));
  }
}

// Four hexadecimal digits; the library writes no surrogates. Capital digits are refused: the
// library writes small ones, and what it has not written is flagged.
bool TakeCode(std::string_view& rest, unsigned int& uCode) {
  uCode = 0;
  if (rest.size() < 4) return false;
  for (const char c : rest.substr(0, 4)) {
    const std::size_t uDigit = std::string_view("0123456789abcdef").find(c);
    if (uDigit == std::string_view::npos) return false;
    uCode = uCode << 4 | static_cast<unsigned int>(uDigit);
  }
  rest.remove_prefix(4);
  return true;
}

// What stands behind a backslash.
bool TakeEscape(std::string_view& rest, std::string& strText) {
  if (rest.empty()) return false;
  const char c = rest.front();
  rest.remove_prefix(1);
  unsigned int uCode = 0;
  switch (c) {
    case '"':
    case '\\':
      strText += c;
      return true;
    case 'n':
      strText += '\n';
      return true;
    case 'r':
      strText += '\r';
      return true;
    case 't':
      strText += '\t';
      return true;
    case 'u':
      if (!TakeCode(rest, uCode)) return false;
      AppendUtf8(strText, uCode);
      return true;
    default:
      return false;
  }
}

// A text in quotes.
bool TakeText(std::string_view& rest, std::string& strDecoded, std::string_view& value) {
  if (!Take(rest, "\"")) return false;
  const std::size_t uPlain = rest.find_first_of("\"\\");
  if (uPlain == std::string_view::npos) return false;
  if (rest[uPlain] == '"') {
    value = rest.substr(0, uPlain);
    rest.remove_prefix(uPlain + 1);
    return true;
  }
  const std::size_t uStart = strDecoded.size();
  for (;;) {
    const std::size_t uEnd = rest.find_first_of("\"\\");
    if (uEnd == std::string_view::npos) return false;
    strDecoded.append(rest.substr(0, uEnd));
    const bool bEnds = rest[uEnd] == '"';
    rest.remove_prefix(uEnd + 1);
    if (bEnds) break;
    if (!TakeEscape(rest, strDecoded)) return false;
  }
  value = std::string_view(strDecoded).substr(uStart);
  return true;
}

// The end of a value that is no text: a number, a word, or a list or object as the program wrote
// it, whose brackets and texts are passed over. Not a validation: a program may pass any JSON as
// value, and it is shown as it is.
std::size_t EndOfPlain(std::string_view rest, std::string_view ends) {
  int iDepth = 0;
  bool bText = false;
  for (std::size_t u = 0; u < rest.size(); ++u) {
    const char c = rest[u];
    if (bText) {
      if (c == '\\') ++u;
      bText = c != '"';
    } else if (iDepth == 0 && ends.find(c) != std::string_view::npos) {
      return u;
    } else if (c == '"') {
      bText = true;
    } else if (c == '[' || c == '{') {
      ++iDepth;
    } else if (c == ']' || c == '}') {
      --iDepth;
    }
  }
  return rest.size();
}

// A value of either kind. Null has no text: its data is null.
bool TakeValue(std::string_view& rest, std::string& strDecoded, std::string_view ends,
               std::string_view& value) {
  if (rest.starts_with('"')) return TakeText(rest, strDecoded, value);
  const std::size_t uEnd = EndOfPlain(rest, ends);
  value = rest.substr(0, uEnd);
  rest.remove_prefix(uEnd);
  if (value.empty()) return false;
  if (value == "null") value = {};
  return true;
}

// The members of an object into `take(name, value)`, up to and with its "}". In the order in which
// they stand; `take` reads the value, so that no tree is built for a record.
template <typename TakeMember>
bool TakeMembers(std::string_view& rest, WyRecord& record, const TakeMember& take) {
  if (Take(rest, "}")) return true;
  do {
    std::string_view name;
    if (!TakeText(rest, record.strDecoded, name) || !Take(rest, ":")) return false;
    if (!take(name)) return false;
  } while (Take(rest, ","));
  return Take(rest, "}");
}

// "2026-11-23T11:59:17.123+01:00" or "...Z". The time is kept as it stands, and UTC beside it.
// Local time and UTC both come from the record: the reader's zone has no part in it, unlike in the
// other logs.
void TakeTime(WyRecord& record, std::string_view text) {
  constexpr std::size_t DateSize = 10;
  constexpr std::size_t TimeEnd = 23;
  if (text.size() <= TimeEnd || text[4] != '-' || text[7] != '-' || text[DateSize] != 'T') {
    record.uFlags |= WyTorn;
    return;
  }
  const std::string strDate = std::string(text.substr(5, 2)) + '/' +
                              std::string(text.substr(8, 2)) + '/' + std::string(text.substr(0, 4));
  const WyCivil date = WyParseDate(strDate);
  const WyCivil clock = WyParseTimeOfDay(text.substr(DateSize + 1, TimeEnd - DateSize - 1));
  const std::string_view zone = text.substr(TimeEnd);
  const bool bZone = zone.size() == 6 && (zone[0] == '+' || zone[0] == '-') && zone[3] == ':';
  const WyCivil offset =
      bZone ? WyParseTimeOfDay(std::string(zone.substr(1)) + ":00") : (zone == "Z" ? 0 : WyNoTime);
  if (date == WyNoTime || clock == WyNoTime || offset == WyNoTime) {
    record.uFlags |= WyTorn;
    return;
  }
  record.time = date + clock;
  record.bMilliseconds = true;
  record.utc = record.time - (zone[0] == '-' ? -offset : offset);
}

// A member of the record itself. The request has the name that it has in traces.
void SetMember(WyRecord& record, std::string_view name, std::string_view value) {
  if (name == "time" && value.data() != nullptr) {
    TakeTime(record, value);
  } else if (name == "pid") {
    record.pid = value;
  } else if (name == "tid") {
    record.tid = value;
  } else if (name == "request") {
    record.fields.push_back({"TransactionID", value});
  } else if (name == "event") {
    record.text = value;
  }
}

bool TakeFields(WyRecord& record, std::string_view& rest, std::string_view ends) {
  return TakeMembers(rest, record, [&](std::string_view name) {
    std::string_view value;
    if (!TakeValue(rest, record.strDecoded, ends, value)) return false;
    if (value.data() != nullptr) record.fields.push_back({name, value});
    return true;
  });
}

bool ParseJsonAudit(WyRecord& record, std::string_view rest) {
  if (!Take(rest, "{")) return false;
  const bool bTaken = TakeMembers(rest, record, [&](std::string_view name) {
    if (name == "fields") return Take(rest, "{") && TakeFields(record, rest, ",}");
    std::string_view value;
    if (!TakeValue(rest, record.strDecoded, ",}", value)) return false;
    SetMember(record, name, value);
    return true;
  });
  return bTaken && rest.empty();
}

// All keys behind "event" are fields, whatever their names. A field may be named "time" or "event"
// too: that is why the place decides, and not the name.
bool ParseLogfmtAudit(WyRecord& record, std::string_view rest) {
  bool bFields = false;
  do {
    const std::size_t uName = rest.find('=');
    if (uName == std::string_view::npos || uName == 0) return false;
    const std::string_view name = rest.substr(0, uName);
    rest.remove_prefix(uName + 1);
    std::string_view value;
    if (!TakeValue(rest, record.strDecoded, " ", value)) return false;
    if (!bFields) {
      SetMember(record, name, value);
    } else if (value.data() != nullptr) {
      record.fields.push_back({name, value});
    }
    bFields = bFields || name == "event";
  } while (Take(rest, " "));
  return bFields && rest.empty();
}

}  // namespace

// Reserved first: the views of decoded texts would dangle if the string grew.
void WyParseTraceJson(WyRecord& record, std::string_view body) {
  record.strDecoded.reserve(body.size());
  if (!Take(body, "{") || !TakeFields(record, body, ",}") || !body.empty()) record.uFlags |= WyTorn;
}

void WyParseTypedAudit(WyRecord& record, std::string_view body) {
  // A sealed log adds its seal behind a tab, which a record has only as an escape.
  body = body.substr(0, body.find("\t~"));
  record.strDecoded.reserve(body.size());
  const bool bParsed =
      body.starts_with('{') ? ParseJsonAudit(record, body) : ParseLogfmtAudit(record, body);
  if (!bParsed) record.uFlags |= WyTorn;
}
