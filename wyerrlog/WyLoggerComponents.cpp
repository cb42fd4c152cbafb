#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyLoggerList.h"

namespace {

constexpr int ComponentInfoPerSlot = 10;
constexpr int ComponentInfoGrowth = 50;

// What a component's handle points at. Made by the first load of the library, gone with the last.
struct LibraryHandle {
  void* hLib;
  int iLoads;  // that have not been unloaded, of all loggers
};

struct LibraryCloser {
  void operator()(void* hLib) const { WyErrLogUtilFreeLibrary(hLib); }
};
using LibraryPtr = std::unique_ptr<void, LibraryCloser>;

constinit CWyImmortal<std::mutex> s_handleMutex;  // loggers may be released at the very end

// A library that does not define the symbol itself would hand out that of one it is linked to: this
// library's own entry point, say.
bool IsDefinedIn(void* hLib, const void* pSymbol) {
  link_map* pLibrary = nullptr;
  link_map* pDefiner = nullptr;
  Dl_info info;
  return dlinfo(hLib, RTLD_DI_LINKMAP, &pLibrary) == 0 &&
         dladdr1(pSymbol, &info, reinterpret_cast<void**>(&pDefiner), RTLD_DL_LINKMAP) != 0 &&
         pLibrary == pDefiner;
}

// What a component leaves out is empty.
const char* TextOf(const char* pszText) { return pszText != nullptr ? pszText : ""; }

// Calls a plug-in and returns `failure` in place of whatever it throws. The exception is destroyed
// before the return, while its library is certainly loaded. The end of a cancelled thread is no
// failure and goes on; the reference to it is to nothing, which a sanitizer would report.
template <typename Result, typename Call>
__attribute__((no_sanitize("undefined"))) Result CallPlugIn(Result failure, Call call) {
  try {
    return call();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (...) {
    return failure;
  }
}

CWyErrLogComponent* ComponentOf(void* hLib) {
  char szEntryPoint[] = "GetComponentPtr";
  void* const pSymbol = WyErrLogUtilGetProcAddress(hLib, szEntryPoint);
  if (pSymbol == nullptr || !IsDefinedIn(hLib, pSymbol)) return nullptr;
  return CallPlugIn<CWyErrLogComponent*>(nullptr,
                                         reinterpret_cast<CWyErrLogComponent* (*)()>(pSymbol));
}

void NoteLoad(CWyErrLogComponent& component, LibraryPtr pLib) {
  const std::lock_guard lock(s_handleMutex.value);
  auto* const pHandle = static_cast<LibraryHandle*>(component.GetHandle());
  if (pHandle == nullptr) {
    component.SetHandle(new LibraryHandle{pLib.get(), 1});
  } else if (pHandle->hLib == pLib.get()) {
    ++pHandle->iLoads;
  }
  static_cast<void>(pLib.release());
}

// At process exit what was made last goes first. Components are older than the process's loggers,
// unless they have been unloaded and loaded again.
void EndLoggersBeforeComponents() {
  [[maybe_unused]] static const int s_iRegistered = std::atexit([] {
    CWyProcessObject<CWyLoggerList>::End();
    CWyProcessObject<CWyLogger>::End();
  });
}

}  // namespace

// ---- Loading ------------------------------------------------------------------------------------

CWyErrLogComponent* CWyLogger::LoadComponent(unsigned long /*uId*/, const char* pszLibName) {
  return WyNoThrow<CWyErrLogComponent*>(nullptr, [&] { return LoadLibraryOf(pszLibName); });
}

CWyErrLogComponent* CWyLogger::LoadLibraryOf(const char* pszLibName) {
  LibraryPtr pLib(WyErrLogUtilLoadLibrary(const_cast<char*>(pszLibName)));
  if (pLib == nullptr) return nullptr;
  CWyErrLogComponent* const pComponent = ComponentOf(pLib.get());
  if (pComponent != nullptr) NoteLoad(*pComponent, std::move(pLib));
  return pComponent;
}

void CWyLogger::UnloadComponent(CWyErrLogComponent* pComponent) {
  if (pComponent == nullptr) return;
  LibraryPtr pLib;
  std::unique_ptr<LibraryHandle> pLast;
  {
    // The component lives in the library: its note of the handle goes first.
    const std::lock_guard lock(s_handleMutex.value);
    auto* const pHandle = static_cast<LibraryHandle*>(pComponent->GetHandle());
    if (pHandle == nullptr) return;
    pLib.reset(pHandle->hLib);
    if (--pHandle->iLoads == 0) {
      pLast.reset(pHandle);
      pComponent->SetHandle(nullptr);
    }
  }
}

void CWyLogger::LoadComponents() {
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&m_iComponentSlotCount, &ppszNames);
  m_ppComponents = new CWyErrLogComponent*[static_cast<std::size_t>(m_iComponentSlotCount)]();
  m_ppComponents[0] = new CWyLogComponent;
  // Libraries that are loaded still have no components any more.
  if (CWyProcessObject<CWyLogger>::HasEnded()) return;
  bool bLoadedAny = false;
  for (int i = 1; i < m_iComponentSlotCount; ++i) {
    m_ppComponents[i] = LoadLibraryOf(ppszNames[i]);
    if (m_ppComponents[i] != nullptr) bLoadedAny = true;
  }
  if (bLoadedAny && m_bUnloadedComponents) EndLoggersBeforeComponents();
}

