// The error chain: a singly linked list with its tail, so that entries are appended in constant
// time. A chain owns its entries, and each entry has one owner: copying a chain moves them.

#include "wyerrlog/WyError.h"

#include <utility>

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/internal/WyNoThrow.h"

CWyErrData::CWyErrData() : m_pNext(nullptr), m_nErr(0), m_bLogged(false) {}

CWyErrData::~CWyErrData() { m_pNext = nullptr; }

CWyError::CWyError() : m_pHead(nullptr), m_pTail(nullptr) {}

CWyError::~CWyError() { Clear(); }

CWyError::CWyError(const CWyError& other) : CWyError() { TakeOver(other); }

// Assigned to itself a chain is empty afterwards.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
CWyError& CWyError::operator=(const CWyError& other) {
  Clear();
  TakeOver(other);
  return *this;
}

// The source is empty afterwards, although it is constant: its members are mutable for this.
void CWyError::TakeOver(const CWyError& other) {
  m_pHead = std::exchange(other.m_pHead, nullptr);
  m_pTail = std::exchange(other.m_pTail, nullptr);
}

CWyErrData* CWyError::NewErrData() {
  return WyNoThrow<CWyErrData*>(nullptr, [] { return new CWyErrData; });
}

// In a loop: a destructor that deleted the next entry would need stack for every entry.
void CWyError::Clear() {
  while (m_pHead != nullptr) delete std::exchange(m_pHead, m_pHead->GetNext());
  m_pTail = nullptr;
}

void CWyError::AddError(CWyErrData* pEntry) {
  if (pEntry == nullptr) return;
  // An entry that comes from another chain must not bring the rest of that chain with it.
  pEntry->SetNext(nullptr);
  if (m_pHead == nullptr) {
    m_pHead = pEntry;
  } else {
    m_pTail->SetNext(pEntry);
  }
  m_pTail = pEntry;
}

void CWyError::SetError(CWyErrData* pEntry) {
  Clear();
  AddError(pEntry);
}

// An entry counts as logged after one attempt, successful or not: a second call writes no message
// twice.
bool CWyError::LogMessages() {
  CWyLogger& logger = *theLogger();
  bool bAllWritten = true;
  for (CWyErrData* pEntry = m_pHead; pEntry != nullptr; pEntry = pEntry->GetNext()) {
    if (pEntry->GetLogged()) continue;
    if (!logger.LogErrMsg(pEntry->GetMsg())) bAllWritten = false;
    pEntry->SetLogged(true);
  }
  return bAllWritten;
}

// The last entry stands for the whole chain: the others count as logged too.
bool CWyError::LogLastMessage() {
  if (m_pTail != nullptr) theLogger()->LogErrMsg(m_pTail->GetMsg());
  for (CWyErrData* pEntry = m_pHead; pEntry != nullptr; pEntry = pEntry->GetNext()) {
    pEntry->SetLogged(true);
  }
  return true;
}

int CWyError::GetLastError() const { return m_pTail != nullptr ? m_pTail->GetErr() : 0; }
