#include "wyerrlog/WyLoggerList.h"

#include <cstring>
#include <string>

#include "wyerrlog/WyErrLogPrivUtil.h"

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
  const CWyErrLogAutoReader reader(m_guard);
  return Find(pszName);
}

CWyLogger* CWyLoggerList::AddLogger(const char* pszName) {
  if (pszName == nullptr || *pszName == '\0') return nullptr;
  const CWyErrLogAutoWriter writer(m_guard);
  if (m_pMap == nullptr) m_pMap = new LoggerMap;
  if (CWyLogger* pLogger = Find(pszName)) return pLogger;
  if (CWyProcessObject<CWyLoggerList>::HasEnded()) return theLogger();
  auto pLogger = std::make_unique<CWyLogger>();
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
  const CWyErrLogAutoWriter writer(m_guard);
  LoggerMap& map = *m_pMap.load();
  const auto found = map.find(pszName);
  if (found == map.end()) return false;
  const auto [pszStored, pLogger] = *found;
  map.erase(found);
  delete pLogger;
  delete[] pszStored;
  return true;
}

void CWyLoggerList::Release() {
  const CWyErrLogAutoReader reader(m_guard);
  if (m_pMap == nullptr) return;
  for (const auto& [pszName, pLogger] : *m_pMap.load()) {
    const_cast<CWyLogger*>(pLogger)->Release();
  }
}

CWyLoggerList* theLoggerList() {
  theLogger();  // made before, hence released after
  return CWyProcessObject<CWyLoggerList>::Get();
}

CWyLogger* getMyLogger(const char* pszName) {
  CWyLoggerList& list = *theLoggerList();
  CWyLogger* const pLogger = list.GetLogger(pszName);
  return pLogger != nullptr ? pLogger : list.AddLogger(pszName);
}

bool removeMyLogger(const char* pszName) { return theLoggerList()->RemoveLogger(pszName); }
