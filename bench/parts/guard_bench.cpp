// bench_guard: threads that lock one guard for reading, as log calls do, or for writing.

#include <benchmark/benchmark.h>

#include "wyerrlog/WyErrLogUtil.h"

namespace {

void Readers(benchmark::State& state) {
  static CWyErrLogGuard guard;
  for (auto _ : state) const CWyErrLogAutoReader reader(guard);
}
BENCHMARK(Readers)->ThreadRange(1, 8);

void Writers(benchmark::State& state) {
  static CWyErrLogGuard guard;
  for (auto _ : state) const CWyErrLogAutoWriter writer(guard);
}
BENCHMARK(Writers)->ThreadRange(1, 8);

}  // namespace
