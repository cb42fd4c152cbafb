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
#include "wyerrlog/internal/WyNoThrow.h"

namespace {

// Entries of the component table to begin with, for each slot, and those added when it is full.
// Most components have fewer than ten sub-components, so the table seldom grows.
constexpr int ComponentInfoPerSlot = 10;
constexpr int ComponentInfoGrowth = 50;

constexpr std::string_view ComponentSeparator = " | ";

// A text that a component does not have is shown as an empty one.
const char* OrEmpty(const char* pszText) { return pszText != nullptr ? pszText : ""; }

}  // namespace

constinit std::atomic<const CWyMessageCatalog*> CWyMessageCatalog::s_pOfProcess{nullptr};

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
  for (int i = 1; bLibraries && i < m_iSlotCount; ++i) {
    m_ppComponents[static_cast<std::size_t>(i)] = WyLoadComponentLibrary(ppszNames[i]);
  }
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

// A plug-in that throws has no message: neither the exception nor its object may outlive the call,
// since the library may be closed next.
const char* CWyMessageCatalog::FetchMsg(unsigned int uId) const {
  CWyErrLogComponent* const pComponent = FindComponent(uId);
  if (pComponent == nullptr) return nullptr;
  return WyCallPlugIn<const char*>(nullptr, [&] { return pComponent->FetchMessage(uId); });
}

const char* CWyMessageCatalog::GetMsgBundle(unsigned int uId) const {
  const CWyErrLogComponent* const pComponent = FindComponent(uId);
  return pComponent != nullptr ? pComponent->GetComponentAbbrName() : nullptr;
}

const WyTraceComponentInfo* CWyMessageCatalog::ComponentInfo() const {
  return m_bOpen ? m_pComponentInfo.get() : nullptr;
}

// ---- What trace configurations can select -------------------------------------------------------

bool CWyMessageCatalog::BuildLists() {
  return WyNoThrow(false, [this] {
    BuildComponentList();
    BuildDataFieldList();
    return true;
  });
}

// The list is "name ; description : sub-name ; sub-description&... | " for each component; the last
// separator is cut off at the end.
void CWyMessageCatalog::BuildComponentList() {
  m_strAvailableComponents.clear();
  m_iComponentInfoCount = 0;
  m_iComponentInfoCapacity = m_iSlotCount * ComponentInfoPerSlot;
  m_pComponentInfo.reset(
      new WyTraceComponentInfo[static_cast<std::size_t>(m_iComponentInfoCapacity)]());
  for (int i = 0; i < m_iSlotCount; ++i) {
    CWyErrLogComponent*& pSlot = m_ppComponents[static_cast<std::size_t>(i)];
    if (pSlot != nullptr && !AddComponent(*pSlot)) GiveUpComponent(pSlot);
  }
  if (!m_strAvailableComponents.empty()) {
    m_strAvailableComponents.resize(m_strAvailableComponents.size() - ComponentSeparator.size());
  }
}

// Before the catalog opens, no other thread uses the component, and it is unloaded. Later it keeps
// its slot, since look-ups may be using it, and is in no list.
void CWyMessageCatalog::GiveUpComponent(CWyErrLogComponent*& pSlot) {
  if (!m_bOpen) WyUnloadComponentLibrary(*std::exchange(pSlot, nullptr));
}

// Returns false if the component throws.
bool CWyMessageCatalog::AddComponent(CWyErrLogComponent& component) {
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
  const char* const pszName = OrEmpty(component.GetComponentName());
  std::string& strList = m_strAvailableComponents;
  strList.append(pszName).append(" ; ").append(OrEmpty(component.GetComponentDescription()));
  AddComponentInfo(uId, pszName);
  if (iCount != 0) strList.append(" : ");
  for (int i = 0; i < iCount; ++i) {
    // The plug-in's array may be filled to the last byte, without a terminator.
    const std::string strSubName(pList[i].szName, strnlen(pList[i].szName, sizeof pList[i].szName));
    strList.append(strSubName).append(" ; ").append(OrEmpty(pList[i].pszDescription));
    if (i + 1 < iCount) strList.append("&");
    // In a list, because the table points at the texts: they must not move when the next one is
    // added.
    m_subComponentNames.push_back(std::string(pszName) + "/" + strSubName);
    AddComponentInfo(static_cast<unsigned int>(i + 1) << 16 | uId,
                     m_subComponentNames.back().c_str());
  }
  strList.append(ComponentSeparator);
  return true;
}

void CWyMessageCatalog::AddComponentInfo(unsigned int uId, const char* pszName) {
  if (m_iComponentInfoCount == m_iComponentInfoCapacity) {
    m_iComponentInfoCapacity += ComponentInfoGrowth;
    std::unique_ptr<WyTraceComponentInfo[]> pLarger(
        new WyTraceComponentInfo[static_cast<std::size_t>(m_iComponentInfoCapacity)]());
    std::copy_n(m_pComponentInfo.get(), m_iComponentInfoCount, pLarger.get());
    m_pComponentInfo = std::move(pLarger);
  }
  m_pComponentInfo[static_cast<std::size_t>(m_iComponentInfoCount++)] = {false, uId, pszName};
}

void CWyMessageCatalog::BuildDataFieldList() {
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  int iCount = 0;
  GetKnownDataFields(&iCount, &pRows);
  const auto uCount = static_cast<std::size_t>(iCount);
  m_pDataFieldInfo.reset(new WyTraceDataFieldInfo[uCount]());
  m_strAvailableDataFields.clear();
  for (std::size_t i = 0; i < uCount; ++i) {
    if (i != 0) m_strAvailableDataFields.append(" ");
    m_strAvailableDataFields.append(pRows[i].pszName);
    m_pDataFieldInfo[i].uId = static_cast<unsigned int>(i);
    m_pDataFieldInfo[i].pszName = pRows[i].pszName;
    m_pDataFieldInfo[i].uWidth = static_cast<unsigned int>(pRows[i].iWidth);
  }
}

void CWyMessageCatalog::ClearLists() {
  m_strAvailableComponents.clear();
  m_strAvailableDataFields.clear();
  m_pComponentInfo.reset();
  m_iComponentInfoCount = 0;
  m_subComponentNames.clear();
  m_pDataFieldInfo.reset();
}
