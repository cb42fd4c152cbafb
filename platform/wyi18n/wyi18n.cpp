#include <wyi18n/wyi18n.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

int RefuseNullPath() {
  errno = EFAULT;
  return -1;
}

// Repeats a system call that a signal handler interrupts.
template <typename Call>
int Uninterrupted(Call call) {
  int result;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

// Not one with contents: a remote file system may have renamed although it reports a failure.
void RemoveEmptyFile(const char* path) {
  struct stat status;
  if (::lstat(path, &status) == 0 && status.st_size == 0) {
    ::unlink(path);
  }
}

// An empty file takes the name, and only that one is replaced. A process that is killed in between
// leaves it behind, but never two names of one file.
int RenameOntoPlaceholder(const char* from, const char* to) {
  const int fd = WyOpen(to, O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) {
    return -1;
  }
  ::close(fd);
  const int result = std::rename(from, to);
  if (result != 0) {
    const int reason = errno;
    RemoveEmptyFile(to);
    errno = reason;
  }
  return result;
}

const char* ReadEnvironment(const char* pszName) {
  return pszName == nullptr ? nullptr : std::getenv(pszName);
}

// What follows `name` in an entry of the environment; null in an entry of another variable.
template <std::size_t... Index>
const char* ValueOf(const char* pszEntry, std::string_view name, std::index_sequence<Index...>) {
  return ((pszEntry[Index] == name[Index]) && ...) ? pszEntry + name.size() : nullptr;
}

// The first value of a variable; `name` ends in "=".
template <std::size_t Size>
void Note(const char*& pszValue, const char (&name)[Size], const char* pszEntry) {
  if (pszValue == nullptr) {
    pszValue = ValueOf(pszEntry, {name, Size - 1}, std::make_index_sequence<Size - 1>());
  }
}

bool IsSet(const char* pszValue) { return pszValue != nullptr && *pszValue != '\0'; }

}  // namespace

int WyOpen(const char* path, int flags, int mode) {
  if (path == nullptr) {
    return RefuseNullPath();
  }
  return Uninterrupted([=] { return ::open(path, flags | O_CLOEXEC, static_cast<mode_t>(mode)); });
}

int WyAccess(const char* path, int mode) {
  return path == nullptr ? RefuseNullPath() : ::access(path, mode);
}

int WyRename(const char* from, const char* to) {
  if (from == nullptr || to == nullptr) {
    return RefuseNullPath();
  }
  const int result =
      Uninterrupted([=] { return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE); });
  const bool offered = result == 0 || (errno != EINVAL && errno != ENOSYS);
  return offered ? result : RenameOntoPlaceholder(from, to);
}

int WyUnlink(const char* path) {
  return path == nullptr ? RefuseNullPath() : Uninterrupted([=] { return ::unlink(path); });
}

void* WyLoadLibrary(const char* name) {
  // dlopen answers both with the program itself.
  if (name == nullptr || *name == '\0') {
    return nullptr;
  }
  return ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
}

CWyDynamicBufferForI18N::CWyDynamicBufferForI18N(const char* text)
    : m_pszText(text == nullptr ? nullptr : ::strdup(text)) {}

CWyDynamicBufferForI18N::~CWyDynamicBufferForI18N() { std::free(m_pszText); }

CWyGetEnv::CWyGetEnv(const char* name) : m_value(ReadEnvironment(name)) {}

// Asked for every message, so it goes through the environment once for the three variables, and
// past nearly all of it by one look at an entry.
const char* WyGetAdminLocale() {
  const char* pszAll = nullptr;
  const char* pszMessages = nullptr;
  const char* pszLang = nullptr;
  for (char** ppszEntry = environ; ppszEntry != nullptr && *ppszEntry != nullptr; ++ppszEntry) {
    const char* const pszEntry = *ppszEntry;
    if (pszEntry[0] != 'L') {
      continue;
    }
    if (pszEntry[1] == 'A') {
      Note(pszLang, "LANG=", pszEntry);
    } else if (pszEntry[1] == 'C') {
      Note(pszAll, "LC_ALL=", pszEntry);
      Note(pszMessages, "LC_MESSAGES=", pszEntry);
    }
  }
  return IsSet(pszAll)        ? pszAll
         : IsSet(pszMessages) ? pszMessages
         : IsSet(pszLang)     ? pszLang
                              : "en";
}
