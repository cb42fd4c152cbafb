// Logs to standard output, as containers and services do. services [journal]
#include <syslog.h>
#include <unistd.h>
#include <wyerrlog/WyDescriptorOutput.h>
#include <wyerrlog/WyLog.h>

#include <memory>

#if __has_include(<wyerrlog_journal/WyJournalOutput.h>)
#include <wyerrlog_journal/WyJournalOutput.h>
#endif

namespace {

constexpr unsigned int Warning = WyMessageId(WyComponentId(1), WySeverity::Warning, 1);

// [descriptor]
bool LogToStandardOutput(int iPriority) {
  auto pOutput = std::make_unique<CWyDescriptorOutput>(STDOUT_FILENO, iPriority);
  if (!theLogger()->SetLogOutput(pOutput.get())) return false;
  static_cast<void>(pOutput.release());  // the logger deletes it
  return true;
}
// [/descriptor]

#if __has_include(<wyerrlog_journal/WyJournalOutput.h>)
// [journal]
bool LogToJournal() {
  auto pOutput = std::make_unique<CWyJournalOutput>("session-store");
  if (!theLogger()->SetLogOutput(pOutput.get())) return false;  // errno says why
  static_cast<void>(pOutput.release());
  return true;
}
// [/journal]
#else
bool LogToJournal() { return false; }
#endif

}  // namespace

int main(int argc, char**) {
  if (argc > 1) return LogToJournal() && WyLog(Warning, "Disk almost full") ? 0 : 1;

  if (!LogToStandardOutput(CWyDescriptorOutput::NoPriority)) return 1;
  WyLog(Warning, "Disk almost full");

  // [priority]
  // Under systemd: "<4>" before a warning, so that the journal knows the severity.
  if (!LogToStandardOutput(LOG_INFO)) return 1;
  WyLog(Warning, "Disk almost full");
  // [/priority]
  return 0;
}
