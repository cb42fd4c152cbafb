// The configuration side of CWyTraceData: its tables, and the trace configuration file.

#include <algorithm>
#include <atomic>
#include <new>
#include <span>
#include <utility>

#include "wyerrlog/WyFileUtil.h"
#include "wyerrlog/WyTraceData.h"

namespace {

// Bytes of a line that are parsed at a time; a longer line is parsed in pieces. The number (not
// 8192) is part of the file format: it decides where a long line is cut.
constexpr int PieceSize = 8092;
constexpr std::string_view Separators = ":, \t\n";
constexpr std::string_view Blanks = " \t";

constexpr unsigned int ComponentBits = 0xFF000000u;
constexpr unsigned int SubComponentBits = 0x00FF0000u;

// What a file of version 1.0 selects besides: it was written before these had names of their own.
struct Expansion {
  const char* pszSelected;
  std::array<const char*, 2> apszAdded;
};
constexpr std::array<Expansion, 2> Expansions = {{
    {"Login_Logout/Authentication", {"Login_Logout/Send_Response", "Login_Logout/Receive_Request"}},
    {"IsAuthorized", {"IsAuthorized/Send_Response", "IsAuthorized/Receive_Request"}},
}};

std::uint64_t NextConfigurationNumber() {
  static std::atomic<std::uint64_t> s_uLast{0};
  return ++s_uLast;
}

std::span<WyTraceComponentInfo> Entries(WyTraceComponentInfo* pComponents, int iCount) {
  return {pComponents, static_cast<size_t>(iCount)};
}

std::string_view SkipLeading(std::string_view text, std::string_view skipped) {
  const size_t uStart = text.find_first_not_of(skipped);
  return uStart == std::string_view::npos ? std::string_view() : text.substr(uStart);
}

// Takes a line apart at the separators; several in a row count as one.
class CpaLineTokens {
 public:
  explicit CpaLineTokens(std::string_view line) : m_rest(line) {}

  // The next token, empty when there is none.
  std::string_view Next() {
    const std::string_view text = SkipLeading(m_rest, Separators);
    const std::string_view token = text.substr(0, text.find_first_of(Separators));
    m_rest = text.substr(token.size());
    return token;
  }

  // What stands behind the last token and the one separator that ended it.
  std::string_view TextBehind() const { return m_rest.substr(m_rest.empty() ? 0 : 1); }

 private:
  std::string_view m_rest;
};

}  // namespace

// Reads the lines of one file, one after another, into a configuration.
class CWyTraceData::ConfigParser {
 public:
  explicit ConfigParser(CWyTraceData& data) : m_data(data) {}

  // False when the line ends the parsing because it is not what must stand here.
  bool ParseLine(std::string_view line);

  // To be called after the last line.
  void Finish();

 private:
  enum class Expected { Components, Data, Filters };

  void ParseVersion(CpaLineTokens& tokens);
  bool ParseStatement(std::string_view keyword, CpaLineTokens& tokens);
  bool SelectComponents(CpaLineTokens& tokens);
  void SelectFields(CpaLineTokens& tokens);
  void AddFilter(std::string_view name, std::string_view text);

  CWyTraceData& m_data;
  Expected m_expected = Expected::Components;
  bool m_bExpand = true;
};

bool CWyTraceData::ConfigParser::ParseLine(std::string_view line) {
  CpaLineTokens tokens(line);
  const std::string_view first = tokens.Next();
  if (first.empty() || first.front() == '#') return true;
  if (first == "version") {
    ParseVersion(tokens);
    return true;
  }
  return ParseStatement(first, tokens);
}

void CWyTraceData::ConfigParser::ParseVersion(CpaLineTokens& tokens) {
  if (tokens.Next().find("1.1") != std::string_view::npos) m_bExpand = false;
}

bool CWyTraceData::ConfigParser::ParseStatement(std::string_view keyword, CpaLineTokens& tokens) {
  switch (m_expected) {
    case Expected::Components:
      if (keyword != "components" || !SelectComponents(tokens)) return false;
      m_expected = Expected::Data;
      return true;
    case Expected::Data:
      if (keyword != "data") return false;
      SelectFields(tokens);
      m_expected = Expected::Filters;
      return true;
    case Expected::Filters:
      AddFilter(keyword, tokens.TextBehind());
      return true;
  }
  return false;
}

bool CWyTraceData::ConfigParser::SelectComponents(CpaLineTokens& tokens) {
  for (auto name = tokens.Next(); !name.empty(); name = tokens.Next()) {
    const WyTraceComponentInfo* pComponent = m_data.FindComponent(name);
    if (pComponent != nullptr && !m_data.MarkComponentTraced(pComponent->uId)) return false;
  }
  return true;
}

