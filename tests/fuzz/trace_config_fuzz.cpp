// Feeds the trace configuration parser and the trace record.
//
// An input is a configuration file, then, behind a line "%%", the values of the data fields, one to
// a line. A value that begins with "*" is taken forty times, so that long values are cheap to find.
// Whatever the input says, every layout must show the same fields with the same values.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "test_support/TraceConfiguration.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, size_t uSize);

namespace {

using test_support::Line;

void Require(bool bHolds) {
  if (!bHolds) std::abort();
}

std::vector<std::string> SplitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t uEnd = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, uEnd));
    text.remove_prefix(std::min(uEnd + 1, text.size()));
  }
  return lines;
}

std::string Repeated(const std::string& strValue) {
  std::string strLong;
  for (int i = 0; i < 40; ++i) strLong += strValue;
  return strLong;
}

// Makes the record one of the configuration, which is then gone.
bool TakeOver(CWyTraceData& record, std::string_view config, int iFormat,
              const std::string& strDelimiter) {
  const auto pMaster = test_support::NewConfiguration(config, iFormat, strDelimiter.c_str());
  if (pMaster != nullptr) record = *pMaster;
  return pMaster != nullptr;
}

void SetValues(CWyTraceData& record, const std::vector<std::string>& values) {
  record.PopulateDateandTime();
  for (unsigned int uId = 0; uId <= CWyTraceData::FieldCount; ++uId) {
    const std::string strValue = uId < values.size() ? values[uId] : "";
    if (strValue.starts_with('*')) {
      record.SetFieldValue(uId, Repeated(strValue).c_str());
    } else if (strValue.starts_with('#')) {
      record.SetFieldValue(uId, std::atoi(strValue.c_str() + 1));
    } else if (strValue.starts_with('~')) {
      record.SetFieldValue(uId, std::atof(strValue.c_str() + 1));
    } else {
      record.SetFieldValue(uId, strValue.c_str());
    }
  }
  Require(!record.SetFieldValue(CWyTraceData::FieldCount, 0));
}

// The fields that a record shows, in its order.
std::vector<WyTraceDataFieldInfo*> ShownFields(CWyTraceData& data) {
  std::vector<WyTraceDataFieldInfo*> fields;
  std::string_view titles;
  const std::string strTitles = Line(data, 1);
  for (titles = strTitles; titles.starts_with('['); titles.remove_prefix(titles.find(']') + 1)) {
    const std::string strName(titles.substr(1, titles.find(']') - 1));
    fields.push_back(data.GetDataFieldInfo(strName.c_str()));
    Require(fields.back() != nullptr && fields.back()->bTraced);
    Require(std::count(fields.begin(), fields.end(), fields.back()) == 1);
  }
  Require(titles == "\n");
  return fields;
}

std::string Expected(int iFormat, const std::string& strDelimiter,
                     const std::vector<WyTraceDataFieldInfo*>& fields) {
  std::string strLine = iFormat == 3 ? "<TraceMessage>\n" : "";
  for (const WyTraceDataFieldInfo* pField : fields) {
    const std::string strValue = pField->pszValue;
    const std::string strName = pField->pszName;
    const bool bFirst = pField == fields.front();
    if (iFormat == 0) strLine += "[" + strValue + "]";
    if (iFormat == 1) {
      std::string strColumn = strValue;
      strColumn.resize(pField->uWidth, ' ');
      strLine += (bFirst ? "" : "  ") + strColumn;
    }
    if (iFormat == 2) strLine += (bFirst ? "" : strDelimiter) + strValue;
    if (iFormat == 3) {
      strLine.append("\t<").append(strName).append(">").append(strValue);
      strLine.append("</").append(strName).append(">\n");
    }
  }
  return strLine + (iFormat == 3 ? "</TraceMessage>\n" : "\n");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, size_t uSize) {
  const std::string_view input(reinterpret_cast<const char*>(pData), uSize);
  const size_t uConfigEnd = std::min(input.find("%%\n"), uSize);
  const std::string_view config = input.substr(0, uConfigEnd);
  const auto values = SplitLines(input.substr(std::min(uConfigEnd + 3, uSize)));
  const std::string strDelimiter = values.empty() ? "|" : values.front().c_str();

  CWyTraceData record;
  if (!TakeOver(record, config, 0, strDelimiter)) return 0;
  const auto fields = ShownFields(record);
  SetValues(record, values);
  Require(Line(record, 0) == Expected(0, strDelimiter, fields));

  const int iFormat = 1 + static_cast<int>(uSize % 4);
  Require(TakeOver(record, config, iFormat, strDelimiter));
  Require(Line(record, 0) == Expected(iFormat, strDelimiter, fields));
  Require((Line(record, 2) == "(refused)") == (iFormat == 3));

  record.FormatTraceMessage("%s", std::string(input).c_str());
  record.LeaveNoBody();
  for (const WyTraceDataFieldInfo* pField : fields) Require(*pField->pszValue == '\0');
  return 0;
}
