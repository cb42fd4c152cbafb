// Telling the formats apart, and where a record begins. Header lines are found from the line of "="
// signs: only a line that begins with one, or with "[=", is looked at closely.

#include "tools/wylogctl/LogShape.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "wyerrlog/WyErrLogConfig.h"

namespace {

// What the library writes, byte by byte: the formats are frozen, since other programs read them.
constexpr std::string_view XmlStart = "<TraceMessage>";
constexpr std::string_view JsonAudit = "{\"time\":";
constexpr std::string_view LogfmtAudit = "time=";
constexpr std::string_view Joint = "][";
constexpr std::size_t DateTimeSize = 24;  // "Mon Nov 16 2026 17:16:13"

// From the library's own table, so that a new field is known here at once. Never freed, on purpose:
// static objects may use it while they are destroyed.
const std::unordered_map<std::string_view, int>& FieldWidths() {
  static const auto* const pWidths = [] {
    auto* pMap = new std::unordered_map<std::string_view, int>;
    int iCount = 0;
    const KNOWNDATAFIELDINFO* pRows = nullptr;
    GetKnownDataFields(&iCount, &pRows);
    for (int i = 0; i < iCount; ++i) pMap->emplace(pRows[i].pszName, pRows[i].iWidth);
    return pMap;
  }();
  return *pWidths;
}

// "99/99/9999" and the like: 9 stands for a digit, all else for itself.
bool HasPattern(std::string_view text, std::string_view pattern) {
  if (text.size() != pattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (pattern[i] == '9' ? !WyIsDigit(text[i]) : text[i] != pattern[i]) return false;
  }
  return true;
}

bool IsNumber(std::string_view text) {
  if (!text.empty() && text.front() == '-') text.remove_prefix(1);
  return !text.empty() && std::all_of(text.begin(), text.end(), WyIsDigit);
}

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t uEnd = text.find(separator);
    parts.push_back(text.substr(0, uEnd));
    if (uEnd == std::string_view::npos) return parts;
    text.remove_prefix(uEnd + separator.size());
  }
}

std::optional<WyLogShape> Shape(WyLogFormat kind, std::vector<WyColumn> columns,
                                std::string_view separator) {
  WyLogShape shape;
  shape.kind = kind;
  shape.columns = std::move(columns);
  shape.strSeparator = separator;
  shape.Complete();
  return shape;
}

bool IsUnderlined(std::string_view name, std::string_view dashes) {
  return name.size() == dashes.size() && dashes.find_first_not_of('=') == std::string_view::npos;
}

std::optional<WyLogShape> ReadBracketTitles(std::string_view names, std::string_view underline) {
  if (names.size() < 2 || names.size() != underline.size() || names.front() != '[' ||
      names.back() != ']' || underline.back() != ']') {
    return std::nullopt;
  }
  const auto titles = Split(names.substr(1, names.size() - 2), Joint);
  const auto dashes = Split(underline.substr(1, underline.size() - 2), Joint);
  if (titles.size() != dashes.size()) return std::nullopt;
  std::vector<WyColumn> columns;
  for (std::size_t i = 0; i < titles.size(); ++i) {
    if (!WyIsKnownField(titles[i]) || !IsUnderlined(titles[i], dashes[i])) return std::nullopt;
    columns.push_back({std::string(titles[i]), 0, WyFormOf(titles[i])});
  }
  return Shape(WyLogFormat::Brackets, std::move(columns), Joint);
}

// The field that a title of layout 1 stands for. A name longer than its column is cut there, and
// can be that of two fields; it then stays as it is.
std::string NameOfColumn(std::string_view title, std::size_t uWidth) {
  const std::string_view name = title.substr(0, title.find_last_not_of(' ') + 1);
  if (WyIsKnownField(name)) return std::string(name);
  std::string strFound;
  for (const auto& [known, iWidth] : FieldWidths()) {
    if (static_cast<std::size_t>(iWidth) != uWidth || known.substr(0, uWidth) != name) continue;
    if (!strFound.empty()) return std::string(name);
    strFound = known;
  }
  return strFound;
}

