// The configuration side of CWyTraceData: its tables, and what the parser of the trace
// configuration file enters into them.

#include <algorithm>
#include <atomic>
#include <new>
#include <span>
#include <utility>

#include "wyerrlog/WyFileUtil.h"
#include "wyerrlog/WyTraceData.h"
#include "wyerrlog/internal/WyTraceConfigParser.h"

namespace {

// The layout of identifiers: component, sub-component, and 16 bits that traces do not use. Programs
// are compiled with them; they cannot change.
constexpr unsigned int ComponentBits = 0xFF000000u;
constexpr unsigned int SubComponentBits = 0x00FF0000u;

// One sequence for the whole process: a record compares its number with its master's, and two
// configurations must never have the same one. 0 is for none.
std::uint64_t NextConfigurationNumber() {
  static std::atomic<std::uint64_t> s_uLast{0};
  return ++s_uLast;
}

std::span<WyTraceComponentInfo> Entries(WyTraceComponentInfo* pComponents, int iCount) {
  return {pComponents, static_cast<size_t>(iCount)};
}

}  // namespace

// A configuration as the parser sees it. It keeps the parser free of CWyTraceData, and is alive
// only while the file is read.
class CWyTraceConfigEntries : public CWyTraceConfigTarget {
 public:
  explicit CWyTraceConfigEntries(CWyTraceData& data) : m_data(data) {}

  std::span<const WyTraceComponentInfo> Components() const override {
    return Entries(m_data.m_pComponents, m_data.m_iComponentCount);
  }
  std::span<const WyTraceDataFieldInfo> Fields() const override { return m_data.m_fields; }
  const WyTraceComponentInfo* FindComponent(std::string_view name) const override {
    return m_data.FindComponent(name);
  }
  const WyTraceDataFieldInfo* FindField(std::string_view name) const override {
    return m_data.FindField(name);
  }
  void SelectComponent(const WyTraceComponentInfo& component) override {
    m_data.MarkComponentTraced(component.uId);
  }
  // A field is entered once, so the list cannot run over.
  bool SelectField(const WyTraceDataFieldInfo& field) override {
    if (field.bTraced) return false;
    const auto uIndex = static_cast<unsigned int>(&field - m_data.m_fields);
    m_data.m_fields[uIndex].bTraced = true;
    // Entries are numbers plus 1, so that the zeros of an unused list end it.
    m_data.m_auFieldOrder[m_uPosition++] = uIndex + 1;
    return true;
  }
  void SetFilter(const WyTraceDataFieldInfo& field, WyTraceFilter::Operator op,
                 std::string_view text) override {
    m_data.SetFilter(m_data.m_fields[&field - m_data.m_fields], op, text);
  }

 private:
  CWyTraceData& m_data;
  unsigned int m_uPosition = 0;  // in the list of shown fields
};

bool CWyTraceData::SetConfiguration(int iFormat, const char* pszDelimiter,
                                    const char* pszConfigFile, int iComponentCount,
                                    WyTraceComponentInfo* pComponentInfo,
                                    WyTraceDataFieldInfo* pDataFieldInfo, bool bUseLocalTime) {
  return SetTables(iFormat, pszDelimiter, iComponentCount, pComponentInfo, pDataFieldInfo,
                   bUseLocalTime) &&
         ReadConfigFile(pszConfigFile);
}

