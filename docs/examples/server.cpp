// The start of a server: its three logs, an audit record for each request, and a trace.
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "SessionStoreMessages.h"

int main(int argc, char** argv) {
  constexpr int Rolling = WyFileMode::AppendRollBySize;
  if (!WyLogToFile("error.log", {.mode = Rolling, .maxSizeMB = 10, .backups = 5}) ||
      !WyAuditToFile("audit.log", {.permissions = 0640, .daily = true, .maxAgeDays = 90}) ||
      (argc > 1 && !WyTraceToFile("trace.log", {.config = argv[1]}))) {
    return std::perror("logs"), 1;
  }
  for (std::string strUser; std::getline(std::cin, strUser);) {
    WY_TRACE(SessionStore::Component).Set(WyField::User, strUser).Message("session wanted");
    if (strUser == "bob") WyLog(SessionStore::Refused, strUser, 20000);
    if (!WyAudit("session user=\"%s\"\n", strUser.c_str())) return 1;  // no record, no session
  }
}