// Titles of layout 1 and of layout 2 with two blanks as separator look alike unless a name is
// shorter than its column, which is what `bPadded` finds.
std::optional<WyLogShape> ReadColumnTitles(std::string_view names, std::string_view underline) {
  if (names.size() != underline.size()) return std::nullopt;
  std::vector<WyColumn> columns;
  std::size_t uStart = 0;
  bool bPadded = false;
  for (const std::string_view dashes : Split(underline, "  ")) {
    if (dashes.empty() || dashes.find_first_not_of('=') != std::string_view::npos) {
      return std::nullopt;
    }
    const std::string_view title = names.substr(uStart, dashes.size());
    std::string strName = NameOfColumn(title, dashes.size());
    if (strName.empty()) return std::nullopt;
    bPadded = bPadded || strName.size() != dashes.size();
    uStart += dashes.size() + 2;
    columns.push_back({strName, dashes.size(), WyFormOf(strName)});
  }
  if (!bPadded) return std::nullopt;  // layout 2, separated by two blanks
  return Shape(WyLogFormat::Columns, std::move(columns), "  ");
}

// The separator is what stands between the first two runs of "=": one that has a "=" itself is not
// recognised, and one without any byte cannot be.
std::optional<WyLogShape> ReadSeparatedTitles(std::string_view names, std::string_view underline) {
  const std::size_t uFirst = underline.find_first_not_of('=');
  std::string_view separator;
  if (uFirst != std::string_view::npos) {
    const std::size_t uNext = underline.find('=', uFirst);
    if (uNext == std::string_view::npos) return std::nullopt;
    separator = underline.substr(uFirst, uNext - uFirst);
  }
  if (names.size() != underline.size()) return std::nullopt;
  std::vector<WyColumn> columns;
  std::size_t uStart = 0;
  const auto runs = separator.empty() ? std::vector{underline} : Split(underline, separator);
  for (const std::string_view dashes : runs) {
    const std::string_view name = names.substr(uStart, dashes.size());
    if (!WyIsKnownField(name) || !IsUnderlined(name, dashes)) return std::nullopt;
    uStart += dashes.size() + separator.size();
    columns.push_back({std::string(name), 0, WyFormOf(name)});
  }
  return Shape(WyLogFormat::Separator, std::move(columns), separator);
}

// A value that its record was not given is empty, whatever its form; but not all of them. At least
// one value is required, or a line of separators alone would begin a record.
bool HoldsForm(std::string_view value, WyFieldForm form, bool& bAny) {
  if (value.empty()) return true;
  bAny = true;
  return WyHasForm(value, form);
}

// The layouts 0 and 2: whether the leading columns have their forms. Only the leading columns:
// behind the first free text, a separator may belong to a value.
bool LeadingFormsHold(const WyLogShape& shape, std::string_view line) {
  bool bAny = shape.uLeading == 0;
  const bool bBrackets = shape.kind == WyLogFormat::Brackets;
  if (bBrackets) {
    if (line.empty() || line.front() != '[') return false;
    line.remove_prefix(1);
  }
  for (std::size_t i = 0; i < shape.uLeading; ++i) {
    const bool bLast = i + 1 == shape.columns.size();
    const std::string_view last = bBrackets ? "]" : "";
    const std::string_view end = bLast ? last : std::string_view(shape.strSeparator);
    const std::size_t uEnd = end.empty() ? line.size() : line.find(end);
    if (uEnd == std::string_view::npos) return false;
    if (!HoldsForm(line.substr(0, uEnd), shape.columns[i].form, bAny)) return false;
    line.remove_prefix(uEnd + end.size());
  }
  return bAny;
}

