// Logs what journal_test.py looks for, then waits until standard input ends and logs once more:
// exit code 0 if the first part was accepted and the last message refused, with the reason ENOENT.
#include <wyerrlog/WyLog.h>
#include <wyerrlog_journal/WyJournalOutput.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

namespace {

constexpr unsigned int Id(WySeverity::Number severity) {
  return WyMessageId(WyComponentId(1), severity, 1);
}

bool Install(bool (CWyLogger::*pInstall)(CWyLogOutput*), std::unique_ptr<CWyLogOutput> pOutput) {
  return (theLogger()->*pInstall)(pOutput.get()) && pOutput.release() != nullptr;
}

bool IsOpenedOnce() {
  CWyJournalOutput output("", 7), wrong("", 8);
  return !output.Close() && output.Open() && !output.Open() && output.Close() && !wrong.Open() &&
         errno == EINVAL;
}

}  // namespace

int main() {
  if (!IsOpenedOnce()) return 1;
  if (!Install(&CWyLogger::SetLogOutput, std::make_unique<CWyJournalOutput>("agent")) ||
      !Install(&CWyLogger::EnableAuditLogRollover,
               std::make_unique<CWyJournalOutput>(nullptr, 5))) {
    return 2;
  }
  const std::string strForged = "x\nPRIORITY=0\nMESSAGE=forged\n[1/1][t][a.cpp:1][ERROR][k-1] y";
  const std::string strLong = std::string(1000000, 'x') + "y\n";
  if (!WyLog(Id(WySeverity::Error), WyRaw(strForged)) || !WyLog(Id(WySeverity::Warning), "w") ||
      !WyAudit("deny rule=%d\n", 2) || !WyAudit("%s", strLong.c_str())) {
    return 3;
  }
  std::puts("logged");
  std::fflush(stdout);
  while (std::getchar() != EOF) continue;
  errno = 0;
  return !WyLog(Id(WySeverity::Error), "lost") && errno == ENOENT ? 0 : 4;
}
