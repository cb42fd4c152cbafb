// Formatting messages, without writing them.

#include <benchmark/benchmark.h>

#include "bench/support/AgentHost.h"

namespace {

constexpr const char *User = "alice01", *Action = "write", *Resource = "/reports/2026/q1";

void Prolog(benchmark::State& state) {
  for (auto _ : state) {
    CWyErrLogMessage msg(false);
    benchmark::DoNotOptimize(msg.FormatLogProlog(__FILE__, __LINE__, 0));
  }
}
BENCHMARK(Prolog);

void Translated(benchmark::State& state) {
  for (auto _ : state) {
    CWyErrLogMessage msg(false);
    benchmark::DoNotOptimize(msg.FormatMessage(Agent::Refused, User, Action, Resource));
  }
}
BENCHMARK(Translated);

void Printf(benchmark::State& state) {
  for (auto _ : state) {
    CWyErrLogMessage msg(false);
    benchmark::DoNotOptimize(msg.FormatLogMessage(Agent::RefusedPrintf, User, Action, Resource));
  }
}
BENCHMARK(Printf);

void Audit(benchmark::State& state) {
  for (auto _ : state) {
    CWyErrLogMessage msg(false);
    benchmark::DoNotOptimize(
        msg.FormatAuditMessage("decision=deny user=\"%s\" action=\"%s\" resource=\"%s\" rule=%d\n",
                               User, Action, Resource, 1));
  }
}
BENCHMARK(Audit);

// Looking up component, key, bundle and pattern of a message, without assembling the line.
void LookUp(benchmark::State& state) {
  CWyErrLogMessage msg(false);
  char szText[256];
  for (auto _ : state) {
    benchmark::DoNotOptimize(msg.PreformatMessage(Agent::Refused, "en", szText, sizeof szText));
  }
}
BENCHMARK(LookUp);

}  // namespace
