// Logs one message to the file error.log in the working directory.
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>

int main() {
  if (!WyLogToFile("error.log", {.mode = 3, .maxSizeMB = 10, .backups = 5})) return 1;
  constexpr unsigned int Information = WyMessageId(WyComponentId(1), WySeverity::Information, 1);
  return WyLog(Information, "Server started") ? 0 : 1;
}
