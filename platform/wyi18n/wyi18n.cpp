#include <wyi18n/wyi18n.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

int RefuseNullPath() {
  errno = EFAULT;
  return -1;
}

// Repeats a system call that a signal handler interrupts.
template <typename Call>
int Uninterrupted(Call call) {
  int iResult;
  do {
    iResult = call();
  } while (iResult < 0 && errno == EINTR);
  return iResult;
}

// Not one with contents: a remote file system may have renamed although it reports a failure.
void RemoveEmptyFile(const char* path) {
  struct stat status;
  if (::lstat(path, &status) == 0 && status.st_size == 0) ::unlink(path);
}

// An empty file takes the name, and only that one is replaced. A process that is killed in between
// leaves it behind, but never two names of one file.
int RenameOntoPlaceholder(const char* from, const char* to) {
  const int fd = WyOpen(to, O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) return -1;
  ::close(fd);
  const int iResult = std::rename(from, to);
  if (iResult != 0) {
    const int iErrno = errno;
    RemoveEmptyFile(to);
    errno = iErrno;
  }
  return iResult;
}

const char* ReadEnvironment(const char* pszName) {
  return pszName == nullptr ? nullptr : std::getenv(pszName);
}

template <std::size_t... Index>
bool Begins(const char* pszEntry, const char* pszName, std::index_sequence<Index...>) {
  return ((pszEntry[Index] == pszName[Index]) && ...);
}

// What follows `name`, which ends in "=", in an entry of the environment; null in an entry of
// another variable, and for null.
template <std::size_t Size>
const char* ValueOf(const char* pszEntry, const char (&name)[Size]) {
  const bool bMatches =
      pszEntry != nullptr && Begins(pszEntry, name, std::make_index_sequence<Size - 1>());
  return bMatches ? pszEntry + Size - 1 : nullptr;
}

bool IsSet(const char* pszValue) { return pszValue != nullptr && *pszValue != '\0'; }

// The three variables, as a thread found them last. The locale is asked for with every message, and
// reading the whole environment costs more than its instructions: it lies in some forty cache lines
// that each write to the log drives out. As long as the environment has the same entries the
// variables stand where they stood; what they hold is read each time.
class CWyLocaleVariables {
 public:
  const char* FirstSet() {
    if (!HasSameEntries()) Find();
    if (const char* const pszValue = ValueOf(m_pszAll, All); IsSet(pszValue)) return pszValue;
    if (const char* const pszValue = ValueOf(m_pszMessages, Messages); IsSet(pszValue)) {
      return pszValue;
    }
    const char* const pszValue = ValueOf(m_pszLang, Lang);
    return IsSet(pszValue) ? pszValue : nullptr;
  }

 private:
  static constexpr std::size_t MaxEntries = 128;  // of a larger environment none are kept
  static constexpr char All[] = "LC_ALL=";
  static constexpr char Messages[] = "LC_MESSAGES=";
  static constexpr char Lang[] = "LANG=";

  bool HasSameEntries() const {
    if (environ == nullptr || m_uEntries == 0) return false;
    // An environment that has become shorter differs where it ends.
    for (std::size_t i = 0; i < m_uEntries; ++i) {
      if (environ[i] != m_apszEntries[i]) return false;
    }
    return true;
  }

  // The first entry of a variable counts.
  template <std::size_t Size>
  static void Note(const char*& pszFound, const char (&name)[Size], const char* pszEntry) {
    if (pszFound == nullptr && ValueOf(pszEntry, name) != nullptr) pszFound = pszEntry;
  }

  void Find() {
    m_pszAll = m_pszMessages = m_pszLang = nullptr;
    m_uEntries = 0;
    std::size_t uEntries = 0;
    for (char** ppszEntry = environ; ppszEntry != nullptr && *ppszEntry != nullptr; ++ppszEntry) {
      Note(m_pszAll, All, *ppszEntry);
      Note(m_pszMessages, Messages, *ppszEntry);
      Note(m_pszLang, Lang, *ppszEntry);
      if (uEntries < MaxEntries) m_apszEntries[uEntries] = *ppszEntry;
      ++uEntries;
    }
    if (uEntries < MaxEntries) {
      m_apszEntries[uEntries] = nullptr;
      m_uEntries = uEntries + 1;
    }
  }

  // Their entries.
  const char* m_pszAll = nullptr;
  const char* m_pszMessages = nullptr;
  const char* m_pszLang = nullptr;
  std::size_t m_uEntries = 0;  // with the null that ends them; 0: look afresh
  const char* m_apszEntries[MaxEntries] = {};
};

constinit thread_local CWyLocaleVariables t_localeVariables;

// Not inlined: the compiler would find the thread's object anew at each use, which is a call.
[[gnu::noinline]] CWyLocaleVariables& LocaleVariablesOfThisThread() { return t_localeVariables; }

}  // namespace

int WyOpen(const char* path, int flags, int mode) {
  if (path == nullptr) return RefuseNullPath();
  return Uninterrupted([=] { return ::open(path, flags | O_CLOEXEC, static_cast<mode_t>(mode)); });
}

int WyAccess(const char* path, int mode) {
  return path == nullptr ? RefuseNullPath() : ::access(path, mode);
}

int WyRename(const char* from, const char* to) {
  if (from == nullptr || to == nullptr) return RefuseNullPath();
  const int iResult =
      Uninterrupted([=] { return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE); });
  const bool bSupported = iResult == 0 || (errno != EINVAL && errno != ENOSYS);
  return bSupported ? iResult : RenameOntoPlaceholder(from, to);
}

int WyUnlink(const char* path) {
  return path == nullptr ? RefuseNullPath() : Uninterrupted([=] { return ::unlink(path); });
}

void* WyLoadLibrary(const char* name) {
  // dlopen answers both with the program itself.
  if (name == nullptr || *name == '\0') return nullptr;
  return ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
}

CWyDynamicBufferForI18N::CWyDynamicBufferForI18N(const char* text)
    : m_pszText(text == nullptr ? nullptr : ::strdup(text)) {}

CWyDynamicBufferForI18N::~CWyDynamicBufferForI18N() { std::free(m_pszText); }

CWyGetEnv::CWyGetEnv(const char* name) : m_value(ReadEnvironment(name)) {}

const char* WyGetAdminLocale() {
  const char* const pszValue = LocaleVariablesOfThisThread().FirstSet();
  return pszValue != nullptr ? pszValue : "en";
}
