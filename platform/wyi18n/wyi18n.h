#ifndef WYI18N_WYI18N_H
#define WYI18N_WYI18N_H

// File operations, shared libraries, environment and the administrator's locale, as the product's
// programs use them. Every operation may be called from any thread at any time, also in a forked
// child and during process exit; the library has no state of its own. None of them throws.
//
// Path names are UTF-8 bytes and are handed to the system unchanged.

#define WYI18N_EXPORT __attribute__((visibility("default")))

// --- Files --------------------------------------------------------------------------------------
// Each call has the contract of the POSIX call of the same meaning: a negative result reports
// failure, with the reason in errno. A null path name fails with EFAULT. A call that a signal
// handler interrupts (EINTR) is repeated.

// Opens a file like open(2). `mode` has the permission bits of a file that the call creates, less
// the umask, and is ignored if it creates none. The descriptor is always close-on-exec, so that
// programs that the process executes do not inherit it. The caller owns it and closes it with
// close(2).
//
//   const int hFile = WyOpen("/var/log/agent.log", O_WRONLY | O_CREAT | O_APPEND, 0644);
//   if (hFile < 0) return std::strerror(errno);
WYI18N_EXPORT int WyOpen(const char* path, int flags, int mode);

// Tests a file like access(2): F_OK for existence, or R_OK, W_OK and X_OK combined.
WYI18N_EXPORT int WyAccess(const char* path, int mode);

// Renames a file like rename(2), but never replaces: if a file of the name `to` exists the call
// fails with EEXIST. Where the file system has no such operation (renameat2(2) with
// RENAME_NOREPLACE), the call first creates an empty file of that name, and replaces only that one;
// it stays behind if the process is killed in between. Directories cannot be renamed there.
WYI18N_EXPORT int WyRename(const char* from, const char* to);

// Removes a file name like unlink(2).
WYI18N_EXPORT int WyUnlink(const char* path);

// --- Shared libraries ---------------------------------------------------------------------------

// Opens a shared library like dlopen(3): by path (a name with a slash) or by name, which is looked
// up where the dynamic linker looks. All its symbols are bound at once (RTLD_NOW), so that a
// library with a missing symbol is refused here and does not fail at a later call; other libraries
// do not see them (RTLD_LOCAL). Returns the handle, which the caller passes to dlclose(3); or null,
// with the reason in dlerror(3). Returns null for a null or empty name, too.
WYI18N_EXPORT void* WyLoadLibrary(const char* name);

// --- Environment --------------------------------------------------------------------------------
// The environment belongs to the process and has no lock: the host does not change it (setenv,
// putenv) while another thread may be in one of these calls.

// Owns a copy of one text of any length, or no text at all.
class WYI18N_EXPORT CWyDynamicBufferForI18N {
 public:
  // Copies `text`. The buffer has no text if `text` is null or memory allocation fails.
  explicit CWyDynamicBufferForI18N(const char* text);
  ~CWyDynamicBufferForI18N();
  CWyDynamicBufferForI18N(const CWyDynamicBufferForI18N&) = delete;
  CWyDynamicBufferForI18N& operator=(const CWyDynamicBufferForI18N&) = delete;

  // The text, zero-terminated and valid as long as the buffer exists; null if there is none.
  const char* c_str() const noexcept { return m_pszText; }

 private:
  char* const m_pszText;
};

// The value that an environment variable had when the object was constructed. Later changes of the
// environment do not change it.
//
//   const CWyGetEnv root("ORVA_WA_ROOT");
//   if (root.c_str() != nullptr) Load(root.c_str());
class WYI18N_EXPORT CWyGetEnv {
 public:
  // Reads the variable `name`; a null name counts as one that is not set.
  explicit CWyGetEnv(const char* name);

  // The value, valid as long as the object exists: null if the variable is not set (or memory
  // allocation fails), the empty text if its value is empty.
  const char* c_str() const noexcept { return m_value.c_str(); }

 private:
  const CWyDynamicBufferForI18N m_value;
};

// Returns the administrator's locale, in the spelling of the environment ("de_DE.UTF-8"): the first
// of the variables LC_ALL, LC_MESSAGES and LANG that is set and not empty, else "en". Never null.
// It is looked up at every call. The environment owns the text, which is valid until the variable
// changes.
//
// A change by setenv(3), putenv(3), unsetenv(3) or clearenv(3) is noticed by the next call. Any
// other way to set or remove one of the three, by writing into the array or into the string of
// another variable, is noticed within a second.
WYI18N_EXPORT const char* WyGetAdminLocale();

#endif
