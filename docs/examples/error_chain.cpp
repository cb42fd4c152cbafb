// Errors that are collected first and logged later. error_chain <folder of catalogs>
#include <wyerrlog/WyError.h>
#include <wyerrlog/WyLogFile.h>
#include <wyerrlog/WyLogger.h>
#include <wyxlate/WyXlate.h>

#include <cerrno>
#include <cstring>

#include "SessionStoreMessages.h"

namespace {

// [collect]
bool WriteStore(const char* pszFile, int iErrno, CWyError& errors) {
  CWyErrData* pEntry = CWyError::NewErrData();
  if (pEntry == nullptr) return false;
  pEntry->GetMsg().FormatLogProlog(__FILE__, __LINE__, 0);
  pEntry->GetMsg().FormatMessage(SessionStore::WriteFailed, pszFile, std::strerror(iErrno));
  pEntry->SetErr(iErrno);
  errors.AddError(pEntry);  // the chain owns it from here on
  return false;
}
// [/collect]

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !CWyXlate::SetResourceDirectory(argv[1])) return 2;
  if (!WyLogToFile("./error.log")) return 1;

  // [log]
  CWyError errors;
  if (!WriteStore("/var/lib/sessions", ENOSPC, errors) &&
      !WriteStore("/tmp/sessions", EACCES, errors)) {
    errors.LogMessages();  // both places have failed
  }
  return errors.GetLastError() == EACCES ? 0 : 1;
  // [/log]
}
