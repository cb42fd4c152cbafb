// The folders of a search are those of the dynamic linker, for the library that calls dlopen(3),
// and the one below the installation root. Reading their modification times costs some
// microseconds; a search for 26 absent libraries costs five hundred calls of open(2).

#include "wyerrlog/internal/WyMissingLibraries.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <ctime>
#include <memory>
#include <utility>

#include "wyerrlog/internal/WyMutex.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"

namespace {

constexpr std::int64_t ValidFor = 1'000'000'000;  // nanoseconds

struct LastSearch {
  std::unique_ptr<const std::string> pFolders;  // null before the first one
  std::int64_t iBegin = 0;
  std::bitset<256> missing;
};

// No fork comes while a thread holds it: loggers are initialised inside the fork gate.
constinit CWyNeverDestroyed<CWyMutex> s_mutex;
constinit CWyNeverDestroyed<LastSearch> s_last WYERRLOG_GUARDED_BY(s_mutex.value);

std::int64_t Now() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

// Where dlopen(3) searches if WyLoadLibrary calls it. What the linker's cache adds changes with the
// cache. Empty if the linker does not say.
std::vector<std::string> LinkerFolders() {
  std::vector<std::string> folders{"/etc/ld.so.cache"};
  Dl_info info;
  void* hCaller = nullptr;
  const auto* const pFunction = reinterpret_cast<const void*>(&WyLoadLibrary);
  if (dladdr1(pFunction, &info, &hCaller, RTLD_DL_LINKMAP) == 0) return folders;
  Dl_serinfo size;
  if (dlinfo(hCaller, RTLD_DI_SERINFOSIZE, &size) != 0) return folders;
  std::vector<std::uint64_t> memory(size.dls_size / sizeof(std::uint64_t) + 1);
  auto* const pList = reinterpret_cast<Dl_serinfo*>(memory.data());
  if (dlinfo(hCaller, RTLD_DI_SERINFOSIZE, pList) != 0 ||
      dlinfo(hCaller, RTLD_DI_SERINFO, pList) != 0) {
    return folders;
  }
  for (unsigned int i = 0; i < pList->dls_cnt; ++i) {
    folders.push_back(std::string(pList->dls_serpath[i].dls_name) + '/');
  }
  return folders;
}

// The linker's are the same for the life of the process.
std::vector<std::string> Folders() {
  static const std::vector<std::string>& s_linker = *new std::vector<std::string>(LinkerFolders());
  std::vector<std::string> folders = s_linker;
  if (const char* pszInstalled = WyInstalledLibraries()) folders.push_back(pszInstalled);
  return folders;
}

std::string State(const std::vector<std::string>& folders) {
  std::string strState;
  for (const std::string& strFolder : folders) {
    struct stat status;
    strState += strFolder;
    if (stat(strFolder.c_str(), &status) == 0) {
      const std::uint64_t auParts[] = {status.st_dev, status.st_ino,
                                       static_cast<std::uint64_t>(status.st_mtim.tv_sec),
                                       static_cast<std::uint64_t>(status.st_mtim.tv_nsec)};
      strState.append(reinterpret_cast<const char*>(auParts), sizeof auParts);
    }
    strState += '\n';
  }
  return strState;
}

}  // namespace

CWyMissingLibraries::CWyMissingLibraries()
    : m_folders(Folders()), m_strFolders(State(m_folders)), m_iBegin(Now()) {
  const CWyMutexLock lock(s_mutex.value);
  const LastSearch& last = s_last.value;
  if (last.pFolders == nullptr || m_strFolders != *last.pFolders ||
      m_iBegin - last.iBegin > ValidFor) {
    return;
  }
  m_skipped = last.missing;
  m_iBegin = last.iBegin;  // the second runs from the search itself
}

// Under the name that components are installed with. A file that is there could not be loaded for
// another reason, which may pass.
void CWyMissingLibraries::Add(std::size_t uRow, const char* pszName) {
  if (uRow >= m_missing.size()) return;
  m_bSearched = true;
  const std::string strFile = std::string("lib") + pszName + ".so";
  for (const std::string& strFolder : m_folders) {
    if (strFolder.back() == '/' && access((strFolder + strFile).c_str(), F_OK) == 0) return;
  }
  m_missing.set(uRow);
}

void CWyMissingLibraries::Remember() const {
  if (!m_bSearched) return;
  auto pFolders = std::make_unique<const std::string>(m_strFolders);
  const CWyMutexLock lock(s_mutex.value);
  s_last.value.pFolders = std::move(pFolders);
  s_last.value.iBegin = m_iBegin;
  s_last.value.missing = m_skipped | m_missing;
}