// All that can fail comes before the first member is changed: on failure the object is as before.
bool CWyTraceData::SetTables(int iFormat, const char* pszDelimiter, int iComponentCount,
                             const WyTraceComponentInfo* pComponentInfo,
                             const WyTraceDataFieldInfo* pDataFieldInfo, bool bUseLocalTime) {
  if (pComponentInfo == nullptr || pDataFieldInfo == nullptr || iComponentCount < 0) return false;

  try {
    auto pShared = std::make_shared<Shared>();
    if (pszDelimiter != nullptr) pShared->delimiter = pszDelimiter;
    pShared->components.assign(pComponentInfo, pComponentInfo + iComponentCount);
    pShared->TakeNames();
    m_pShared = std::move(pShared);
  } catch (const std::bad_alloc&) {
    return false;
  }

  ClearValues();
  TakeOverFields(pDataFieldInfo);
  std::fill_n(m_auFieldOrder, FieldCount, 0u);
  m_bMaster = true;
  m_bValid = true;
  m_nTraceFormat = iFormat;
  m_bUseLocalTime = bUseLocalTime;
  PointIntoShared();
  return true;
}

bool CWyTraceData::ReadConfigFile(const char* pszConfigFile) {
  return ReadConfigFile(pszConfigFile, nullptr);
}

