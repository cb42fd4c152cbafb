// Feeds the trace configuration parser: the input is the file. Whatever it says, what was selected
// is consistent.

#include <algorithm>
#include <string_view>

#include "fuzz/FuzzInput.h"
#include "test_support/TraceConfiguration.h"

namespace {

using fuzz::Require;

void CheckFilter(const WyTraceDataFieldInfo& field) {
  Require(field.bFiltered == (field.pszFilter != nullptr));
  if (!field.bFiltered) return;
  Require(std::string_view(field.pszFilter).find('\n') == std::string_view::npos);
  Require(std::string_view("\1\2\7\10").find(static_cast<char>(field.uFilterOp)) < 4);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  const auto pMaster = test_support::NewConfiguration(fuzz::Text(pData, uSize));
  if (pMaster == nullptr) return 0;
  const std::string strTitles = test_support::Line(*pMaster, 1);
  std::ptrdiff_t nTraced = 0;
  for (unsigned int uId = 0; uId < CWyTraceData::FieldCount; ++uId) {
    const WyTraceDataFieldInfo& field = *pMaster->GetDataFieldInfo(uId);
    const bool bShown = strTitles.find("[" + std::string(field.pszName) + "]") != std::string::npos;
    Require(field.bTraced == bShown);
    nTraced += field.bTraced ? 1 : 0;
    CheckFilter(field);
  }
  Require(std::count(strTitles.begin(), strTitles.end(), '[') == nTraced);
  return 0;
}
