// A catalog has three states: loaded (look-ups find nothing yet), open, closed. It is filled before
// it opens and changes only after it has closed, which is why look-ups need no lock: they test
// m_bOpen inside the read-side section, and Close waits for that section.

#include "wyerrlog/internal/WyMessageCatalog.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/WyLogComponent.h"
#include "wyerrlog/internal/WyComponentLibrary.h"
#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyMissingLibraries.h"
#include "wyerrlog/internal/WyNoThrow.h"

namespace {

constexpr std::string_view ComponentSeparator = " | ";

// A text that a component does not have is shown as an empty one.
const char* OrEmpty(const char* pszText) { return pszText != nullptr ? pszText : ""; }

// Appends a component with its sub-components. Returns false if the component throws.
bool AddComponent(CWyErrLogComponent& component, WyComponentTable& table) {
  int iCount = 0;
  const WyErrSubComponentInfo* pList = nullptr;
  const bool bListed = WyCallPlugIn(false, [&] {
    component.GetSubComponents(&iCount, &pList);
    return true;
  });
  if (!bListed) return false;

  // Nothing is appended before the plug-in has returned its sub-components: one that throws leaves
  // no half entry.
  const unsigned int uId = component.GetComponentID();
  const std::string strName = OrEmpty(component.GetComponentName());
  std::string& strList = table.strText;
  strList.append(strName).append(" ; ").append(OrEmpty(component.GetComponentDescription()));
  table.Add(uId, strName);
  if (iCount != 0) strList.append(" : ");
  for (int i = 0; i < iCount; ++i) {
    // The plug-in's array may be filled to the last byte, without a terminator.
    const std::string strSubName(pList[i].szName, strnlen(pList[i].szName, sizeof pList[i].szName));
    strList.append(strSubName).append(" ; ").append(OrEmpty(pList[i].pszDescription));
    if (i + 1 < iCount) strList.append("&");
    table.Add(static_cast<unsigned int>(i + 1) << 16 | uId, strName + '/' + strSubName);
  }
  strList.append(ComponentSeparator);
  return true;
}

// A plug-in that throws has no message: neither the exception nor its object may outlive the call,
// since the library may be closed next.
const char* KeyOf(CWyErrLogComponent& component, unsigned int uId) {
  return WyCallPlugIn<const char*>(nullptr,
                                   [&component, uId] { return component.FetchMessage(uId); });
}

}  // namespace

constinit std::atomic<const CWyMessageCatalog*> CWyMessageCatalog::s_pOfProcess{nullptr};
constinit std::atomic<unsigned long> CWyMessageCatalog::s_uGeneration{0};

CWyMessageCatalog::~CWyMessageCatalog() { ReleaseComponents(); }

// ---- Filling and emptying -----------------------------------------------------------------------

// All or nothing: a catalog with a part of its components would report messages as missing for as
// long as the logger is initialised.
bool CWyMessageCatalog::Load(bool bLibraries) {
  const bool bLoaded = WyNoThrow(false, [this, bLibraries] {
    LoadComponents(bLibraries);
    return true;
  });
  if (bLoaded && BuildLists()) return true;
  ReleaseComponents();
  ClearLists();
  return false;
}

void CWyMessageCatalog::LoadComponents(bool bLibraries) {
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&m_iSlotCount, &ppszNames);
  m_ppComponents.reset(new CWyErrLogComponent*[static_cast<std::size_t>(m_iSlotCount)]());
  // Slot 0 is never loaded from a library, whatever the table says: a process without plug-ins has
  // the built-in component all the same.
  m_ppComponents[0] = new CWyLogComponent;
  if (!bLibraries) return;
  CWyMissingLibraries missing;
  for (std::size_t i = 1; i < static_cast<std::size_t>(m_iSlotCount); ++i) {
    if (missing.Includes(i)) continue;
    m_ppComponents[i] = WyLoadComponentLibrary(ppszNames[i]);
    if (m_ppComponents[i] == nullptr) missing.Add(i, ppszNames[i]);
  }
  missing.Remember();
}

void CWyMessageCatalog::Open() {
  BeginGeneration();
  m_bOpen = true;
}

// From slot 1 on: the built-in component is in no library of its own.
bool CWyMessageCatalog::HasLibraries() const {
  return std::any_of(m_ppComponents.get() + 1, m_ppComponents.get() + m_iSlotCount,
                     [](const CWyErrLogComponent* pComponent) { return pComponent != nullptr; });
}