// The file is opened before anything is changed, so that a wrong path leaves the configuration as
// it is. A file that the parser refuses leaves what was selected before the refused line; the
// caller discards the object then.
bool CWyTraceData::ReadConfigFile(const char* pszConfigFile, CWyTraceConfigObserver* pObserver) {
  CWyFile file;
  if (pszConfigFile == nullptr || !file.OpenFile(pszConfigFile, CWyFile::Read)) return false;
  try {
    // From here on records that were copied from this object keep the old tables; the new number
    // makes them copy again when they are reused.
    StopSharing();
    m_uConfiguration = NextConfigurationNumber();
    CWyTraceConfigEntries entries(*this);
    const bool bRead = CWyTraceConfigParser(entries, pObserver).Read(file);
    ListShownFields();
    return bRead;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// What each record would otherwise compute again: the order of the fields, their widths, and the
// tags around each value. The sizes let a record reserve its text once.
void CWyTraceData::ListShownFields() {
  if (m_pShared == nullptr) return;
  Shared& shared = *m_pShared;
  shared.shown.clear();
  shared.uColumnsSize = 0;
  for (const unsigned int uEntry : m_auFieldOrder) {
    if (uEntry == 0) break;
    const WyTraceDataFieldInfo& field = m_fields[uEntry - 1];
    const auto iWidth = static_cast<int>(field.uWidth);
    const unsigned int uWidth = iWidth > 0 ? field.uWidth : 0;
    shared.uColumnsSize += uWidth + (shared.shown.empty() ? 0 : ColumnGap);
    shared.shown.push_back({uEntry - 1, uWidth, {}});
  }
  ListTexts();
}

// The texts before, between and behind the values, in the layouts that consist of nothing else.
void CWyTraceData::ListTexts() {
  Shared& shared = *m_pShared;
  const bool bXml = m_nTraceFormat == WyTraceLayout::Xml;
  const bool bBrackets = m_nTraceFormat == WyTraceLayout::Brackets;
  std::string strBehind = bXml ? "<" + std::string(XmlElement) + ">\n" : "";
  shared.strEnd.clear();
  shared.uTextsSize = 0;
  if (!bXml && !bBrackets && m_nTraceFormat != WyTraceLayout::Delimited) return;
  for (Shared::ShownField& shown : shared.shown) {
    const std::string strName = m_fields[shown.uId].pszName;
    shown.strBefore = strBehind + (bXml ? "\t<" + strName + '>' : bBrackets ? "[" : "");
    shared.uTextsSize += shown.strBefore.size();
    strBehind = bXml ? "</" + strName + ">\n" : bBrackets ? "]" : shared.delimiter.value_or("");
  }
  if (shared.shown.empty()) return;
  if (bXml) strBehind += "</" + std::string(XmlElement) + '>';
  shared.strEnd = (m_nTraceFormat == WyTraceLayout::Delimited ? "" : strBehind) + '\n';
  shared.uTextsSize += shared.strEnd.size();
}

// The caller's names may be on its stack or in a library that is unloaded. They are shared by all
// copies of Shared, since StopSharing copies the table with its pointers.
void CWyTraceData::Shared::TakeNames() {
  auto pOwned = std::make_shared<std::vector<std::string>>();
  pOwned->reserve(components.size());  // the texts must not move
  for (WyTraceComponentInfo& component : components) {
    if (component.pszName != nullptr)
      component.pszName = pOwned->emplace_back(component.pszName).data();
  }
  pNames = std::move(pOwned);
}

// Copies what records share, unless this object is alone with it. Other threads may be formatting
// records with the former tables; they keep them alive, and nothing in them changes any more.
void CWyTraceData::StopSharing() {
  if (m_pShared == nullptr || m_pShared.use_count() == 1) return;
  m_pShared = std::make_shared<Shared>(*m_pShared);
  PointIntoShared();
}

// Members of the interface's plain structures are pointers into m_pShared: after each replacement
// of it they must be set anew, or they dangle when the last record with the old one is gone.
void CWyTraceData::PointIntoShared() {
  m_pszDelimiter = m_pShared->delimiter ? m_pShared->delimiter->data() : nullptr;
  m_iComponentCount = static_cast<int>(m_pShared->components.size());
  m_pComponents = m_pShared->components.data();
  for (unsigned int uId = 0; uId < FieldCount; ++uId) {
    if (m_fields[uId].bFiltered) m_fields[uId].pszFilter = m_pShared->filters[uId].data();
  }
}

void CWyTraceData::SetFilter(WyTraceDataFieldInfo& field, unsigned int uOperator,
                             std::string_view text) {
  std::string& strFilter = m_pShared->filters[static_cast<size_t>(&field - m_fields)];
  strFilter = text;
  field.pszFilter = strFilter.data();
  field.uFilterOp = uOperator;
  field.bFiltered = true;
}

// The identifier of a component, without bits of a sub-component, marks all of its sub-components;
// one of a sub-component marks exactly that.
bool CWyTraceData::MarkComponentTraced(unsigned int uId) {
  if (m_pShared == nullptr) return false;
  const bool bSingle = (uId & ComponentBits) != 0 && (uId & SubComponentBits) != 0;
  for (WyTraceComponentInfo& component : Entries(m_pComponents, m_iComponentCount)) {
    if (component.uId == uId) {
      component.bTraced = true;
      if (bSingle) break;
    } else if ((component.uId & ComponentBits) == uId) {
      component.bTraced = true;
    }
  }
  return true;
}

WyTraceComponentInfo* CWyTraceData::GetComponentInfo(unsigned int uId) {
  for (WyTraceComponentInfo& component : Entries(m_pComponents, m_iComponentCount)) {
    if (component.uId == uId) return &component;
  }
  return nullptr;
}

WyTraceComponentInfo* CWyTraceData::GetComponentInfo(const char* pszName) {
  return pszName == nullptr ? nullptr : FindComponent(pszName);
}

WyTraceComponentInfo* CWyTraceData::FindComponent(std::string_view name) {
  for (WyTraceComponentInfo& component : Entries(m_pComponents, m_iComponentCount)) {
    if (component.pszName != nullptr && name == component.pszName) return &component;
  }
  return nullptr;
}

WyTraceDataFieldInfo* CWyTraceData::GetDataFieldInfo(unsigned int uId) {
  return uId < FieldCount ? &m_fields[uId] : nullptr;
}

WyTraceDataFieldInfo* CWyTraceData::GetDataFieldInfo(const char* pszName) {
  return pszName == nullptr ? nullptr : FindField(pszName);
}

WyTraceDataFieldInfo* CWyTraceData::FindField(std::string_view name) {
  for (WyTraceDataFieldInfo& field : m_fields) {
    if (field.pszName != nullptr && name == field.pszName) return &field;
  }
  return nullptr;
}

bool CWyTraceData::ComponentSelected(unsigned int uId) {
  const WyTraceComponentInfo* pComponent = GetComponentInfo(uId);
  return pComponent != nullptr && pComponent->bTraced;
}
