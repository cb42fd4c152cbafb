// What a logger for each tenant costs: `bench_tenants [LOGGERS]` creates that many named loggers
// and prints the time and the memory that they take, the time of a look-up by name, and that of the
// first record of each.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyLoggerList.h"

namespace {

// Milliseconds that the call takes.
template <typename Call>
double Time(Call call) {
  const auto begin = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
      .count();
}

// MiB of memory that is resident.
double ResidentMemory() {
  std::ifstream file("/proc/self/statm");
  long lAll = 0, lResident = 0;
  file >> lAll >> lResident;
  return static_cast<double>(lResident) * 4096 / (1 << 20);
}

void Discard(const char* /*pszText*/, int /*iLength*/) {}

void LogFirst(CWyLogger& logger) {
  CWyErrLogMessage msg(false);
  msg.FormatAuditMessage("%s\n", "the first record of a tenant");
  if (!logger.EnableAuditLogRollover(logger.NewLogOutput(WyOutputType::SyncCallback, Discard)) ||
      !logger.LogAuditMsg(msg)) {
    std::exit(1);
  }
}

}  // namespace

int main(int iArguments, char** ppszArguments) {
  const std::size_t uLoggers = iArguments > 1 ? std::strtoul(ppszArguments[1], nullptr, 10) : 1000;
  std::vector<std::string> names;
  for (std::size_t i = 0; i < uLoggers; ++i) names.push_back("tenant-" + std::to_string(i));
  std::vector<CWyLogger*> loggers(uLoggers);
  const auto lookUpAll = [&] {
    for (std::size_t i = 0; i < uLoggers; ++i) loggers[i] = getMyLogger(names[i].c_str());
  };
  theLogger();

  const double dBefore = ResidentMemory();
  const double dCreate = Time(lookUpAll);
  const double dMemory = ResidentMemory() - dBefore;
  const double dLookUp = Time(lookUpAll);
  const double dFirst = Time([&] {
    for (CWyLogger* pLogger : loggers) LogFirst(*pLogger);
  });
  const double dEach = 1e6 / static_cast<double>(uLoggers);  // nanoseconds per logger
  std::printf("%zu loggers: %.1f ms, %.1f MiB; look-up %.0f ns; first record %.0f ns\n", uLoggers,
              dCreate, dMemory, dLookUp * dEach, dFirst * dEach);
}
