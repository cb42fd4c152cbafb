// File outputs: writing a text to a plain and to a size-limited file, to a file for audit records
// with its options, and rolling over.

#include <benchmark/benchmark.h>

#include <filesystem>

#include "bench/support/AgentHost.h"
#include "wyerrlog/WyAuditFileOutput.h"

namespace {

constexpr int MaxSize = 2000, MaxBackups = 5;

// A log file in a directory of its own, which is removed at the end with all it contains.
class LogFile {
 public:
  LogFile() : m_strDirectory(std::filesystem::temp_directory_path() / "wyerrlog_XXXXXX") {
    bench::Check(mkdtemp(m_strDirectory.data()) != nullptr, "no directory");
  }
  ~LogFile() { std::filesystem::remove_all(m_strDirectory); }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  void Open(CWyFileOutput& output, int iMode) const {
    const std::string strPath = m_strDirectory + "/a.log";
    bench::Check(output.SetParams(strPath.c_str(), iMode, MaxSize, MaxBackups) && output.Open(),
                 "no file");
  }
  WyFileOptions Options() const {
    WyFileOptions options;
    options.path = m_strDirectory + "/a.log";
    return options;
  }

 private:
  std::string m_strDirectory;
};

// The argument is a WyFileMode.
void Write(benchmark::State& state) {
  const LogFile file;
  CWyFileOutput output;
  file.Open(output, static_cast<int>(state.range(0)));
  const std::string strLine = std::string(124, 'x') + '\n';
  for (auto _ : state) benchmark::DoNotOptimize(output.Log(strLine.c_str()));
  output.Close();
}
BENCHMARK(Write)
    ->Arg(WyFileMode::Append)
    ->Arg(WyFileMode::AppendRollBySize)
    ->Arg(WyFileMode::RollAtOpenAndBySize)
    ->ArgName("mode")
    ->Iterations(200'000);

// The arguments are `daily`, `synchronous`, whether the size is limited, and `shared`. Synchronous
// records are on the disk of TMPDIR.
void WriteAudit(benchmark::State& state) {
  const LogFile file;
  WyFileOptions options = file.Options();
  options.daily = state.range(0) != 0;
  options.synchronous = state.range(1) != 0;
  if (state.range(2) != 0) {
    options.mode = WyFileMode::AppendRollBySize;
    options.maxSizeMB = MaxSize;
  }
  options.shared = state.range(3) != 0;
  CWyAuditFileOutput output(options);
  bench::Check(output.Open(), "no file");
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage((std::string(124, 'x') + '\n').c_str());
  for (auto _ : state) benchmark::DoNotOptimize(output.Log(msg));
}
BENCHMARK(WriteAudit)
    ->Args({0, 0, 0, 0})
    ->Args({1, 0, 0, 0})
    ->Args({0, 0, 1, 0})
    ->Args({0, 0, 1, 1})
    ->Args({0, 1, 0, 0})
    ->ArgNames({"daily", "synchronous", "limited", "shared"})
    ->UseRealTime();

void Rollover(benchmark::State& state) {
  const LogFile file;
  CWyFileOutput output;
  file.Open(output, WyFileMode::AppendRollBySize);
  for (auto _ : state) bench::Check(output.Rollover(), "no rollover");
  output.Close();
}
BENCHMARK(Rollover)->Iterations(2'000)->Unit(benchmark::kMicrosecond);

}  // namespace
