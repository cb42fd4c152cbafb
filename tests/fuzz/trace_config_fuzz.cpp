// Feeds the trace configuration parser: the input is the file. Whatever it says, what was selected
// is consistent and every layout can show it.

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "test_support/TraceConfiguration.h"

namespace {

using fuzz::Require;
using test_support::Line;

// The fields that the record shows, in its order: known, selected, and none twice.
std::vector<WyTraceDataFieldInfo*> ShownFields(CWyTraceData& data) {
  std::vector<WyTraceDataFieldInfo*> fields;
  const std::string strTitles = Line(data, 1);
  std::string_view titles = strTitles;
  for (; titles.starts_with('['); titles.remove_prefix(titles.find(']') + 1)) {
    const std::string strName(titles.substr(1, titles.find(']') - 1));
    fields.push_back(data.GetDataFieldInfo(strName.c_str()));
    Require(fields.back() != nullptr && fields.back()->bTraced);
    Require(std::count(fields.begin(), fields.end(), fields.back()) == 1);
  }
  Require(titles == "\n");
  return fields;
}

void CheckFilters(CWyTraceData& data) {
  for (unsigned int uId = 0; uId < CWyTraceData::FieldCount; ++uId) {
    const WyTraceDataFieldInfo& field = *data.GetDataFieldInfo(uId);
    Require(field.bFiltered == (field.pszFilter != nullptr));
    if (!field.bFiltered) continue;
    Require(std::string_view(field.pszFilter).find('\n') == std::string_view::npos);
    const unsigned int auOperators[] = {1, 2, 7, 8};
    Require(std::count(std::begin(auOperators), std::end(auOperators), field.uFilterOp) == 1);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  const std::string_view config = fuzz::Text(pData, uSize);
  const auto pMaster = test_support::NewConfiguration(config);
  if (pMaster == nullptr) return 0;
  CheckFilters(*pMaster);
  const auto fields = ShownFields(*pMaster);
  for (unsigned int uId = 0; uId < CWyTraceData::FieldCount; ++uId) {
    const bool bShown =
        std::find(fields.begin(), fields.end(), pMaster->GetDataFieldInfo(uId)) != fields.end();
    Require(pMaster->FieldTraced(uId) == bShown);
  }

  const int iFormat = 1 + static_cast<int>(uSize % 4);
  const auto pOther = test_support::NewConfiguration(config, iFormat, "|");
  Require(pOther != nullptr);
  Require((Line(*pOther, 1) == "(refused)") == (iFormat == 3));
  Require(Line(*pOther, 1).size() == Line(*pOther, 2).size());
  return 0;
}
