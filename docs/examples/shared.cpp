// One audit log of several worker processes, which roll it over.
#include <sys/wait.h>
#include <unistd.h>
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>

#include <cstdio>
#include <filesystem>
#include <string>

// [shared]
bool OpenLog() {
  WyFileOptions options;
  options.shared = true;
  options.mode = WyFileMode::AppendRollBySize;
  options.maxSizeMB = 1;
  return WyAuditToFile("audit.log", options);
}

int Work(int iWorker) {
  for (int i = 0; i < 5000; ++i) {
    if (!WY_AUDIT("request").Set("worker", iWorker).Set("number", i).Write()) return 1;
  }
  return 0;
}

int main() {
  if (!OpenLog()) return 1;
  for (int iWorker = 0; iWorker < 4; ++iWorker) {
    if (fork() == 0) _exit(Work(iWorker));
  }
  // [/shared]
  int iStatus = 0, iFailed = 0;
  while (wait(&iStatus) > 0) iFailed += iStatus != 0 ? 1 : 0;
  long lRecords = 0;
  int iFiles = 0;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    if (entry.path().extension() != ".log") continue;
    ++iFiles;
    std::FILE* const pFile = std::fopen(entry.path().c_str(), "r");
    for (int c; (c = std::getc(pFile)) != EOF;) lRecords += c == '\n' ? 1 : 0;
    std::fclose(pFile);
  }
  std::printf("%ld records in %s, %d workers failed\n", lRecords,
              iFiles > 1 ? "several files" : "one file", iFailed);
  return iFailed;
}
