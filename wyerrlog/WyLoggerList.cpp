// The registry of named loggers. Its guard is held for writing while a logger is constructed or
// destroyed; look-ups of the same thread in that time find the loggers that are there.

#include "wyerrlog/WyLoggerList.h"

#include <cstring>
#include <string>

#include "wyerrlog/internal/WyLogAccess.h"
#include "wyerrlog/internal/WyNoThrow.h"
#include "wyerrlog/internal/WyProcessObject.h"

bool CWyLoggerList::cmp_cstr::operator()(const char* pszFirst, const char* pszSecond) const {
  return strcmp(pszFirst, pszSecond) < 0;
}

CWyLoggerList::CWyLoggerList() : m_pMap(nullptr) {}

CWyLoggerList::~CWyLoggerList() {
  LoggerMap* const pMap = m_pMap;
  if (pMap == nullptr) return;
  const CWyErrLogAutoWriter writer(m_guard);
  for (const auto& [pszName, pLogger] : *pMap) {
    delete[] pszName;
    delete pLogger;
  }
  m_pMap = nullptr;
  delete pMap;
}

// Under the guard, with a map.
CWyLogger* CWyLoggerList::Find(const char* pszName) const {
  const LoggerMap& map = *m_pMap.load();
  const auto found = map.find(pszName);
  return found != map.end() ? const_cast<CWyLogger*>(found->second) : nullptr;
}

CWyLogger* CWyLoggerList::GetLogger(const char* pszName) {
  if (pszName == nullptr || m_pMap == nullptr) return nullptr;
  // What a logger is made or removed with, its outputs say, may ask for another one.
  if (m_guard.IsHeldByThisThread()) return Find(pszName);
  const CWyLogReader reader(m_guard);
  return reader ? Find(pszName) : nullptr;
}

CWyLogger* CWyLoggerList::AddLogger(const char* pszName) {
  if (pszName == nullptr || *pszName == '\0') return nullptr;
  const CWyLogWriter writer(m_guard);
  if (!writer) return nullptr;
  return WyNoThrow<CWyLogger*>(nullptr, [&] { return FindOrMake(pszName); });
}

// Under the guard, for writing. Memory that is lacking shows before anything has changed.
CWyLogger* CWyLoggerList::FindOrMake(const char* pszName) {
  if (m_pMap == nullptr) m_pMap = new LoggerMap;
  if (CWyLogger* pLogger = Find(pszName)) return pLogger;
  if (CWyProcessObject<CWyLoggerList>::HasEnded()) return theLogger();
  auto pLogger = std::make_unique<CWyLogger>();
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
  if (found == map.end() || found->second->IsUsedByThisThread()) return false;
  const std::unique_ptr<const char[]> pszStored(found->first);
  const std::unique_ptr<const CWyLogger> pLogger(found->second);
  map.erase(found);
  return true;
}

void CWyLoggerList::End() noexcept {
  const CWyErrLogAutoReader reader(m_guard);
  if (m_pMap == nullptr) return;
  for (const auto& [pszName, pLogger] : *m_pMap.load()) const_cast<CWyLogger*>(pLogger)->End();
}

CWyLoggerList* theLoggerList() {
  theLogger();  // made before, hence released after
  return CWyProcessObject<CWyLoggerList>::Get();
}

CWyLogger* getMyLogger(const char* pszName) {
  CWyLoggerList* const pList = theLoggerList();
  if (pList == nullptr) return nullptr;
  CWyLogger* const pLogger = pList->GetLogger(pszName);
  return pLogger != nullptr ? pLogger : pList->AddLogger(pszName);
}

bool removeMyLogger(const char* pszName) {
  CWyLoggerList* const pList = theLoggerList();
  return pList != nullptr && pList->RemoveLogger(pszName);
}
