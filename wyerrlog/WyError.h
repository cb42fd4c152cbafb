#ifndef WYERRLOG_WYERROR_H
#define WYERRLOG_WYERROR_H

// Errors that are collected on a code path before it is known which of them are to be logged: a
// failed attempt is an error only if the next attempt fails too.
//
//   CWyErrData* pEntry = CWyError::NewErrData();
//   if (pEntry != nullptr) {
//     pEntry->GetMsg().FormatLogProlog(__FILE__, __LINE__, 0);
//     pEntry->GetMsg().FormatMessage(uId, "argument");
//     pEntry->SetErr(EACCES);
//     errors.AddError(pEntry);
//   }
//   ...
//   errors.LogMessages();
//   return errors.GetLastError();
//
// A chain and its entries are used by one thread at a time and take no lock. A forked child has
// copies of the chains of its parent: an entry that was not written before the fork is written by
// each process that calls LogMessages. Nothing here throws but what a host's output throws.

#include "wyerrlog/WyErrLogMessage.h"

// One error: a code, and a message that the creator of the entry formats as a complete error-log
// line.
class WYERRLOG_API CWyErrData {
 public:
  // Code 0, not logged, and an empty message in the time base of the process logger.
  CWyErrData();
  virtual ~CWyErrData();  // does not touch the next entry
  CWyErrData(const CWyErrData&) = delete;
  CWyErrData& operator=(const CWyErrData&) = delete;

  // The next entry of the chain, which owns both; null at the end. Only the chain calls SetNext.
  CWyErrData* GetNext() const { return m_pNext; }
  void SetNext(CWyErrData* pNext) { m_pNext = pNext; }

  // Whether LogMessages skips the entry. It sets this for each entry that it has written; a host
  // sets it for an entry that is not to be logged.
  bool GetLogged() const { return m_bLogged; }
  void SetLogged(bool bLogged) { m_bLogged = bLogged; }

  // The message, part of the entry: valid as long as the entry exists.
  CWyErrLogMessage& GetMsg() { return m_msg; }

  // The host's code for the error, for example an errno value. The library does not interpret it.
  int GetErr() const { return m_nErr; }
  void SetErr(int nErr) { m_nErr = nErr; }

 private:
  CWyErrData* m_pNext;
  int m_nErr;
  bool m_bLogged;
  CWyErrLogMessage m_msg;
};

// A chain of errors, oldest first. It owns its entries. The destructor logs nothing: call
// LogMessages or LogLastMessage before, if the errors matter.
class WYERRLOG_API CWyError {
 public:
  CWyError();           // an empty chain
  virtual ~CWyError();  // destroys the entries, written or not

  // Take over the other's entries and leave it empty, although it is passed as constant; entries
  // that this chain had are destroyed. A chain can so be returned by value. Assigned to itself, a
  // chain is empty afterwards.
  CWyError(const CWyError& other);
  CWyError& operator=(const CWyError& other);

  // Returns a new entry, which the caller owns until it is added and may delete; null if memory
  // allocation fails.
  [[nodiscard]] static CWyErrData* NewErrData();

  // Appends the entry; the chain owns it from now on. A null entry changes nothing. Requires: the
  // entry comes from NewErrData, or from `new`, and is in no chain.
  void AddError(CWyErrData* pEntry);
  // Destroys all entries, then appends this one, as AddError does.
  void SetError(CWyErrData* pEntry);
  // Destroys all entries, written or not.
  void Clear();

  // Writes every entry not written yet to the error log of the process logger, oldest first.
  // Returns false if one could not be written (see CWyLogger::LogErrMsg); that entry counts as
  // written and is not tried again. Returns true for an empty chain.
  bool LogMessages();

  // Writes the newest entry, also if it was written before, and marks all entries as written.
  // Always returns true: a failed write is not reported.
  bool LogLastMessage();

  // Returns the code of the newest entry, 0 for an empty chain.
  int GetLastError() const;

 private:
  WYERRLOG_LOCAL void TakeOver(const CWyError& other);

  // A copy takes the entries from its source, so these change in constant objects.
  mutable CWyErrData* m_pHead;
  mutable CWyErrData* m_pTail;
};

#endif