bool LeadingColumnsHold(const WyLogShape& shape, std::string_view line) {
  bool bAny = shape.uLeading == 0;
  std::size_t uStart = 0;
  for (std::size_t i = 0; i < shape.uLeading; ++i) {
    const WyColumn& column = shape.columns[i];
    if (line.size() < uStart + column.uWidth) return false;
    std::string_view value = line.substr(uStart, column.uWidth);
    value = value.substr(0, value.find_last_not_of(' ') + 1);
    if (!HoldsForm(value, column.form, bAny)) return false;
    uStart += column.uWidth + 2;
  }
  return bAny;
}

}  // namespace

void WyLogShape::Complete() {
  uLeading = 0;
  while (uLeading < columns.size() && columns[uLeading].form != WyFieldForm::Text) ++uLeading;
  uTotal = columns.empty() ? 0 : 2 * (columns.size() - 1);
  for (const WyColumn& column : columns) uTotal += column.uWidth;
}

const char* WyKindName(WyLogFormat kind) {
  constexpr const char* Names[] = {"audit log",         "error log",       "trace, layout 0",
                                   "trace, layout 1",   "trace, layout 2", "trace, layout 3",
                                   "trace, layout Json"};
  return Names[static_cast<std::size_t>(kind)];
}

const char* WyLogOfKind(WyLogFormat kind) {
  if (kind == WyLogFormat::Error) return "error";
  return kind == WyLogFormat::Audit ? "audit" : "trace";
}

bool WyIsKnownField(std::string_view name) { return FieldWidths().contains(name); }

WyFieldForm WyFormOf(std::string_view name) {
  if (name == "Date") return WyFieldForm::Date;
  if (name == "Time") return WyFieldForm::Time;
  if (name == "PreciseTime") return WyFieldForm::PreciseTime;
  if (name == "Pid" || name == "Tid") return WyFieldForm::Number;
  return WyFieldForm::Text;
}

bool WyHasForm(std::string_view text, WyFieldForm form) {
  switch (form) {
    case WyFieldForm::Date:
      return HasPattern(text, "99/99/9999");
    case WyFieldForm::Time:
      return HasPattern(text, "99:99:99");
    case WyFieldForm::PreciseTime:
      return HasPattern(text, "99:99:99.999");
    case WyFieldForm::Number:
      return IsNumber(text);
    default:
      return true;
  }
}

// Compares single bytes without a pattern, since it is asked for every line of every log. It
// accepts any three letters for day and month: the parser of times refuses wrong ones.
bool WyIsDateTime(const char* pText, std::size_t uSize) {
  return uSize >= DateTimeSize && pText[3] == ' ' && pText[7] == ' ' && pText[10] == ' ' &&
         pText[15] == ' ' && pText[18] == ':' && pText[21] == ':' && WyIsDigit(pText[8]) &&
         WyIsDigit(pText[9]) && WyIsDigit(pText[11]) && WyIsDigit(pText[14]) &&
         WyIsDigit(pText[16]) && WyIsDigit(pText[17]) && WyIsDigit(pText[19]) &&
         WyIsDigit(pText[20]) && WyIsDigit(pText[22]) && WyIsDigit(pText[23]);
}

bool WyIsErrorStart(const char* pLine, std::size_t uSize, std::size_t& uEnd) {
  if (uSize < DateTimeSize + 8 || pLine[0] != '[' || !WyIsDigit(pLine[1])) return false;
  // Two numbers of at most ten digits and their marks fit into 32 bytes; a line of digits is not
  // read to its end.
  const std::size_t uLimit = std::min<std::size_t>(uSize, 32);
  std::size_t i = 2;
  while (i < uLimit && WyIsDigit(pLine[i])) ++i;
  if (i >= uLimit || pLine[i] != '/') return false;
  const std::size_t uThread = ++i;
  while (i < uLimit && WyIsDigit(pLine[i])) ++i;
  if (i == uThread || i + 1 >= uLimit || pLine[i] != ']' || pLine[i + 1] != '[') return false;
  i += 2;
  if (!WyIsDateTime(pLine + i, uSize - i)) return false;
  i += DateTimeSize;
  if (i + 1 >= uSize || pLine[i] != ']' || pLine[i + 1] != '[') return false;
  uEnd = i + 2;
  return true;
}

