#include <dlfcn.h>
#include <wyi18n/wyi18n.h>

#include <cstring>
#include <mutex>
#include <string>

#include "wyerrlog/WyErrLogUtil.h"

namespace {

constexpr std::size_t WorkingSize = 4096;  // bytes of a name with its terminator
constexpr std::size_t LongestRoot = 4089;

char szOrvaWARoot[WorkingSize];
char* gszOrvaWALib = nullptr;

// Null as long as the variable is unset or too long; the first value found stays.
const char* LibraryDirectory() {
  static std::mutex s_mutex;
  const std::lock_guard lock(s_mutex);
  if (gszOrvaWALib != nullptr) return gszOrvaWALib;
  const CWyGetEnv root("ORVA_WA_ROOT");
  if (root.c_str() == nullptr || strlen(root.c_str()) > LongestRoot) return nullptr;
  std::string strDirectory = root.c_str();
  strDirectory += strDirectory.ends_with('/') ? "bin/" : "/bin/";
  memcpy(szOrvaWARoot, strDirectory.c_str(), strDirectory.size() + 1);
  gszOrvaWALib = szOrvaWARoot;
  return gszOrvaWALib;
}

// Gives the name the ending of a shared object: in place of that of a DLL, or when it has none.
// Answers whether that changed the name.
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

void* WyErrLogUtilLoadLibrary(char* pszName) {
  if (pszName == nullptr) return nullptr;
  if (void* hLib = WyLoadLibrary(pszName)) return hLib;

  std::string strName(pszName, strnlen(pszName, WorkingSize - 1));
  if (AddSharedObjectEnding(strName)) {
    if (void* hLib = WyLoadLibrary(strName.c_str())) return hLib;
  }
  if (strName.find('/') != std::string::npos) return nullptr;

  if (!strName.starts_with("lib")) {
    strName.insert(0, "lib");
    if (void* hLib = WyLoadLibrary(strName.c_str())) return hLib;
  }
  const char* const pszDirectory = LibraryDirectory();
  if (pszDirectory == nullptr || strlen(pszDirectory) + strName.size() >= WorkingSize - 1) {
    return nullptr;
  }
  return WyLoadLibrary((pszDirectory + strName).c_str());
}

bool WyErrLogUtilFreeLibrary(void* hLib) { return hLib != nullptr && dlclose(hLib) == 0; }

void* WyErrLogUtilGetProcAddress(void* hLib, char* pszSymbol) { return dlsym(hLib, pszSymbol); }
