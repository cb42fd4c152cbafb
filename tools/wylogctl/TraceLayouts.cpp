// The four trace layouts. The library writes values as they are, so a value that holds what
// separates values can make a record ambiguous. The rule for all of them: the values are the ones
// that were logged, or the record is flagged. XML records are not XML, and no XML parser would read
// them.

#include "tools/wylogctl/TraceLayouts.h"

#include <algorithm>

#include "tools/common/Utf8.h"
#include "tools/wylogctl/StructuredRecords.h"

namespace {

constexpr std::string_view XmlStart = "<TraceMessage>\n";
constexpr std::string_view XmlEnd = "</TraceMessage>";

// Each record has a field for each column, also a torn one: output columns do not shift.
void AddEmpty(WyRecord& record) {
  for (const WyColumn& column : record.raw.pShape->columns) {
    record.fields.push_back({column.strName, {}});
  }
}

// ---- Layouts 0 and 2 ----------------------------------------------------------------------------

// Whether a part of the separator is its beginning and its end ("||", "-=-"): the end of a value
// and the separator behind it can then be read in two ways.
bool OverlapsItself(std::string_view separator) {
  for (std::size_t i = 1; i < separator.size(); ++i) {
    if (separator.ends_with(separator.substr(0, separator.size() - i))) return true;
  }
  return false;
}

// Whether values of fixed forms can hold the separator. Then even a value of a fixed form cannot be
// cut off with certainty: "/" in a date.
bool CanBeInForms(std::string_view separator) {
  return separator.find_first_not_of("0123456789/:.-") == std::string_view::npos;
}

// Takes values of fixed forms off the text: from the left, or from the right.
std::size_t TakeForms(WyRecord& record, std::string_view& text, std::size_t uFirst,
                      std::size_t uEnd, bool bFromRight) {
  const WyLogShape& shape = *record.raw.pShape;
  std::size_t uTaken = 0;
  while (uFirst + uTaken + 1 < uEnd) {
    const std::size_t uColumn = bFromRight ? uEnd - 1 - uTaken : uFirst + uTaken;
    const std::size_t u =
        bFromRight ? text.rfind(shape.strSeparator) : text.find(shape.strSeparator);
    if (shape.columns[uColumn].form == WyFieldForm::Text || u == std::string_view::npos) break;
    const std::string_view value =
        bFromRight ? text.substr(u + shape.strSeparator.size()) : text.substr(0, u);
    if (!value.empty() && !WyHasForm(value, shape.columns[uColumn].form)) break;
    record.fields[uColumn].value = value;
    text = bFromRight ? text.substr(0, u) : text.substr(u + shape.strSeparator.size());
    ++uTaken;
  }
  return uTaken;
}

// The values one after another; the last column takes what is left.
void TakeInOrder(WyRecord& record, std::string_view text, std::size_t uFirst, std::size_t uEnd) {
  const std::string_view separator = record.raw.pShape->strSeparator;
  for (std::size_t i = uFirst; i < uEnd; ++i) {
    const std::size_t u = i + 1 < uEnd ? text.find(separator) : std::string_view::npos;
    record.fields[i].value = text.substr(0, u);
    if (u == std::string_view::npos) return;
    text.remove_prefix(u + separator.size());
  }
}

void ParseSeparated(WyRecord& record, std::string_view text) {
  const WyLogShape& shape = *record.raw.pShape;
  const std::size_t uColumns = shape.columns.size();
  AddEmpty(record);
  if (uColumns == 0) return;
  const std::size_t uCount = WyCount(text, shape.strSeparator) + 1;
  // Too few separators: a write was cut short. Values that are there are kept.
  if (uCount < uColumns) record.uFlags |= WyTorn;
  if (uColumns > 1 && OverlapsItself(shape.strSeparator)) record.uFlags |= WyAmbiguous;
  if (uCount <= uColumns) return TakeInOrder(record, text, 0, uColumns);
  // Too many separators: what has a form of its own is certain, and so is a single column between.
  std::size_t uFirst = 0;
  std::size_t uEnd = uColumns;
  if (!CanBeInForms(shape.strSeparator)) {
    uFirst += TakeForms(record, text, uFirst, uEnd, false);
    uEnd -= TakeForms(record, text, uFirst, uEnd, true);
  }
  if (uEnd - uFirst > 1) record.uFlags |= WyAmbiguous;
  TakeInOrder(record, text, uFirst, uEnd);
}

void ParseBrackets(WyRecord& record, std::string_view body) {
  if (!body.starts_with('[') || !body.ends_with(']') || body.size() < 2) {
    record.uFlags |= WyTorn;
    AddEmpty(record);
    return;
  }
  ParseSeparated(record, body.substr(1, body.size() - 2));
}

// A value of a fixed form that has another one: what stands there is not what the library wrote.
void CheckForms(WyRecord& record) {
  const auto& columns = record.raw.pShape->columns;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string_view value = record.fields[i].value;
    if (columns[i].form == WyFieldForm::Text || value.empty()) continue;
    if (!WyHasForm(value, columns[i].form)) record.uFlags |= WyTorn;
  }
}

