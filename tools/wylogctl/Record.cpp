// What every record has, and what its bytes show.

#include "tools/wylogctl/Record.h"

#include <cstring>

#include "tools/common/Utf8.h"

namespace {

// Whether another error-log line begins within the text: two writes that ran into one line. Looks
// for the joint "][" and a time behind it, which texts seldom have, before the whole beginning is
// compared.
bool HoldsErrorStart(std::string_view text) {
  for (std::size_t u = text.find("][", 1); u != std::string_view::npos;
       u = text.find("][", u + 1)) {
    if (!WyIsDateTime(text.data() + u + 2, text.size() - u - 2)) continue;
    const std::size_t uBracket = text.rfind('[', u - 1);
    std::size_t uEnd;
    if (uBracket == std::string_view::npos || uBracket == 0) continue;
    if (WyIsErrorStart(text.data() + uBracket, text.size() - uBracket, uEnd)) return true;
  }
  return false;
}

}  // namespace

const char* WySeverityText(WySeverityRank rank) {
  constexpr const char* Names[] = {"", "INFO", "WARNING", "ERROR"};
  return Names[static_cast<std::size_t>(rank)];
}

WySeverityRank WySeverityFrom(std::string_view word) {
  std::string strUpper(word);
  for (char& c : strUpper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  if (strUpper == "INFO") return WySeverityRank::Info;
  if (strUpper == "WARNING" || strUpper == "WARN") return WySeverityRank::Warning;
  return strUpper == "ERROR" ? WySeverityRank::Error : WySeverityRank::None;
}

// Null for a field that the record does not have, empty for one without a value: a condition on the
// former never holds.
std::string_view WyRecord::Field(std::string_view name) const {
  constexpr std::string_view OfAudit = "fields.";
  const std::string_view fieldName = name.starts_with(OfAudit) ? name.substr(OfAudit.size()) : name;
  for (const WyFieldValue& field : fields) {
    if (field.name == fieldName) return field.value.data() == nullptr ? "" : field.value;
  }
  if (name == "Severity") return severityWord;
  if (name == "Key") return key;
  if (WyIsTrace(Kind())) return {};
  if (name == "Message") return text;
  if (name == "Pid") return pid;
  if (name == "Tid") return tid;
  if (name != "SrcFile" || src.data() == nullptr) return {};
  return line.empty() ? src : std::string_view(src.data(), src.size() + 1 + line.size());
}

bool WyIsValidUtf8(std::string_view text) {
  // Eight bytes at a time as long as they are ASCII; the last eight overlap those before them.
  const auto isAscii = [&text](std::size_t u) {
    std::uint64_t uBytes;
    std::memcpy(&uBytes, text.data() + u, 8);
    return (uBytes & 0x8080808080808080u) == 0;
  };
  std::size_t u = 0;
  if (text.size() >= 8) {
    while (u + 8 <= text.size() && isAscii(u)) u += 8;
    if (u + 8 > text.size() && isAscii(text.size() - 8)) return true;
  }
  return FindInvalidUtf8(text.substr(u)) == std::string_view::npos;
}

unsigned int WyInspectBytes(const WyRecord& record) {
  const std::string_view text = record.raw.text;
  unsigned int uFlags = 0;
  if (!WyIsValidUtf8(text)) uFlags |= WyInvalidUtf8;
  if (std::memchr(text.data(), '\0', text.size()) != nullptr) uFlags |= WyHoldsNul;
  if (record.Kind() == WyLogFormat::Error && !record.raw.bTitles && HoldsErrorStart(record.text)) {
    uFlags |= WyJoined;
  }
  return uFlags;
}