void CWyTraceData::ConfigParser::SelectFields(CpaLineTokens& tokens) {
  // A field is entered once, so the list cannot run over.
  unsigned int uPosition = 0;
  for (auto name = tokens.Next(); !name.empty(); name = tokens.Next()) {
    WyTraceDataFieldInfo* pField = m_data.FindField(name);
    if (pField == nullptr || pField->bTraced) continue;
    pField->bTraced = true;
    m_data.m_auFieldOrder[uPosition++] = static_cast<unsigned int>(pField - m_data.m_fields) + 1;
  }
}

void CWyTraceData::ConfigParser::AddFilter(std::string_view name, std::string_view text) {
  WyTraceDataFieldInfo* pField = m_data.FindField(name);
  if (pField == nullptr) return;

  text = SkipLeading(text.substr(0, text.find('\n')), Blanks);
  const std::string_view op = text.substr(0, 2);
  const std::string_view filter = text.substr(op.size());
  if (op == "==") m_data.SetFilter(*pField, Equal, filter);
  if (op == "!=") m_data.SetFilter(*pField, NotEqual, filter);
  if (op == "@@") m_data.SetFilter(*pField, Holds, filter);
  if (op == "!@") m_data.SetFilter(*pField, HoldsNot, filter);
}

void CWyTraceData::ConfigParser::Finish() {
  if (!m_bExpand) return;
  for (const Expansion& expansion : Expansions) {
    const WyTraceComponentInfo* pSelected = m_data.FindComponent(expansion.pszSelected);
    if (pSelected == nullptr || !m_data.ComponentSelected(pSelected->uId)) continue;
    for (const char* pszAdded : expansion.apszAdded) {
      const WyTraceComponentInfo* pAdded = m_data.FindComponent(pszAdded);
      if (pAdded != nullptr) m_data.MarkComponentTraced(pAdded->uId);
    }
  }
}

// ---- CWyTraceData -------------------------------------------------------------------------------

bool CWyTraceData::SetConfiguration(int iFormat, const char* pszDelimiter,
                                    const char* pszConfigFile, int iComponentCount,
                                    WyTraceComponentInfo* pComponentInfo,
                                    WyTraceDataFieldInfo* pDataFieldInfo, bool bUseLocalTime) {
  return SetTables(iFormat, pszDelimiter, iComponentCount, pComponentInfo, pDataFieldInfo,
                   bUseLocalTime) &&
         ReadConfigFile(pszConfigFile);
}

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
  CWyFile file;
  if (pszConfigFile == nullptr || !file.OpenFile(pszConfigFile, CWyFile::Read)) return false;
  try {
    StopSharing();
    m_uConfiguration = NextConfigurationNumber();
    ConfigParser parser(*this);
    char szLine[PieceSize + 1];
    while (file.ReadLine(szLine, PieceSize) > 0) {
      if (!parser.ParseLine(szLine)) return false;
    }
    parser.Finish();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void CWyTraceData::Shared::TakeNames() {
  auto pOwned = std::make_shared<std::vector<std::string>>();
  pOwned->reserve(components.size());  // the texts must not move
  for (WyTraceComponentInfo& component : components) {
    if (component.pszName != nullptr)
      component.pszName = pOwned->emplace_back(component.pszName).data();
  }
  pNames = std::move(pOwned);
}

// Records keep what they were given: what changes from here on is this object's own.
void CWyTraceData::StopSharing() {
  if (m_pShared == nullptr || m_pShared.use_count() == 1) return;
  m_pShared = std::make_shared<Shared>(*m_pShared);
  PointIntoShared();
}

void CWyTraceData::PointIntoShared() {
  m_pszDelimiter = m_pShared->delimiter ? m_pShared->delimiter->data() : nullptr;
  m_iComponentCount = static_cast<int>(m_pShared->components.size());
  m_pComponents = m_pShared->components.data();
  for (unsigned int uId = 0; uId < FieldCount; ++uId) {
    if (m_fields[uId].bFiltered) m_fields[uId].pszFilter = m_pShared->filters[uId].data();
  }
}

void CWyTraceData::SetFilter(WyTraceDataFieldInfo& field, FilterOperator filterOp,
                             std::string_view text) {
  std::string& strFilter = m_pShared->filters[static_cast<size_t>(&field - m_fields)];
  strFilter = text;
  field.pszFilter = strFilter.data();
  field.uFilterOp = filterOp;
  field.bFiltered = true;
}

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