// The order matters: look-ups are turned away, those under way end, and only then the code that
// they may be calling is unloaded. Unloading a library takes its components out of the memory, so
// nothing of them is read afterwards.
void CWyMessageCatalog::Close(bool bUnloadLibraries) {
  m_bOpen = false;
  BeginGeneration();
  {
    // A reader may be a thread that forks, and that fork would wait for this thread.
    const CWyForkGate::Outside outside;
    m_readSide.WaitForReaders();
  }
  for (int i = 1; bUnloadLibraries && i < m_iSlotCount; ++i) {
    CWyErrLogComponent* const pComponent = m_ppComponents[static_cast<std::size_t>(i)];
    if (pComponent != nullptr) WyUnloadComponentLibrary(*pComponent);
  }
  ReleaseComponents();
}

void CWyMessageCatalog::ReleaseComponents() {
  if (m_ppComponents != nullptr) delete m_ppComponents[0];
  m_ppComponents.reset();
  m_iSlotCount = 0;
}

// ---- Look-ups -----------------------------------------------------------------------------------

// A caller that Close may overtake stays inside the read-side section while it uses what it finds;
// any other orders its calls and the release itself. The number in an identifier may be any.
CWyErrLogComponent* CWyMessageCatalog::FindComponent(unsigned int uId) const {
  if (!m_bOpen) return nullptr;
  const unsigned int uNumber = WyComponentNumber(uId);
  if (uNumber == 0 || uNumber > static_cast<unsigned int>(m_iSlotCount)) return nullptr;
  return m_ppComponents[uNumber - 1];
}

const char* CWyMessageCatalog::FetchMsg(unsigned int uId) const {
  CWyErrLogComponent* const pComponent = FindComponent(uId);
  return pComponent != nullptr ? KeyOf(*pComponent, uId) : nullptr;
}

WyMessageSource CWyMessageCatalog::FindMessage(unsigned int uId) const {
  CWyErrLogComponent* const pComponent = FindComponent(uId);
  if (pComponent == nullptr) return {nullptr, nullptr};
  return {pComponent->GetComponentAbbrName(), KeyOf(*pComponent, uId)};
}

const char* CWyMessageCatalog::GetMsgBundle(unsigned int uId) const {
  const CWyErrLogComponent* const pComponent = FindComponent(uId);
  return pComponent != nullptr ? pComponent->GetComponentAbbrName() : nullptr;
}

const char* CWyMessageCatalog::AvailableComponents() const {
  return m_pTable != nullptr && !m_pTable->strText.empty() ? m_pTable->strText.c_str() : nullptr;
}

const char* CWyMessageCatalog::AvailableDataFields() const {
  return m_pFields != nullptr ? m_pFields->strText.c_str() : nullptr;
}

const WyTraceComponentInfo* CWyMessageCatalog::ComponentInfo() const {
  return m_bOpen && m_pTable != nullptr ? m_pTable->rows.data() : nullptr;
}

int CWyMessageCatalog::ComponentInfoCount() const {
  return m_pTable != nullptr ? static_cast<int>(m_pTable->rows.size()) : 0;
}

const WyTraceDataFieldInfo* CWyMessageCatalog::DataFieldInfo() const {
  return m_pFields != nullptr ? m_pFields->pRows.get() : nullptr;
}

// ---- What trace configurations can select -------------------------------------------------------

bool CWyMessageCatalog::BuildLists() {
  return WyNoThrow(false, [this] {
    m_pFields = &WyKnownFields();
    BuildComponentList();
    return true;
  });
}

// The list is "name ; description : sub-name ; sub-description&... | " for each component; the last
// separator is cut off at the end.
void CWyMessageCatalog::BuildComponentList() {
  auto pTable = std::make_shared<WyComponentTable>();
  for (int i = 0; i < m_iSlotCount; ++i) {
    CWyErrLogComponent*& pSlot = m_ppComponents[static_cast<std::size_t>(i)];
    if (pSlot != nullptr && !AddComponent(*pSlot, *pTable)) GiveUpComponent(pSlot);
  }
  if (!pTable->strText.empty()) {
    pTable->strText.resize(pTable->strText.size() - ComponentSeparator.size());
  }
  m_pTable = WyShareTable(std::move(pTable));
}

// Before the catalog opens, no other thread uses the component, and it is unloaded. Later it keeps
// its slot, since look-ups may be using it, and is in no list.
void CWyMessageCatalog::GiveUpComponent(CWyErrLogComponent*& pSlot) {
  if (!m_bOpen) WyUnloadComponentLibrary(*std::exchange(pSlot, nullptr));
}

void CWyMessageCatalog::ClearLists() {
  m_pTable.reset();
  m_pFields = nullptr;
}
