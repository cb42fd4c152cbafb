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
// A chain and its entries belong to one thread. A forked child has a copy of its thread's chains:
// what was not written before the fork, parent and child write both.

#include "wyerrlog/WyErrLogMessage.h"

// One error: a code, and a message that its maker formats as a complete error-log line.
class WYERRLOG_API CWyErrData {
 public:
  // Code 0, not logged, and an empty message in the time base of the process logger.
  CWyErrData();
  virtual ~CWyErrData();  // does not touch the entry behind it
  CWyErrData(const CWyErrData&) = delete;
  CWyErrData& operator=(const CWyErrData&) = delete;

  // The entry behind this one in its chain, which owns both; null at the end. The chain sets it.
  CWyErrData* GetNext() const { return m_pNext; }
  void SetNext(CWyErrData* pNext) { m_pNext = pNext; }

  // Whether LogMessages passes the entry over, as it does when the entry has been written.
  bool GetLogged() const { return m_bLogged; }
  void SetLogged(bool bLogged) { m_bLogged = bLogged; }

  // The message, which lives as long as the entry.
  CWyErrLogMessage& GetMsg() { return m_msg; }

  // The host's code for the error, an errno value, say.
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
  CWyError();           // an empty chain
  virtual ~CWyError();  // destroys the entries, written or not

  // Take over the other's chain and leave it empty, although it is passed as constant; entries that
  // this chain had are destroyed. Assigned to itself, a chain is empty afterwards.
  CWyError(const CWyError& other);
  CWyError& operator=(const CWyError& other);

  // A new entry, the caller's until it is added; null when memory is lacking.
  [[nodiscard]] static CWyErrData* NewErrData();

  // Appends the entry, which is the chain's from now on; a null entry changes nothing.
  void AddError(CWyErrData* pEntry);
  // Destroys the entries that there are, and appends this one.
  void SetError(CWyErrData* pEntry);
  // Destroys the entries.
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