// Layout 1 first: its header lines can be read as those of layout 2 with two blanks, but not the
// other way round.
std::optional<WyLogShape> WyReadTitles(std::string_view names, std::string_view underline) {
  if (underline.starts_with("[=")) return ReadBracketTitles(names, underline);
  if (!underline.starts_with("=")) return std::nullopt;
  if (auto shape = ReadColumnTitles(names, underline)) return shape;
  return ReadSeparatedTitles(names, underline);
}

bool WyIsTraceJsonStart(std::string_view line) {
  if (line == "{}") return true;
  if (!line.starts_with("{\"")) return false;
  const std::string_view name = line.substr(2, line.find('"', 2) - 2);
  return WyIsKnownField(name) && line.substr(2 + name.size()).starts_with("\":");
}

// The second condition keeps a free text that begins with "time=" from counting as a record of this
// form.
bool WyIsTypedAuditStart(std::string_view line) {
  return line.starts_with(JsonAudit) ||
         (line.starts_with(LogfmtAudit) && line.find(" event=\"") != std::string_view::npos);
}

// A log may begin in the middle of a record (a backup that was cut), so every line of the head is
// asked, not the first alone. What no format claims is an audit log, whose records are any text.
std::optional<WyLogShape> WyDetectShape(std::string_view head) {
  std::string_view previous;
  bool bFirst = true;
  bool bTimed = false;
  for (std::size_t uStart = 0; uStart < head.size();) {
    const std::size_t uNewline = head.find('\n', uStart);
    const std::string_view line = head.substr(uStart, uNewline - uStart);
    std::size_t uEnd;
    if (WyIsErrorStart(line.data(), line.size(), uEnd)) return Shape(WyLogFormat::Error, {}, {});
    if (line == XmlStart) return Shape(WyLogFormat::Xml, {}, {});
    if (WyIsTraceJsonStart(line)) return Shape(WyLogFormat::Json, {}, {});
    if (!bFirst && WyReadTitles(previous, line)) return std::nullopt;
    if (bFirst) bTimed = line.starts_with("[") && WyIsDateTime(line.data() + 1, line.size() - 1);
    bFirst = false;
    previous = line;
    if (uNewline == std::string_view::npos) break;
    uStart = uNewline + 1;
  }
  if (bFirst) return std::nullopt;
  WyLogShape shape;
  shape.bTimed = bTimed;
  return shape;
}

bool WyIsStrongStart(const WyLogShape& shape, std::string_view line) {
  std::size_t uEnd;
  switch (shape.kind) {
    case WyLogFormat::Error:
      return WyIsErrorStart(line.data(), line.size(), uEnd);
    case WyLogFormat::Xml:
      return line == XmlStart;
    case WyLogFormat::Columns:
      return LeadingColumnsHold(shape, line);
    case WyLogFormat::Brackets:
    case WyLogFormat::Separator:
      return LeadingFormsHold(shape, line);
    case WyLogFormat::Json:
      return true;
    default:
      return !shape.bTimed || WyIsTypedAuditStart(line) ||
             (line.starts_with("[") && WyIsDateTime(line.data() + 1, line.size() - 1));
  }
}

std::size_t WyCount(std::string_view text, std::string_view part) {
  std::size_t uCount = 0;
  if (part.empty()) return uCount;
  for (std::size_t u = text.find(part); u != std::string_view::npos;
       u = text.find(part, u + part.size())) {
    ++uCount;
  }
  return uCount;
}

bool WyIsWhole(const WyLogShape& shape, std::string_view text) {
  if (shape.kind == WyLogFormat::Brackets && !(text.starts_with('[') && text.ends_with(']'))) {
    return false;
  }
  return WyCount(text, shape.strSeparator) + 1 >= shape.columns.size();
}