// ---- Layout 1 -----------------------------------------------------------------------------------

// Whether a value that fills its column can be longer than that. Dates and times always fit; a text
// that fills its column exactly may or may not have been longer.
bool CanBeCut(const WyColumn& column, std::string_view value) {
  if (value.size() < column.uWidth) return false;
  return column.form == WyFieldForm::Text || column.form == WyFieldForm::Number;
}

void ParseColumns(WyRecord& record, std::string_view body) {
  const WyLogShape& shape = *record.raw.pShape;
  if (body.size() != shape.uTotal) record.uFlags |= WyTorn;
  std::size_t uStart = 0;
  for (const WyColumn& column : shape.columns) {
    std::string_view value = body.substr(std::min(uStart, body.size()), column.uWidth);
    value = value.substr(0, value.find_last_not_of(' ') + 1);
    record.fields.push_back({column.strName, value});
    if (CanBeCut(column, value)) {
      record.uFlags |= WyMaybeCut;
      record.cut.push_back(column.strName);
    }
    uStart += column.uWidth;
    if (uStart < body.size() && body.substr(uStart, 2) != "  ") record.uFlags |= WyTorn;
    uStart += 2;
  }
}

// ---- Layout 3 -----------------------------------------------------------------------------------

// Whether the text holds a tag of a known field or of the record: a value that does can be several.
// A user's text "</User>" and a tab with "<Pid>" behind it look exactly like two fields.
bool HoldsTag(std::string_view text) {
  for (std::size_t u = text.find('<'); u != std::string_view::npos; u = text.find('<', u + 1)) {
    std::string_view name = text.substr(u + 1);
    if (name.starts_with('/')) name.remove_prefix(1);
    name = name.substr(0, name.find('>'));
    if (name == "TraceMessage" || WyIsKnownField(name)) return true;
  }
  return false;
}

bool HasField(const WyRecord& record, std::string_view name) {
  return std::any_of(record.fields.begin(), record.fields.end(),
                     [name](const WyFieldValue& field) { return field.name == name; });
}

// One field from the front of the text: a tab, its tag, the value, the tag's end, a newline.
bool TakeXmlField(WyRecord& record, std::string_view& text) {
  if (!text.starts_with("\t<")) return false;
  const std::size_t uName = text.find('>');
  if (uName == std::string_view::npos) return false;
  const std::string_view name = text.substr(2, uName - 2);
  // The library writes each field once: a second one is text that imitates it.
  if (!WyIsKnownField(name) || HasField(record, name)) return false;
  const std::size_t uValue = uName + 1;
  for (std::size_t u = text.find("</", uValue); u != std::string_view::npos;
       u = text.find("</", u + 2)) {
    const std::string_view end = text.substr(u + 2);
    if (!end.starts_with(name) || !end.substr(name.size()).starts_with(">\n")) continue;
    const std::string_view value = text.substr(uValue, u - uValue);
    record.fields.push_back({name, value});
    if (HoldsTag(value)) record.uFlags |= WyAmbiguous;
    text.remove_prefix(u + 2 + name.size() + 2);
    return true;
  }
  return false;
}

void ParseXml(WyRecord& record, std::string_view body) {
  if (!body.starts_with(XmlStart)) {
    record.uFlags |= WyTorn;
    return;
  }
  body.remove_prefix(XmlStart.size());
  while (body.starts_with('\t') && TakeXmlField(record, body)) {
  }
  if (body != XmlEnd) record.uFlags |= body.empty() ? WyTorn : WyTorn | WyAmbiguous;
}

}  // namespace

void WyParseTrace(WyRecord& record, std::string_view body) {
  switch (record.Kind()) {
    case WyLogFormat::Brackets:
      ParseBrackets(record, body);
      return CheckForms(record);
    case WyLogFormat::Separator:
      ParseSeparated(record, body);
      return CheckForms(record);
    case WyLogFormat::Columns:
      return ParseColumns(record, body);
    case WyLogFormat::Json:
      return WyParseTraceJson(record, body);
    default:
      return ParseXml(record, body);
  }
}
