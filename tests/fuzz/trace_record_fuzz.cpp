// Feeds records with filters in all layouts.
//
// The first line is the layout's number (8 or "J" for Json) and the separator of layout 2. Each
// further line is a field, with tabs between its parts:
//
//   <name> TAB <how the value is given> TAB <operator> TAB <filter text> TAB <value>
//
// The fields are selected in this order. Every value must pass its filter exactly when it should,
// and the record must show the last values of the selected fields as the layout says.

#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "fuzz/FuzzInput.h"
#include "test_support/TraceConfiguration.h"

namespace {

using fuzz::Require;

struct InputField {
  WyTraceDataFieldInfo info;
  char cKind;
  std::string strOperator;
  std::string strFilter;
  std::string strValue;
};

// The lines that name known fields, each at its first mention.
std::vector<InputField> ReadFields(std::string_view lines) {
  static const auto known = test_support::DataFieldTable();
  std::set<unsigned int> seen;
  std::vector<InputField> fields;
  while (!lines.empty()) {
    std::string_view line = fuzz::Take(lines, '\n');
    const std::string_view name = fuzz::Take(line, '\t');
    for (const WyTraceDataFieldInfo& info : known) {
      if (name != info.pszName || !seen.insert(info.uId).second) continue;
      const std::string_view kind = fuzz::Take(line, '\t');
      const std::string strOperator = fuzz::Argument(fuzz::Take(line, '\t'));
      // Short of the length at which the parser takes a line in pieces.
      const std::string strFilter = fuzz::Argument(fuzz::Take(line, '\t')).substr(0, 4000);
      fields.push_back(
          {info, kind.empty() ? 't' : kind[0], strOperator, strFilter, fuzz::Argument(line)});
    }
  }
  return fields;
}

bool IsFiltered(const InputField& field) {
  const std::string& strOperator = field.strOperator;
  return strOperator == "==" || strOperator == "!=" || strOperator == "@@" || strOperator == "!@";
}

bool Passes(const InputField& field, const std::string& strValue) {
  const bool bHolds = strValue.find(field.strFilter) != std::string::npos;
  if (field.strOperator == "==") return strValue == field.strFilter;
  if (field.strOperator == "!=") return strValue != field.strFilter;
  if (field.strOperator == "@@") return bHolds;
  return !IsFiltered(field) || !bHolds;
}

std::string Configuration(const std::vector<InputField>& fields) {
  std::string strConfig = "components Log\ndata";
  for (const InputField& field : fields) strConfig.append(" ").append(field.info.pszName);
  for (const InputField& field : fields) {
    if (!IsFiltered(field)) continue;
    strConfig.append("\n").append(field.info.pszName).append(" ");
    strConfig.append(field.strOperator).append(field.strFilter);
  }
  return strConfig + "\n";
}

// Sets the field's value as given; returns the text that is expected in the record.
std::string SetValue(CWyTraceData& record, const InputField& field, bool& bPassed) {
  constexpr unsigned int FirstWithoutMeaning = 8;
  const unsigned int uId = field.info.uId;
  const int iValue = std::atoi(field.strValue.c_str());
  switch (uId < FirstWithoutMeaning ? 't' : field.cKind) {
    case 'i':
      bPassed = record.SetFieldValue(uId, iValue);
      return std::to_string(iValue);
    case 'u':
      bPassed = record.SetFieldValue(uId, static_cast<unsigned int>(iValue));
      return std::to_string(static_cast<unsigned int>(iValue));
    case 'f':
      bPassed = record.SetFieldValue(uId, std::atof(field.strValue.c_str()));
      return std::to_string(std::atof(field.strValue.c_str()));
    case 'b':
      bPassed = record.SetFieldValue(uId, iValue != 0);
      return iValue != 0 ? "true" : "false";
    case 'n':
      bPassed = record.SetFieldValue(uId, static_cast<const char*>(nullptr));
      return "";
    default:
      bPassed = record.SetFieldValue(uId, field.strValue.c_str());
      return uId == 1 ? field.strValue.substr(0, 1023) : field.strValue;
  }
}

struct Layout {
  int iFormat;
  std::string strDelimiter;
};

std::string Column(const InputField& field, std::string strText, const Layout& layout) {
  const std::string strName = field.info.pszName;
  switch (layout.iFormat) {
    case 0:
      return "[" + strText + "]";
    case 1:
      strText.resize(field.info.uWidth, ' ');
      return strText;
    case 2:
      return strText;
    case 3:
      return "\t<" + strName + ">" + strText + "</" + strName + ">\n";
    default:
      return "";
  }
}

// The line with these texts of the fields.
std::string Expected(const std::vector<InputField>& fields, const std::vector<std::string>& texts,
                     const Layout& layout) {
  const int iFormat = layout.iFormat;
  const std::string strBetween = iFormat == 1 ? "  " : iFormat == 2 ? layout.strDelimiter : "";
  std::string strLine = iFormat == 3 ? "<TraceMessage>\n" : "";
  for (std::size_t i = 0; i < fields.size(); ++i) {
    strLine += (i == 0 ? "" : strBetween) + Column(fields[i], texts[i], layout);
  }
  return strLine + (iFormat == 3 ? "</TraceMessage>\n" : "\n");
}

// What JSON shows of a text: each byte that is no UTF-8 replaced.
nlohmann::json Replaced(const std::string& strText) {
  using nlohmann::json;
  const std::string strJson = json(strText).dump(-1, ' ', false, json::error_handler_t::replace);
  return json::parse(strJson);
}

// U+FFFD once for what was replaced, however many bytes it had.
std::string Normalized(const nlohmann::json& value) {
  std::string strText = value.get<std::string>();
  constexpr std::string_view Twice = "\xEF\xBF\xBD\xEF\xBF\xBD";
  for (std::size_t u; (u = strText.find(Twice)) != std::string::npos;) strText.erase(u, 3);
  return strText;
}

// One line, one object, one member for each field: of the type with which it was set.
void CheckJson(CWyTraceData& record, const std::vector<InputField>& fields,
               const std::vector<std::string>& values) {
  const std::string strLine = test_support::Line(record, WyTraceLine::Values);
  Require(strLine.find('\n') == strLine.size() - 1);
  const auto object = nlohmann::json::parse(strLine);
  std::size_t uShown = 0;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    ++uShown;
    const auto& value = object.at(fields[i].info.pszName);
    const char cKind = fields[i].info.uId < 8 ? 't' : fields[i].cKind;
    const bool bFinite = values[i].find_first_of("in") == std::string::npos;  // "inf", "nan"
    if (cKind == 'b') {
      Require(value.is_boolean() && value.dump() == values[i]);
    } else if (cKind == 'i' || cKind == 'u' || (cKind == 'f' && bFinite)) {
      Require(value.is_number() && value == nlohmann::json::parse(values[i]));
    } else {
      Require(Normalized(value) == Normalized(Replaced(values[i])));
    }
  }
  Require(object.size() == uShown);
  for (const int iMode : {1, 2, 3}) Require(test_support::Line(record, iMode) == "(refused)");
}

