// File outputs: a text written to a plain and to a size-limited file, and rollovers.

#include <benchmark/benchmark.h>

#include "bench/support/AgentHost.h"
#include "test_support/TempDirectory.h"

namespace {

constexpr int MaxSize = 2000, MaxBackups = 5;

// The argument is a WyFileMode.
void Write(benchmark::State& state) {
  const TempDirectory directory;
  CWyFileOutput output;
  bench::Check(output.SetParams(directory.Path("a.log").c_str(), static_cast<int>(state.range(0)),
                                MaxSize, MaxBackups) &&
                   output.Open(),
               "no file");
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

void Rollover(benchmark::State& state) {
  const TempDirectory directory;
  CWyFileOutput output;
  bench::Check(output.SetParams(directory.Path("a.log").c_str(), WyFileMode::AppendRollBySize,
                                MaxSize, MaxBackups) &&
                   output.Open(),
               "no file");
  for (auto _ : state) bench::Check(output.Rollover(), "no rollover");
  output.Close();
}
BENCHMARK(Rollover)->Iterations(2'000)->Unit(benchmark::kMicrosecond);

}  // namespace