void CWyLogger::UnloadComponents() {
  if (m_bUnloadedComponents.exchange(true)) return;
  for (int i = 1; i < m_iComponentSlotCount; ++i) {
    if (m_ppComponents[i] != nullptr) UnloadComponent(m_ppComponents[i]);
  }
}

void CWyLogger::ReleaseComponents() {
  if (m_ppComponents != nullptr) delete m_ppComponents[0];
  delete[] m_ppComponents;
  m_ppComponents = nullptr;
  m_iComponentSlotCount = 0;
}

// ---- Look-ups -----------------------------------------------------------------------------------

CWyErrLogComponent* CWyLogger::FindComponent(unsigned int uId) const {
  if (!m_bInitialized) return nullptr;
  const unsigned int uNumber = WyComponentNumber(uId);
  if (uNumber == 0 || uNumber > static_cast<unsigned int>(m_iComponentSlotCount)) return nullptr;
  return m_ppComponents[uNumber - 1];
}

const char* CWyLogger::FetchMsg(unsigned int uId) const {
  CWyErrLogComponent* const pComponent = FindComponent(uId);
  if (pComponent == nullptr) return nullptr;
  return CallPlugIn<const char*>(nullptr, [&] { return pComponent->FetchMessage(uId); });
}

const char* CWyLogger::GetMsgBundle(unsigned int uId) const {
  const CWyErrLogComponent* const pComponent = FindComponent(uId);
  return pComponent != nullptr ? pComponent->GetComponentAbbrName() : nullptr;
}

const char* CWyLogger::GetAvailableComponents() const {
  return m_strAvailableComponents.empty() ? nullptr : m_strAvailableComponents.c_str();
}

const char* CWyLogger::GetAvailableDataFields() const {
  return m_strAvailableDataFields.empty() ? nullptr : m_strAvailableDataFields.c_str();
}

// ---- What trace configurations can select -------------------------------------------------------

bool CWyLogger::InitKnownInfo() {
  return WyNoThrow(false, [this] {
    MakeKnownInfo();
    return true;
  });
}

void CWyLogger::MakeKnownInfo() {
  m_strAvailableComponents.clear();
  m_iComponentInfoCount = 0;
  m_iComponentInfoCapacity = m_iComponentSlotCount * ComponentInfoPerSlot;
  m_pComponentInfo.reset(
      new WyTraceComponentInfo[static_cast<std::size_t>(m_iComponentInfoCapacity)]());
  for (int i = 0; i < m_iComponentSlotCount; ++i) {
    if (m_ppComponents[i] != nullptr && !AddComponent(*m_ppComponents[i])) GiveUpComponent(i);
  }
  if (!m_strAvailableComponents.empty()) {
    m_strAvailableComponents.resize(m_strAvailableComponents.size() - strlen(" | "));
  }
  InitDataFieldInfo();
}

// During Init no other thread uses the component yet; later it stays and is in no list.
void CWyLogger::GiveUpComponent(int iSlot) {
  if (m_bInitialized) return;
  UnloadComponent(std::exchange(m_ppComponents[iSlot], nullptr));
}

// False when the component throws.
bool CWyLogger::AddComponent(CWyErrLogComponent& component) {
  int iCount = 0;
  const WyErrSubComponentInfo* pList = nullptr;
  const bool bListed = CallPlugIn(false, [&] {
    component.GetSubComponents(&iCount, &pList);
    return true;
  });
  if (!bListed) return false;

  const unsigned int uId = component.GetComponentID();
  const char* const pszName = TextOf(component.GetComponentName());
  std::string& strList = m_strAvailableComponents;
  strList.append(pszName).append(" ; ").append(TextOf(component.GetComponentDescription()));
  AddComponentInfo(uId, pszName);
  if (iCount != 0) strList.append(" : ");
  for (int i = 0; i < iCount; ++i) {
    const std::string strSubName(pList[i].szName, strnlen(pList[i].szName, sizeof pList[i].szName));
    strList.append(strSubName).append(" ; ").append(TextOf(pList[i].pszDescription));
    if (i + 1 < iCount) strList.append("&");
    m_subComponentNames.push_back(std::string(pszName) + "/" + strSubName);
    AddComponentInfo(static_cast<unsigned int>(i + 1) << 16 | uId,
                     m_subComponentNames.back().c_str());
  }
  strList.append(" | ");
  return true;
}

void CWyLogger::AddComponentInfo(unsigned int uId, const char* pszName) {
  if (m_iComponentInfoCount == m_iComponentInfoCapacity) {
    m_iComponentInfoCapacity += ComponentInfoGrowth;
    std::unique_ptr<WyTraceComponentInfo[]> pLarger(
        new WyTraceComponentInfo[static_cast<std::size_t>(m_iComponentInfoCapacity)]());
    std::copy_n(m_pComponentInfo.get(), m_iComponentInfoCount, pLarger.get());
    m_pComponentInfo = std::move(pLarger);
  }
  m_pComponentInfo[static_cast<std::size_t>(m_iComponentInfoCount++)] = {false, uId, pszName};
}

void CWyLogger::InitDataFieldInfo() {
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  GetKnownDataFields(&m_iDataFieldCount, &pRows);
  const auto uCount = static_cast<std::size_t>(m_iDataFieldCount);
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

void CWyLogger::ReleaseKnownInfo() {
  m_strAvailableComponents.clear();
  m_strAvailableDataFields.clear();
  m_pComponentInfo.reset();
  m_iComponentInfoCount = 0;
  m_subComponentNames.clear();
  m_pDataFieldInfo.reset();
  m_iDataFieldCount = 0;
}
