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
#include <ctime>
#include <limits>
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
[[gnu::always_inline]] inline bool Begins(const char* pszEntry, const char* pszName,
                                          std::index_sequence<Index...>) {
  return ((pszEntry[Index] == pszName[Index]) && ...);
}

// Returns the value in an entry of the environment if the entry is that of `name`, which includes
// the "="; null for another variable's entry.
template <std::size_t Size>
[[gnu::always_inline]] inline const char* ValueOf(const char* pszEntry, const char (&name)[Size]) {
  return Begins(pszEntry, name, std::make_index_sequence<Size - 1>()) ? pszEntry + Size - 1
                                                                      : nullptr;
}

bool IsSet(const char* pszValue) { return pszValue != nullptr && *pszValue != '\0'; }

// The three variables, as a thread found them last. Every message asks for the locale, and reading
// the whole environment costs more than its instructions: it lies in some forty cache lines that
// each write to the log drives out of the cache. So what a change of the environment changes is
// compared: `environ` itself, its first and last entry, its end, and the entries of the three
// variables. Once a second all of it is searched. The values are read each time.
//
// An entry is followed only after it has been found in `environ` again, so none that the host has
// freed is read. The object belongs to one thread: it needs no lock, and in a forked child it is
// whole.
class CWyLocaleVariables {
 public:
  // Their order is that of the locale categories in POSIX. An empty variable counts as not set.
  const char* FirstSet() {
    if (!IsUnchanged() && !Find()) return nullptr;
    if (const char* const pszValue = ValueOf(m_all.pszEntry, All); IsSet(pszValue)) return pszValue;
    if (const char* const pszValue = ValueOf(m_messages.pszEntry, Messages); IsSet(pszValue)) {
      return pszValue;
    }
    const char* const pszValue = ValueOf(m_lang.pszEntry, Lang);
    return IsSet(pszValue) ? pszValue : nullptr;
  }

 private:
  static constexpr char All[] = "LC_ALL=";
  static constexpr char Messages[] = "LC_MESSAGES=";
  static constexpr char Lang[] = "LANG=";

  // Nothing is noted.
  static constexpr std::time_t NoTime = std::numeric_limits<std::time_t>::min();

  // An entry of the environment and its place. A variable that is not set has the first entry.
  struct Place {
    char** ppszEntry;
    char* pszEntry;

    bool IsUnchanged() const { return *ppszEntry == pszEntry; }
  };

  // The time comes first: it is NoTime if there was no entry. The first entry comes before the
  // others: in an environment that is shorter, at the same address (after clearenv(3)), it is
  // another one, and nothing behind it is read.
  bool IsUnchanged() const {
    return m_tSearched == std::time(nullptr) && environ == m_ppszEnvironment &&
           *environ == m_pszFirst && *m_ppszLast == m_pszLast && m_ppszLast[1] == nullptr &&
           m_all.IsUnchanged() && m_messages.IsUnchanged() && m_lang.IsUnchanged();
  }

  // The first entry of a variable counts, as it does for getenv(3).
  template <std::size_t Size>
  static void Note(Place& place, const char (&name)[Size], char** ppszEntry) {
    const bool bFound = ValueOf(place.pszEntry, name) != nullptr;
    if (!bFound && ValueOf(*ppszEntry, name) != nullptr) place = {ppszEntry, *ppszEntry};
  }

  // Returns false, with nothing noted, for an environment without entries.
  bool Find() {
    m_tSearched = NoTime;
    if (environ == nullptr || *environ == nullptr) return false;
    m_tSearched = std::time(nullptr);
    m_ppszEnvironment = environ;
    m_pszFirst = *environ;
    m_all = m_messages = m_lang = {environ, m_pszFirst};
    for (char** ppszEntry = environ; *ppszEntry != nullptr; ++ppszEntry) {
      Note(m_all, All, ppszEntry);
      Note(m_messages, Messages, ppszEntry);
      Note(m_lang, Lang, ppszEntry);
      m_ppszLast = ppszEntry;
    }
    m_pszLast = *m_ppszLast;
    return true;
  }

  char** m_ppszEnvironment = nullptr;
  char* m_pszFirst = nullptr;
  char** m_ppszLast = nullptr;
  char* m_pszLast = nullptr;
  Place m_all{};
  Place m_messages{};
  Place m_lang{};
  std::time_t m_tSearched = NoTime;
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
