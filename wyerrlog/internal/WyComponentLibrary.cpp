// Every load of a library takes a reference of the system's (dlopen). A component counts its loads
// in a holder that hangs on the component itself, because several loggers may load the same library
// on several threads at once.

#include "wyerrlog/internal/WyComponentLibrary.h"

#include <dlfcn.h>
#include <link.h>

#include <memory>
#include <utility>

#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/WyLogComponent.h"
#include "wyerrlog/internal/WyMutex.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"

namespace {

// What CWyErrLogComponent::GetHandle points at: allocated by the first load of the library, deleted
// by the last unload.
struct LibraryHandle {
  void* hLib;
  int iLoads;  // of all loggers, less the unloads
};

struct LibraryCloser {
  void operator()(void* hLib) const { WyErrLogUtilFreeLibrary(hLib); }
};
using LibraryPtr = std::unique_ptr<void, LibraryCloser>;

// Protects the handles in all components. Loggers may be released at the very end of a process.
constinit CWyNeverDestroyed<CWyMutex> s_handleMutex;

// A library that does not define the symbol itself would return that of one it is linked to, this
// library's own entry point for instance.
bool IsDefinedIn(void* hLib, const void* pSymbol) {
  link_map* pLibrary = nullptr;
  link_map* pDefiner = nullptr;
  Dl_info info;
  return dlinfo(hLib, RTLD_DI_LINKMAP, &pLibrary) == 0 &&
         dladdr1(pSymbol, &info, reinterpret_cast<void**>(&pDefiner), RTLD_DL_LINKMAP) != 0 &&
         pLibrary == pDefiner;
}

CWyErrLogComponent* ComponentOf(void* hLib) {
  char szEntryPoint[] = "GetComponentPtr";
  void* const pSymbol = WyErrLogUtilGetProcAddress(hLib, szEntryPoint);
  if (pSymbol == nullptr || !IsDefinedIn(hLib, pSymbol)) return nullptr;
  return WyCallPlugIn<CWyErrLogComponent*>(nullptr,
                                           reinterpret_cast<CWyErrLogComponent* (*)()>(pSymbol));
}

void CountLoad(CWyErrLogComponent& component, LibraryPtr pLib) {
  const CWyMutexLock lock(s_handleMutex.value);
  auto* const pHandle = static_cast<LibraryHandle*>(component.GetHandle());
  if (pHandle == nullptr) {
    component.SetHandle(new LibraryHandle{pLib.get(), 1});
  } else if (pHandle->hLib == pLib.get()) {
    ++pHandle->iLoads;
  }
  static_cast<void>(pLib.release());
}

}  // namespace

CWyErrLogComponent* WyLoadComponentLibrary(const char* pszLibName) {
  LibraryPtr pLib(WyErrLogUtilLoadLibrary(const_cast<char*>(pszLibName)));
  if (pLib == nullptr) return nullptr;
  CWyErrLogComponent* const pComponent = ComponentOf(pLib.get());
  if (pComponent != nullptr) CountLoad(*pComponent, std::move(pLib));
  return pComponent;
}

void WyUnloadComponentLibrary(CWyErrLogComponent& component) {
  LibraryPtr pLib;  // closed last, without the mutex: its code runs then
  std::unique_ptr<LibraryHandle> pLast;
  const CWyMutexLock lock(s_handleMutex.value);
  auto* const pHandle = static_cast<LibraryHandle*>(component.GetHandle());
  if (pHandle == nullptr) return;
  pLib.reset(pHandle->hLib);
  if (--pHandle->iLoads > 0) return;
  pLast.reset(pHandle);
  component.SetHandle(nullptr);  // before the library is closed, in which the component lives
}
