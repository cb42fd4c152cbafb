// Trace records, in one of the four layouts. trace <configuration> <layout>
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>

#include <cstdlib>
#include <string>

#include "SessionStoreMessages.h"

namespace {

// [trace]
void FindSession(const std::string& strUser, int iCount) {
  WY_TRACE(SessionStore::Component)
      .Set(WyField::User, strUser)
      .Set(WyField::ResponseTime, 0.25)
      .Message("%d sessions examined", iCount);
}
// [/trace]

// [lazy]
int CountSessions() { return 17; }  // may be slow

void EndSessions(const std::string& strUser) {
  WY_TRACE(SessionStore::Cleanup)
      .Set(WyField::User, strUser)
      .Set(WyField::CacheSize, [] { return CountSessions(); })
      .Message("ended");
}
// [/lazy]

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  // [enable]
  CWyLogger& logger = *theLogger();
  logger.UseLocalTime(true);
  const int iLayout = std::atoi(argv[2]);  // a WyTraceLayout
  if (!WyTraceToFile("trace.log", {.config = argv[1], .layout = iLayout, .delimiter = " | "})) {
    return 1;
  }
  // [/enable]

  FindSession("alice", 17);
  EndSessions("bob");

  // [disable]
  logger.DisableTrace(false);
  // [/disable]
  FindSession("carol", 17);  // leaves no record
  return 0;
}
