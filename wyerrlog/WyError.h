#ifndef WYERRLOG_WYERROR_H
#define WYERRLOG_WYERROR_H

// Errors collected on a path before it is known which of them to log.
//
//   CWyErrData* pEntry = CWyError::NewErrData();
//   pEntry->GetMsg().FormatLogProlog(__FILE__, __LINE__, 0);
//   pEntry->GetMsg().FormatMessage(uId, "argument");
//   pEntry->SetErr(EACCES);
//   errors.AddError(pEntry);
//   ...
//   errors.LogMessages();
//   return errors.GetLastError();
//
// A chain and its entries belong to one thread.

#include "wyerrlog/WyErrLogMessage.h"

// One error: a code, and a message that its maker formats as a complete error-log line.
class WYERRLOG_API CWyErrData {
 public:
  CWyErrData();
  virtual ~CWyErrData();  // does not touch the entry behind it
  CWyErrData(const CWyErrData&) = delete;
  CWyErrData& operator=(const CWyErrData&) = delete;

  CWyErrData* GetNext() const { return m_pNext; }
  void SetNext(CWyErrData* pNext) { m_pNext = pNext; }
  bool GetLogged() const { return m_bLogged; }
  void SetLogged(bool bLogged) { m_bLogged = bLogged; }
  CWyErrLogMessage& GetMsg() { return m_msg; }
  int GetErr() const { return m_nErr; }
  void SetErr(int nErr) { m_nErr = nErr; }

 private:
  CWyErrData* m_pNext;
  int m_nErr;
  bool m_bLogged;
  CWyErrLogMessage m_msg;
};

// A chain of errors, which owns its entries.
class WYERRLOG_API CWyError {
 public:
  CWyError();
  virtual ~CWyError();

  // Take over the other's chain and leave it empty, although it is passed as constant; entries that
  // this chain had are destroyed. Assigned to itself, a chain is empty afterwards.
  CWyError(const CWyError& other);
  CWyError& operator=(const CWyError& other);

  // A new entry, the caller's until it is added; null when memory is lacking.
  static CWyErrData* NewErrData();

  // Appends the entry; a null entry changes nothing.
  void AddError(CWyErrData* pEntry);
  // Replaces the whole chain by the entry.
  void SetError(CWyErrData* pEntry);
  void Clear();

  // Writes every entry not written yet to the process's error log, oldest first. False when one
  // could not be written; it counts as written all the same and is not tried again.
  bool LogMessages();

  // Writes the newest entry, also when it was written before, and counts all as written. Always
  // true.
  bool LogLastMessage();

  // The code of the newest entry, 0 for an empty chain.
  int GetLastError() const;

 private:
  WYERRLOG_LOCAL void TakeOver(const CWyError& other);

  // The source of a copy gives up its chain, so they change in constant objects.
  mutable CWyErrData* m_pHead;
  mutable CWyErrData* m_pTail;
};

#endif
