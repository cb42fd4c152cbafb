#ifndef WYERRLOG_WYLOGGERLIST_H
#define WYERRLOG_WYLOGGERLIST_H

// Loggers under names, beside the process logger: for a tenant, a virtual host, a Java application.

#include <atomic>
#include <map>

#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/WyLogger.h"

// A registry of named loggers. Names are compared byte by byte. The registry owns names and
// loggers; any thread may call it. Using a logger and removing it must be ordered by the host: a
// removed logger is destroyed at once.
//
// A forked child has the loggers of its parent, and may add and remove its own.
//
// What runs while a logger is made or removed, the Close of an output, say, finds the loggers that
// are there; it can neither add nor remove one.
class WYERRLOG_API CWyLoggerList {
 public:
  CWyLoggerList();           // an empty registry
  virtual ~CWyLoggerList();  // destroys every logger
  CWyLoggerList(const CWyLoggerList&) = delete;
  CWyLoggerList& operator=(const CWyLoggerList&) = delete;

  // The logger of that name; null when there is none, and for a null name.
  CWyLogger* GetLogger(const char* pszName);

  // The logger of that name, made when there is none; its outputs are the caller's to install. Null
  // for a null or empty name, and when memory is lacking.
  CWyLogger* AddLogger(const char* pszName);

  // Destroys the logger of that name. False when there is none, for a null name and for a caller
  // inside one of that logger's own calls; true as long as no logger has ever been added.
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
  WYERRLOG_LOCAL void End() noexcept;  // releases every logger at process exit

  // Made by the first addition; atomic because it is tested before the guard is taken.
  std::atomic<LoggerMap*> m_pMap;
  CWyErrLogGuard m_guard;
};

// The process's registry, made by the first call; null while there is no memory for it. Its loggers
// are released at process exit, before the process logger is; what is asked for afterwards and is
// not there is the process logger.
WYERRLOG_API CWyLoggerList* theLoggerList();

// The logger of that name in the process's registry, made when there is none; null for a null or
// empty name, and when memory is lacking. It belongs to the registry.
WYERRLOG_API CWyLogger* getMyLogger(const char* pszName);

// Destroys the logger of that name in the process's registry: see CWyLoggerList::RemoveLogger.
WYERRLOG_API bool removeMyLogger(const char* pszName);

#endif
