#ifndef WYERRLOG_WYLOGGERLIST_H
#define WYERRLOG_WYLOGGERLIST_H

// Named loggers, beside the process logger: for a tenant, a virtual host, a Java application. Each
// has outputs, a trace configuration and settings of its own.
//
//   CWyLogger* const pLogger = getMyLogger("tenant-7");
//   if (pLogger == nullptr) return false;
//   CWyLogOutput* const pOutput =
//       pLogger->NewLogOutput(WyOutputType::File, "./tenant-7.log", WyFileMode::Append, 0, 0);
//   if (!pLogger->SetLogOutput(pOutput)) pLogger->DeleteLogOutput(pOutput);
//   WyLog(*pLogger, Login::UnknownUser, strUser);

#include <atomic>
#include <map>

#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/WyLogger.h"

// A registry of named loggers. Names are compared byte by byte. The registry owns the loggers, and
// copies of the names. Any thread may call any operation. The host must order the use and the
// removal of a logger: a removed logger is destroyed at once, while other threads may still have
// its address.
//
// A forked child has the loggers of its parent, with their outputs, and may add and remove its own.
//
// Code of the host that runs while a logger is constructed or removed (the Close of an output, for
// example) finds the loggers that are in the registry, but can neither add nor remove one:
// AddLogger returns null, RemoveLogger false.
class WYERRLOG_API CWyLoggerList {
 public:
  CWyLoggerList();           // an empty registry
  virtual ~CWyLoggerList();  // destroys every logger
  CWyLoggerList(const CWyLoggerList&) = delete;
  CWyLoggerList& operator=(const CWyLoggerList&) = delete;

  // Returns the logger of that name, which the registry owns; null if there is none, and for a null
  // name.
  CWyLogger* GetLogger(const char* pszName);

  // Returns the logger of that name; constructs one if there is none. A new logger has its
  // components loaded and no outputs: the caller installs them. Returns null for a null or empty
  // name, if memory allocation fails, and inside the construction or removal of a logger.
  CWyLogger* AddLogger(const char* pszName);

  // Releases and destroys the logger of that name, after the calls under way have ended; its
  // outputs are closed and deleted. Returns false if there is none, for a null name, and for a
  // caller inside one of that logger's own calls (a callback of the logger cannot remove it).
  // Returns true as long as no logger has ever been added.
  //
  // What a host's output throws in its Close is swallowed; the logger is removed all the same.
  bool RemoveLogger(const char* pszName);

 private:
  struct WYERRLOG_LOCAL cmp_cstr {
    bool operator()(const char* pszFirst, const char* pszSecond) const;
  };
  using LoggerMap = std::map<const char*, const CWyLogger*, cmp_cstr>;

  template <typename T>
  friend class CWyProcessObject;

  WYERRLOG_LOCAL bool IsUsable() const { return m_guard.IsUsable(); }
  WYERRLOG_LOCAL CWyLogger* Find(const char* pszName) const;
  WYERRLOG_LOCAL CWyLogger* FindOrMake(const char* pszName);
  WYERRLOG_LOCAL static CWyLogger* NewLogger();  // throws std::bad_alloc
  struct WYERRLOG_LOCAL Deleter;
  WYERRLOG_LOCAL void End() noexcept;  // releases every logger at process exit

  // Allocated by the first addition; atomic because it is tested before the guard is taken.
  std::atomic<LoggerMap*> m_pMap;
  CWyErrLogGuard m_guard;
};

// Returns the process's registry, constructed by the first call; null if memory allocation fails
// (the next call tries again). It is never destroyed. Its loggers are released at process exit,
// before the process logger is; from then on AddLogger and getMyLogger return the process logger,
// whose calls return false, for a name that is not in the registry. Thread-safe.
WYERRLOG_API CWyLoggerList* theLoggerList();

// Returns the logger of that name in the process's registry; constructs one if there is none.
// Returns null for a null or empty name, and if memory allocation fails. The registry owns the
// logger: the caller never deletes it. Thread-safe; two threads that ask for the same name receive
// the same logger.
WYERRLOG_API CWyLogger* getMyLogger(const char* pszName);

// Destroys the logger of that name in the process's registry: see CWyLoggerList::RemoveLogger.
// Returns false as well if there is no memory for the registry.
WYERRLOG_API bool removeMyLogger(const char* pszName);

#endif
