// Loading of shared libraries by short names. Component libraries lie either on the system's search
// path or below the installation root, which the environment names.

#include <dlfcn.h>
#include <wyi18n/wyi18n.h>

#include <cstring>
#include <string>

#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/internal/WyMissingLibraries.h"
#include "wyerrlog/internal/WyMutex.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"

namespace {

constexpr std::size_t WorkingSize = 4096;  // bytes of a name with its terminator: PATH_MAX
constexpr std::size_t LongestRoot = WorkingSize - sizeof "/bin/x";  // leaves a name of one letter

constinit CWyNeverDestroyed<CWyMutex> s_mutex;
constinit char s_szDirectory[WorkingSize] WYERRLOG_GUARDED_BY(s_mutex.value) = "";

// Gives the name the ending of a shared object: in place of that of a DLL, or if it has none.
// Returns whether that changed the name.
bool AddSharedObjectEnding(std::string& strName) {
  const std::size_t uDot = strName.rfind('.');
  if (uDot == std::string::npos) {
    strName += ".so";
    return true;
  }
  const std::string_view ending = std::string_view(strName).substr(uDot + 1);
  if (ending != "DLL" && ending != "dll") return false;
  strName.replace(uDot + 1, 3, ending == "DLL" ? "SO" : "so");
  return true;
}

}  // namespace

// "bin/" below the installation root, null as long as the variable is unset or too long. It never
// changes once it is set: all components come from one installation, and the text may be read
// without the mutex.
const char* WyInstalledLibraries() {
  const CWyMutexLock lock(s_mutex.value);
  if (s_szDirectory[0] != '\0') return s_szDirectory;
  const CWyGetEnv root("ORVA_WA_ROOT");
  if (root.c_str() == nullptr || strlen(root.c_str()) > LongestRoot) return nullptr;
  std::string strDirectory = root.c_str();
  strDirectory += strDirectory.ends_with('/') ? "bin/" : "/bin/";
  memcpy(s_szDirectory, strDirectory.c_str(), strDirectory.size() + 1);
  return s_szDirectory;
}

// The order of the names is the contract's (WyErrLogUtil.h). At most WorkingSize - 1 bytes of a
// name count: a longer one is no path that the system opens.
void* WyErrLogUtilLoadLibrary(char* pszName) {
  if (pszName == nullptr) return nullptr;
  if (void* hLib = WyLoadLibrary(pszName)) return hLib;

  std::string strName(pszName, strnlen(pszName, WorkingSize - 1));
  if (AddSharedObjectEnding(strName)) {
    if (void* hLib = WyLoadLibrary(strName.c_str())) return hLib;
  }
  // A path is what it is: neither the system's search path nor the installation root applies.
  if (strName.find('/') != std::string::npos) return nullptr;

  if (!strName.starts_with("lib")) {
    strName.insert(0, "lib");
    if (void* hLib = WyLoadLibrary(strName.c_str())) return hLib;
  }
  const char* const pszDirectory = WyInstalledLibraries();
  if (pszDirectory == nullptr || strlen(pszDirectory) + strName.size() >= WorkingSize - 1) {
    return nullptr;
  }
  return WyLoadLibrary((pszDirectory + strName).c_str());
}

bool WyErrLogUtilFreeLibrary(void* hLib) { return hLib != nullptr && dlclose(hLib) == 0; }

void* WyErrLogUtilGetProcAddress(void* hLib, char* pszSymbol) { return dlsym(hLib, pszSymbol); }
