// Feeds the trace configuration parser: the input is the file. Whatever it says, what was selected
// is consistent, and the findings are what the parser did.

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "test_support/TraceConfiguration.h"
#include "wyerrlog/internal/WyTraceConfigReading.h"
#include "wyerrlog/internal/WyTraceFindings.h"

namespace {

using fuzz::Require;
using test_support::Line;

void CheckFilter(const WyTraceDataFieldInfo& field) {
  Require(field.bFiltered == (field.pszFilter != nullptr));
  if (!field.bFiltered) return;
  Require(std::string_view(field.pszFilter).find('\n') == std::string_view::npos);
  Require(std::string_view("\1\2\7\10").find(static_cast<char>(field.uFilterOp)) < 4);
}

// The text of the file at a finding's place.
std::string_view TextAt(std::string_view config, const WyTraceFinding& finding) {
  for (unsigned int u = 1; u < finding.uLine; ++u) config.remove_prefix(config.find('\n') + 1);
  return config.substr(finding.uColumn - 1, finding.strWord.size());
}

// The parser does with an observer what it does without one, and the effects are all that it did.
void CheckFindings(std::string_view config, CWyTraceData* pUnobserved) {
  const test_support::InMemoryFile file(config);
  const auto components = test_support::ComponentTable();
  const auto fields = test_support::DataFieldTable();
  std::vector<WyTraceFinding> findings;
  CWyTraceFindings observer(findings);
  const auto pData = std::make_unique<CWyTraceData>();
  const bool bRead = CWyTraceConfigReading::Configure(*pData, 0, nullptr, file.Path(), components,
                                                      fields.data(), &observer);
  Require(observer.Finish(nullptr) == bRead && bRead == (pUnobserved != nullptr));
  if (bRead) Require(Line(*pData, 1) == Line(*pUnobserved, 1));

  std::size_t uComponents = 0, uFields = 0, uFilters = 0;
  for (const WyTraceFinding& finding : findings) {
    if (finding.uLine > 0) Require(TextAt(config, finding) == finding.strWord);
    if (finding.level != WyTraceLevel::Effect) continue;
    uFields += finding.strCode == "T002" && pData->FieldTraced(finding.uId);
    uFilters += finding.strCode == "T003" && pData->FieldFiltered(finding.uId);
    uComponents += finding.strCode != "T002" && finding.strCode != "T003" &&
                   pData->ComponentSelected(finding.uId);
  }
  for (const auto& component : components) uComponents -= pData->ComponentSelected(component.uId);
  for (unsigned int uId = 0; uId < CWyTraceData::FieldCount; ++uId) {
    uFields -= pData->FieldTraced(uId);
    uFilters -= pData->FieldFiltered(uId);
  }
  Require(uComponents == 0 && uFields == 0 && uFilters == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  const std::string_view config = fuzz::Text(pData, uSize);
  const auto pMaster = test_support::NewConfiguration(config);
  CheckFindings(config, pMaster.get());
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
