// bench_parts: the cost of the parts of the library. With the argument "cold" the program only
// creates the process logger, without components, and prints the time in nanoseconds.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "bench/support/AgentHost.h"

namespace {

using Clock = std::chrono::steady_clock;

int StartCold() {
  const Clock::time_point begin = Clock::now();
  benchmark::DoNotOptimize(theLogger());
  const std::chrono::nanoseconds elapsed = Clock::now() - begin;
  return std::printf("%ld\n", static_cast<long>(elapsed.count())) > 0 ? 0 : 1;
}

double NanosecondsOfColdStart() {
  const std::string strProgram = std::filesystem::read_symlink("/proc/self/exe");
  const std::unique_ptr<FILE, int (*)(FILE*)> pAnswer(
      popen(("env -u ORVA_WA_ROOT '" + strProgram + "' cold").c_str(), "r"), pclose);
  long nNanoseconds = 0;
  bench::Check(pAnswer != nullptr && fscanf(pAnswer.get(), "%ld", &nNanoseconds) == 1,
               "no cold start");
  return static_cast<double>(nNanoseconds);
}

// The first call of theLogger(). Each sample is measured in a new process.
void ColdStart(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(NanosecondsOfColdStart() / 1e9);
}
BENCHMARK(ColdStart)->UseManualTime()->Iterations(50)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "cold") == 0) return StartCold();
  bench::ProvideComponent();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
