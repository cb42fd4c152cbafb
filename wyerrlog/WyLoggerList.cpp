// The registry of named loggers. Its guard is held for writing while a logger is constructed or
// destroyed; look-ups of the same thread in that time, by an output that is being closed for
// instance, find the loggers that are there.

#include "wyerrlog/WyLoggerList.h"

#include <cstring>
#include <memory>
#include <new>

#include "wyerrlog/internal/WyLogAccess.h"
#include "wyerrlog/internal/WyNoThrow.h"
#include "wyerrlog/internal/WyProcessObject.h"
#include "wyerrlog/internal/WyZeroedMemory.h"

struct CWyLoggerList::Deleter {
  void operator()(const CWyLogger* pLogger) const {
    pLogger->~CWyLogger();
    WyDeleteZeroed(const_cast<CWyLogger*>(pLogger), sizeof *pLogger);
  }
};

// A logger takes 256 KiB for its trace decisions, of which only pages with decisions are mapped.
CWyLogger* CWyLoggerList::NewLogger() {
  void* const pMemory = WyNewZeroed(sizeof(CWyLogger));
  // The constructor throws nothing.
  std::unique_ptr<CWyLogger, Deleter> pLogger(new (pMemory) CWyLogger(CWyLogger::InZeroedMemory));
  pLogger->Init();
  return pLogger.release();
}

bool CWyLoggerList::cmp_cstr::operator()(const char* pszFirst, const char* pszSecond) const {
  return strcmp(pszFirst, pszSecond) < 0;
}

CWyLoggerList::CWyLoggerList() : m_pMap(nullptr) {}

// Held for writing like in RemoveLogger, because closing outputs may look loggers up.
CWyLoggerList::~CWyLoggerList() {
  LoggerMap* const pMap = m_pMap;
  if (pMap == nullptr) return;
  const CWyErrLogAutoWriter writer(m_guard);
  for (const auto& [pszName, pLogger] : *pMap) {
    delete[] pszName;
    Deleter()(pLogger);
  }
  m_pMap = nullptr;
  delete pMap;
}

// Requires: the guard is held, and there is a map.
CWyLogger* CWyLoggerList::Find(const char* pszName) const {
  const LoggerMap& map = *m_pMap.load();
  const auto found = map.find(pszName);
  return found != map.end() ? const_cast<CWyLogger*>(found->second) : nullptr;
}

CWyLogger* CWyLoggerList::GetLogger(const char* pszName) {
  if (pszName == nullptr || m_pMap == nullptr) return nullptr;
  // Code of the host that runs while a logger is constructed or destroyed may ask for another one.
  if (m_guard.IsHeldByThisThread()) return Find(pszName);
  const CWyLogReader reader(m_guard);
  return reader ? Find(pszName) : nullptr;
}

CWyLogger* CWyLoggerList::AddLogger(const char* pszName) {
  // The empty name is that of the process logger in the Java class, so no other logger has it.
  if (pszName == nullptr || *pszName == '\0') return nullptr;
  const CWyLogWriter writer(m_guard);
  if (!writer) return nullptr;
  return WyNoThrow<CWyLogger*>(nullptr, [&] { return FindOrMake(pszName); });
}

// Requires: the guard is held for writing. Everything that may throw comes before the map changes;
// its own insertion leaves it as it was if it throws. Once the registry has ended a new logger
// would never be released, so the process logger stands in for it.
CWyLogger* CWyLoggerList::FindOrMake(const char* pszName) {
  if (m_pMap == nullptr) m_pMap = new LoggerMap;
  if (CWyLogger* pLogger = Find(pszName)) return pLogger;
  if (CWyProcessObject<CWyLoggerList>::HasEnded()) return theLogger();
  std::unique_ptr<CWyLogger, Deleter> pLogger(NewLogger());
  if (!pLogger->IsUsable()) return nullptr;
  const std::size_t uSize = strlen(pszName) + 1;
  std::unique_ptr<char[]> pszCopy(new char[uSize]);
  memcpy(pszCopy.get(), pszName, uSize);
  m_pMap.load()->emplace(pszCopy.get(), pLogger.get());
  static_cast<void>(pszCopy.release());
  return pLogger.release();
}

bool CWyLoggerList::RemoveLogger(const char* pszName) {
  if (pszName == nullptr) return false;
  if (m_pMap == nullptr) return true;
  const CWyLogWriter writer(m_guard);
  if (!writer) return false;
  LoggerMap& map = *m_pMap.load();
  const auto found = map.find(pszName);
  // A callback must not destroy the logger whose guard it is called under.
  if (found == map.end() || found->second->IsUsedByThisThread()) return false;
  const std::unique_ptr<const char[]> pszStored(found->first);
  const std::unique_ptr<const CWyLogger, Deleter> pLogger(found->second);
  // Out of the map first; the logger is destroyed after this, still under the guard, and then its
  // name. Its outputs do not find it any more while they close.
  map.erase(found);
  return true;
}

// Only releases them: threads that outlive main may still call their loggers.
void CWyLoggerList::End() noexcept {
  const CWyErrLogAutoReader reader(m_guard);
  if (m_pMap == nullptr) return;
  for (const auto& [pszName, pLogger] : *m_pMap.load()) const_cast<CWyLogger*>(pLogger)->End();
}

CWyLoggerList* theLoggerList() {
  theLogger();  // constructed before the registry, hence released after it
  return CWyProcessObject<CWyLoggerList>::Get();
}

CWyLogger* getMyLogger(const char* pszName) {
  CWyLoggerList* const pList = theLoggerList();
  if (pList == nullptr) return nullptr;
  // Held for reading first: look-ups of loggers that exist run side by side.
  CWyLogger* const pLogger = pList->GetLogger(pszName);
  return pLogger != nullptr ? pLogger : pList->AddLogger(pszName);
}

bool removeMyLogger(const char* pszName) {
  CWyLoggerList* const pList = theLoggerList();
  return pList != nullptr && pList->RemoveLogger(pszName);
}
