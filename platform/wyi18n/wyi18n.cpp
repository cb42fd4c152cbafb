#include <wyi18n/wyi18n.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

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

// The administrator's locale is the first of these that is not empty.
constexpr std::string_view kLocaleVariables[] = {"LC_ALL=", "LC_MESSAGES=", "LANG="};

// What follows `assignment` ("NAME=") in an entry of the environment; null in an entry of another
// variable.
const char* ValueOf(std::string_view assignment, const char* pszEntry) {
  for (const char c : assignment) {
    if (*pszEntry++ != c) {
      return nullptr;
    }
  }
  return pszEntry;
}

struct LocaleValues {
  const char* apszValues[std::size(kLocaleVariables)] = {};

  void Note(const char* pszEntry) {
    for (std::size_t i = 0; i < std::size(kLocaleVariables); ++i) {
      if (apszValues[i] == nullptr) {
        apszValues[i] = ValueOf(kLocaleVariables[i], pszEntry);
      }
    }
  }
};

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
  LocaleValues found;
  for (char** ppszEntry = environ; ppszEntry != nullptr && *ppszEntry != nullptr; ++ppszEntry) {
    const char* const pszEntry = *ppszEntry;
    if (pszEntry[0] != 'L') {
      continue;
    }
    if (pszEntry[1] == 'A' || pszEntry[1] == 'C') {
      found.Note(pszEntry);
    }
  }
  for (const char* pszValue : found.apszValues) {
    if (pszValue != nullptr && *pszValue != '\0') {
      return pszValue;
    }
  }
  return "en";
}
