// Messages of a component. messages <folder of catalogs>
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>
#include <wyxlate/WyXlate.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

#include "SessionStoreMessages.h"

namespace {

// [wrapper]
// Logs on behalf of its caller: the record shows the caller's file and line.
bool Refuse(const std::string& strUser, WyCallSite where = WyCallSite::Here()) {
  WyLog(SessionStore::Refused.At(where), strUser, 20000);
  return false;
}
// [/wrapper]

}  // namespace

int main(int argc, char** argv) {
  // [catalogs]
  if (argc != 2 || !CWyXlate::SetResourceDirectory(argv[1])) return 2;
  // [/catalogs]
  if (!WyLogToFile("./error.log")) return 1;

  // [messages]
  const std::string strFile = "/var/lib/sessions";
  WyLog(SessionStore::Opened, strFile, 17);
  WyLog(SessionStore::Refused, std::string_view("alice"), 20000);
  WyLog(SessionStore::WriteFailed, strFile, std::generic_category().message(ENOSPC));
  // [/messages]

  Refuse("bob");

  // [unknown]
  WyLog(WyMessageId(SessionStore::Component, WySeverity::Error, 99));
  WyLog(WyMessageId(WyComponentId(13), WySeverity::Error, 1));
  // [/unknown]
  return 0;
}
