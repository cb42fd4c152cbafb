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
// handler interrupts is repeated.

// Opens a file like open(). `mode` holds the permission bits of a file that the call creates and is
// ignored when it creates none. The descriptor is always close-on-exec, so that programs which the
// process starts do not inherit it. The caller owns it and closes it with close().
WYI18N_EXPORT int WyOpen(const char* path, int flags, int mode);

// Tests a file like access(): F_OK for existence, or R_OK, W_OK and X_OK combined.
WYI18N_EXPORT int WyAccess(const char* path, int mode);

// Renames a file like rename(), but never replaces: an existing file of the name `to` fails with
// EEXIST. Where the file system cannot rename so by itself, an empty file takes the name first; it
// stays when the process is killed in between. Directories cannot be renamed there.
WYI18N_EXPORT int WyRename(const char* from, const char* to);

// Removes a file name like unlink().
WYI18N_EXPORT int WyUnlink(const char* path);

// --- Shared libraries ---------------------------------------------------------------------------

// Opens a shared library by path (a name with a slash) or by name (searched like the dynamic linker
// does). All its symbols are bound at once, so that a library with a missing symbol is refused here
// and does not fail at a later call, and they serve no other library. Returns the handle, which the
// caller gives back with dlclose(), or null; dlerror() then has the reason. A null or empty name
// answers null.
WYI18N_EXPORT void* WyLoadLibrary(const char* name);

// --- Environment --------------------------------------------------------------------------------
// The environment is the process's own and has no lock: the host does not change it (setenv,
// putenv) while another thread may be in one of these calls.

// Owns a copy of one text of any length, or no text at all.
class WYI18N_EXPORT CWyDynamicBufferForI18N {
 public:
  // Copies `text`; null makes a buffer without text, and so does a failed allocation.
  explicit CWyDynamicBufferForI18N(const char* text);
  ~CWyDynamicBufferForI18N();
  CWyDynamicBufferForI18N(const CWyDynamicBufferForI18N&) = delete;
  CWyDynamicBufferForI18N& operator=(const CWyDynamicBufferForI18N&) = delete;

  // The text, zero-terminated and valid as long as the buffer; null when there is none.
  const char* c_str() const noexcept { return m_pszText; }

 private:
  char* const m_pszText;
};

// The value that an environment variable had when the object was made. Later changes of the
// environment do not reach it.
class WYI18N_EXPORT CWyGetEnv {
 public:
  // Reads the variable `name`; a null name counts as one that is not set.
  explicit CWyGetEnv(const char* name);

  // The value, valid as long as the object: null when the variable is not set, the empty text when
  // it is set to nothing.
  const char* c_str() const noexcept { return m_value.c_str(); }

 private:
  const CWyDynamicBufferForI18N m_value;
};

// The administrator's locale, in the spelling of the environment ("de_DE.UTF-8"): the first of the
// variables LC_ALL, LC_MESSAGES and LANG that is set and not empty, else "en". It is looked up at
// every call. The text belongs to the environment and is valid until the variable changes. A string
// that was given to putenv for another variable, and is made one of these by writing into it, is
// found when the environment has changed otherwise.
WYI18N_EXPORT const char* WyGetAdminLocale();

#endif
