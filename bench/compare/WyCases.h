#ifndef BENCH_COMPARE_WYCASES_H
#define BENCH_COMPARE_WYCASES_H

// What all cases of this library share: the file that a workload names, and the loop that logs.

#include <stdexcept>

#include "bench/compare/Contestant.h"
#include "wyerrlog/WyLogger.h"

namespace compare {

static_assert(static_cast<int>(FileKind::Plain) == WyFileMode::Append);
static_assert(static_cast<int>(FileKind::LimitedAppend) == WyFileMode::AppendRollBySize);
static_assert(static_cast<int>(FileKind::LimitedBackup) == WyFileMode::RollAtOpenAndBySize);

inline constexpr int MaxBackups = 5;

inline CWyLogOutput* NewFile(const Workload& workload) {
  return theLogger()->NewLogOutput(WyOutputType::File, workload.strPath.c_str(),
                                   static_cast<int>(workload.fileKind), SizeLimit, MaxBackups);
}

// Calls `logOne`, which returns false on failure, for each record.
template <typename LogOne>
void LogEach(const Records& records, LogOne logOne) {
  for (const Record& record : records) {
    if (!logOne(record)) throw std::runtime_error("a record was not written");
  }
}

// The cases that compare a feature with the plain call; null for any other case.
std::unique_ptr<Contestant> NewFeature(const Workload& workload);

}  // namespace compare

#endif