// The titles, and the lines of dashes and of equals signs under them.
void CheckTitles(CWyTraceData& record, const std::vector<InputField>& fields,
                 const Layout& layout) {
  for (const int iMode : {1, 2, 3}) {
    std::vector<std::string> texts;
    for (const InputField& field : fields) {
      const std::string strName = field.info.pszName;
      const std::size_t uLength = layout.iFormat == 1 ? field.info.uWidth : strName.size();
      texts.push_back(iMode == 1 ? strName : std::string(uLength, iMode == 2 ? '-' : '='));
    }
    Require(test_support::Line(record, iMode) ==
            (layout.iFormat == 3 ? "(refused)" : Expected(fields, texts, layout)));
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  std::string_view input = fuzz::Text(pData, uSize);
  const std::string strLayout = fuzz::Argument(fuzz::Take(input, '\n'));
  const bool bJson = strLayout.starts_with('8') || strLayout.starts_with('J');
  const int iNumber = strLayout.empty() ? 0 : (strLayout[0] & 7);
  const Layout layout{bJson ? WyTraceLayout::Json : iNumber,
                      strLayout.empty() ? "" : strLayout.substr(1)};
  const auto fields = ReadFields(input);

  CWyTraceData record;
  {
    const auto pMaster = test_support::NewConfiguration(Configuration(fields), layout.iFormat,
                                                        layout.strDelimiter.c_str());
    Require(pMaster != nullptr);
    record = *pMaster;
  }
  std::vector<std::string> values;
  for (const InputField& field : fields) {
    bool bPassed = false;
    values.push_back(SetValue(record, field, bPassed));
    Require(bPassed == Passes(field, values.back()));
  }
  if (bJson) {
    CheckJson(record, fields, values);
  } else {
    Require(test_support::Line(record, 0) == Expected(fields, values, layout));
    CheckTitles(record, fields, layout);
  }

  record.LeaveNoBody();
  for (const InputField& field : fields) {
    Require(*record.GetDataFieldInfo(field.info.uId)->pszValue == '\0');
  }
  return 0;
}
