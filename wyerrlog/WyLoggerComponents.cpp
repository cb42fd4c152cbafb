// What the logger's users see of its message components. The catalog does the work; see
// internal/WyMessageCatalog.h.

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/internal/WyComponentLibrary.h"
#include "wyerrlog/internal/WyMessageCatalog.h"
#include "wyerrlog/internal/WyNoThrow.h"

// Not inside the read-side section: the texts stay valid for the caller until the logger is
// released, which the host orders. A null catalog is that of a logger that memory allocation failed
// for.
const char* CWyLogger::FetchMsg(unsigned int uId) const {
  return m_pCatalog != nullptr ? m_pCatalog->FetchMsg(uId) : nullptr;
}

const char* CWyLogger::GetMsgBundle(unsigned int uId) const {
  return m_pCatalog != nullptr ? m_pCatalog->GetMsgBundle(uId) : nullptr;
}

const char* CWyLogger::GetAvailableComponents() const {
  return m_pCatalog != nullptr ? m_pCatalog->AvailableComponents() : nullptr;
}

const char* CWyLogger::GetAvailableDataFields() const {
  return m_pCatalog != nullptr ? m_pCatalog->AvailableDataFields() : nullptr;
}

CWyErrLogComponent* CWyLogger::LoadComponent(unsigned long /*uId*/, const char* pszLibName) {
  return WyNoThrow<CWyErrLogComponent*>(nullptr,
                                        [&] { return WyLoadComponentLibrary(pszLibName); });
}

void CWyLogger::UnloadComponent(CWyErrLogComponent* pComponent) {
  if (pComponent == nullptr) return;
  CWyMessageCatalog::BeginGeneration();
  WyUnloadComponentLibrary(*pComponent);
}

bool CWyLogger::InitKnownInfo() { return m_pCatalog != nullptr && m_pCatalog->BuildLists(); }
