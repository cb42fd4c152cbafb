// shipping_load DIRECTORY RECORDS SECONDS: numbered records from 8 threads, spread over some
// seconds, into an error log, a trace in the layout Json and a sealed audit log, each rolled over
// at 1 MB. Prints the number of each record that the library accepted.
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>
#include <wyerrlog_seal/WySealKeys.h>
#include <wyerrlog_seal/WySealedOutput.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int Threads = 8;
const std::string g_strPadding(900, 'x');  // so that a thousand records fill a file
const WyFileOptions g_rolled{.mode = WyFileMode::AppendRollBySize, .maxSizeMB = 1};

bool Seal(const std::string& strDirectory) {
  WySealKeyTexts keys;
  if (!WySealCreateKeys(strDirectory + "/keys", false, keys)) return false;
  std::ofstream(strDirectory + "/audit.key") << keys.verification << '\n';
  WyFileOptions file = g_rolled;
  file.path = strDirectory + "/audit.log";
  auto pOutput = std::make_unique<CWySealedOutput>(file, strDirectory + "/keys");
  return theLogger()->EnableAuditLogRollover(pOutput.get()) && pOutput.release() != nullptr;
}

bool Install(const std::string& strDirectory) {
  const std::string strConfig = strDirectory + "/trace.conf";
  std::ofstream(strConfig)
      << "version 1.1\ncomponents: Log\n"
         "data: Date, PreciseTime, Pid, Tid, SrcFile, TransactionID, User, Message\n";
  WySetAuditFormat(WyAuditFormat::Json);
  return WyLogToFile((strDirectory + "/error.log").c_str(), g_rolled) && Seal(strDirectory) &&
         WyTraceToFile(
             (strDirectory + "/trace.log").c_str(),
             {.config = strConfig.c_str(), .layout = WyTraceLayout::Json, .file = g_rolled});
}

// Whether the library accepted the record. Each hundredth record of the error log has three lines,
// one of which is empty.
bool LogRecord(int iNumber) {
  const std::string strText = "n=" + std::to_string(iNumber) + ";" + g_strPadding;
  const std::string strUser = "user" + std::to_string(iNumber % 7);
  switch (iNumber % 4) {
    case 0:
      WY_TRACE(WyComponentId(1)).Set(WyField::User, strUser).Message("%s", strText.c_str());
      return true;  // a file that cannot be written would be noticed by the other logs
    case 1:
      return WY_AUDIT("load").Set("user", strUser).Set("text", strText).Write();
    default:
      const std::string strLines = iNumber % 100 == 2 ? "three\n\nlines " + strText : strText;
      return WyLogText(WySeverity::Warning, WyRaw(strLines));
  }
}

void LogShare(int iThread, int iRecords, std::chrono::duration<double> length) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = iThread; i < iRecords; i += Threads) {
    std::this_thread::sleep_until(begin + length * i / iRecords);
    const WyRequestScope scope(WyField::TransactionID, "request" + std::to_string(i / 10));
    if (LogRecord(i)) std::printf("%d\n", i);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 || !Install(argv[1])) {
    std::perror("shipping_load DIRECTORY RECORDS SECONDS");
    return 1;
  }
  std::vector<std::thread> threads;
  for (int i = 0; i < Threads; ++i) {
    threads.emplace_back(LogShare, i, std::atoi(argv[2]),
                         std::chrono::duration<double>(std::atof(argv[3])));
  }
  for (std::thread& thread : threads) thread.join();
}
