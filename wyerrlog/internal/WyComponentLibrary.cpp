// Every load of a library takes a reference of the dynamic linker's (dlopen(3)). A component counts
// its loads in a handle that it points to itself, because several loggers may load the same library
// on several threads at once and all get the same component.

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

// The object that CWyErrLogComponent::GetHandle returns: allocated by the first load of the
// library, deleted by the last unload.
struct LibraryHandle {
  void* hLib;
  int iLoads;  // of all loggers, less the unloads
};

struct LibraryCloser {
  void operator()(void* hLib) const { WyErrLogUtilFreeLibrary(hLib); }
};
using LibraryPtr = std::unique_ptr<void, LibraryCloser>;

// Protects the handles of all components. Never destroyed: loggers may be released at the very end
// of a process.
constinit CWyNeverDestroyed<CWyMutex> s_handleMutex;

// Whether the library itself defines the symbol. dlsym(3) also searches the libraries that it is
// linked to, and would return this library's own entry point for a plug-in without one.
bool IsDefinedIn(void* hLib, const void* pSymbol) {
  link_map* pLibrary = nullptr;
  link_map* pDefiner = nullptr;
  Dl_info info;
  return dlinfo(hLib, RTLD_DI_LINKMAP, &pLibrary) == 0 &&
         dladdr1(pSymbol, &info, reinterpret_cast<void**>(&pDefiner), RTLD_DL_LINKMAP) != 0 &&
         pLibrary == pDefiner;
}

// The plug-in's static constructors have run in dlopen(3), its entry point runs here. Neither is
// called with the mutex held: it may log, and so load libraries itself.
CWyErrLogComponent* ComponentOf(void* hLib) {
  char szEntryPoint[] = "GetComponentPtr";
  void* const pSymbol = WyErrLogUtilGetProcAddress(hLib, szEntryPoint);
  if (pSymbol == nullptr || !IsDefinedIn(hLib, pSymbol)) return nullptr;
  return WyCallPlugIn<CWyErrLogComponent*>(nullptr,
                                           reinterpret_cast<CWyErrLogComponent* (*)()>(pSymbol));
}

// Requires: the library stays open for the call. A component that another library returned before
// has that library's handle; the reference taken now then stays for good, since no unload could be
// counted for it.
void CountLoad(CWyErrLogComponent& component, LibraryPtr pLib) {
  const CWyMutexLock lock(s_handleMutex.value);
  auto* const pHandle = static_cast<LibraryHandle*>(component.GetHandle());
  if (pHandle == nullptr) {
    component.SetHandle(new LibraryHandle{pLib.get(), 1});
  } else if (pHandle->hLib == pLib.get()) {
    ++pHandle->iLoads;
  }
  // Last: if the allocation of the handle throws, the library is closed again.
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
  // Objects are destroyed in reverse order: the mutex is released, then the handle deleted, then
  // the library closed, whose destructors run code of the plug-in.
  LibraryPtr pLib;
  std::unique_ptr<LibraryHandle> pLast;
  const CWyMutexLock lock(s_handleMutex.value);
  auto* const pHandle = static_cast<LibraryHandle*>(component.GetHandle());
  if (pHandle == nullptr) return;
  pLib.reset(pHandle->hLib);
  if (--pHandle->iLoads > 0) return;
  pLast.reset(pHandle);
  component.SetHandle(nullptr);  // before the library is closed, in which the component lives
}
