// System calls, the loading of libraries and the environment, as the product's programs use them.
// Each operation is one call of the system with one thing added: descriptors that exec(3) closes,
// the repetition after a signal, a rename that never replaces. The library has no state but what
// each thread notes of the environment.

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

// The error that the system gives for an address outside of the process's memory.
int RefuseNullPath() {
  errno = EFAULT;
  return -1;
}

// Repeats a system call that a signal handler interrupts (EINTR): hosts may install handlers
// without SA_RESTART. An interrupted call has changed nothing, so the repetition does no harm.
template <typename Call>
int Uninterrupted(Call call) {
  int iResult;
  do {
    iResult = call();
  } while (iResult < 0 && errno == EINTR);
  return iResult;
}

// Removes the placeholder of a rename that failed. A file with contents stays: a remote file system
// may have renamed although it reports a failure, and then the name is that of the renamed file.
void RemoveEmptyFile(const char* path) {
  struct stat status;
  if (::lstat(path, &status) == 0 && status.st_size == 0) ::unlink(path);
}

// For file systems that cannot rename without replacing. O_EXCL creates an empty file under the
// name, or fails if the name is in use; rename(2) then replaces that empty file alone. link(2) and
// unlink(2) would need no placeholder, but a process that is killed between them leaves two names
// of one file. Here it leaves an empty file.
int RenameOntoPlaceholder(const char* from, const char* to) {
  const int fd = WyOpen(to, O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) return -1;
  ::close(fd);
  const int iResult = std::rename(from, to);
  if (iResult != 0) {
    const int iErrno = errno;  // the rename's; the removal sets its own
    RemoveEmptyFile(to);
    errno = iErrno;
  }
  return iResult;
}

const char* ReadEnvironment(const char* pszName) {
  return pszName == nullptr ? nullptr : std::getenv(pszName);
}

// Compares letter by letter: most entries differ in the first one, and a call of strncmp(3) costs
// more than that.
template <std::size_t... Index>
bool Begins(const char* pszEntry, const char* pszName, std::index_sequence<Index...>) {
  return ((pszEntry[Index] == pszName[Index]) && ...);
}

// Returns the value in an entry of the environment if the entry is that of `name`, which includes
// the "="; null for another variable's entry and for null.
template <std::size_t Size>
const char* ValueOf(const char* pszEntry, const char (&name)[Size]) {
  const bool bMatches =
      pszEntry != nullptr && Begins(pszEntry, name, std::make_index_sequence<Size - 1>());
  return bMatches ? pszEntry + Size - 1 : nullptr;
}

bool IsSet(const char* pszValue) { return pszValue != nullptr && *pszValue != '\0'; }

// The three variables, as a thread found them last. Every message asks for the locale, and reading
// the whole environment costs more than its instructions: it lies in some forty cache lines that
// each write to the log drives out of the cache. As long as `environ` has the same entries,
// compared as pointers, the variables are where they were; their values are read each time.
//
// An entry is followed only after it has been found in `environ` again, so none that the host has
// freed is read. The object belongs to one thread: it needs no lock, and in a forked child it is
// whole.
class CWyLocaleVariables {
 public:
  // Their order is that of the locale categories in POSIX. An empty variable counts as not set.
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
    // An environment that has become shorter differs where it ends, in its null, so that nothing
    // behind it is read.
    for (std::size_t i = 0; i < m_uEntries; ++i) {
      if (environ[i] != m_apszEntries[i]) return false;
    }
    return true;
  }

  // The first entry of a variable counts, as it does for getenv(3).
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
    // The null is noted too: an environment that has become longer differs there.
    if (uEntries < MaxEntries) {
      m_apszEntries[uEntries] = nullptr;
      m_uEntries = uEntries + 1;
    }
  }

  // The entries of the variables; null for one that is not set.
  const char* m_pszAll = nullptr;
  const char* m_pszMessages = nullptr;
  const char* m_pszLang = nullptr;
  std::size_t m_uEntries = 0;  // with the null that ends them; 0: nothing is noted
  const char* m_apszEntries[MaxEntries] = {};
};

constinit thread_local CWyLocaleVariables t_localeVariables;

// Not inlined: the compiler would find the thread's object anew at each use, which is a call.
[[gnu::noinline]] CWyLocaleVariables& LocaleVariablesOfThisThread() { return t_localeVariables; }

}  // namespace

// O_CLOEXEC in the same call: a descriptor that fcntl(2) marks afterwards could be inherited by a
// program that another thread starts in between.
int WyOpen(const char* path, int flags, int mode) {
  if (path == nullptr) return RefuseNullPath();
  return Uninterrupted([=] { return ::open(path, flags | O_CLOEXEC, static_cast<mode_t>(mode)); });
}

int WyAccess(const char* path, int mode) {
  return path == nullptr ? RefuseNullPath() : ::access(path, mode);
}

// RENAME_NOREPLACE tests the name and renames in one step. With access(2) before rename(2), another
// process could create the name in between, and would lose its file. EINVAL: the file system does
// not know the flag; ENOSYS: the kernel does not know the call.
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
  // dlopen(3) returns the program itself for both.
  if (name == nullptr || *name == '\0') return nullptr;
  // RTLD_NOW: a missing symbol is found here, and does not end the process at a later call.
  // RTLD_LOCAL: all message components define the same entry point, and none may take the place of
  // another's.
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
