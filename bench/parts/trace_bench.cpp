// Trace decisions and trace records. The output discards the records.

#include <benchmark/benchmark.h>

#include <memory>

#include "bench/support/AgentHost.h"

namespace {

bool Trace() { return bench::TraceRefusal(*theLogger(), "alice01", "write", "/reports/2026/q1"); }

void TurnTracingOn(const char* pszConfiguration, int iLayout = WyTraceLayout::Brackets) {
  bench::EnableTrace(bench::NewDiscardingOutput(), pszConfiguration, iLayout);
}
void TraceSevenFields(const benchmark::State&) { TurnTracingOn(bench::SevenFields); }
void TurnTracingOff(const benchmark::State&) { theLogger()->DisableTrace(false); }

// ---- Decisions ----------------------------------------------------------------------------------

void Decide(benchmark::State& state, unsigned int uId) {
  CWyLogger& logger = *theLogger();
  for (auto _ : state) benchmark::DoNotOptimize(logger.TraceEnabled(uId));
}
BENCHMARK_CAPTURE(Decide, TracingOff, Agent::NotTraced)->Threads(1)->Threads(2)->Threads(4);
BENCHMARK_CAPTURE(Decide, TracingOfOthers, Agent::NotTraced)
    ->Setup(TraceSevenFields)
    ->Teardown(TurnTracingOff)
    ->Threads(1)
    ->Threads(2)
    ->Threads(4);
BENCHMARK_CAPTURE(Decide, Traced, Agent::Traced)
    ->Setup(TraceSevenFields)
    ->Teardown(TurnTracingOff)
    ->Threads(1)
    ->Threads(2)
    ->Threads(4);

// ---- Records ------------------------------------------------------------------------------------

// A trace call from the decision to the output, in each layout.
void WholeRecord(benchmark::State& state) {
  TurnTracingOn(bench::SevenFields, static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(Trace());
  theLogger()->DisableTrace(false);
}
BENCHMARK(WholeRecord)
    ->DenseRange(WyTraceLayout::Brackets, WyTraceLayout::Xml)
    ->Arg(WyTraceLayout::Json)
    ->ArgName("layout");

void Filtered(benchmark::State& state) {
  TurnTracingOn(bench::SevenFieldsOfNobody);
  for (auto _ : state) benchmark::DoNotOptimize(Trace());
  theLogger()->DisableTrace(false);
}
BENCHMARK(Filtered);

// A record of a configuration that is not installed any more.
std::unique_ptr<CWyTraceData> NewRecord(int iLayout) {
  auto pRecord = std::make_unique<CWyTraceData>();
  TurnTracingOn(bench::SevenFields, iLayout);
  bench::Check(theLogger()->ShouldTrace(Agent::Traced, pRecord.get()), "no record");
  theLogger()->DisableTrace(false);
  return pRecord;
}

void SetValues(CWyTraceData& data) {
  data.SetFieldValue(WyField::SrcFile, "Agent.cpp");
  data.SetFieldValue(WyField::Function, "SetValues");
  for (const unsigned int uId : {WyField::Pid, WyField::Tid, WyField::Date, WyField::PreciseTime}) {
    data.SetFieldValue(uId, 0);
  }
  data.SetFieldValue(WyField::Message, "User alice01 may not write /reports/2026/q1.");
}

// Assembling a record whose values are set.
void Layout(benchmark::State& state) {
  const auto pData = NewRecord(static_cast<int>(state.range(0)));
  SetValues(*pData);
  for (auto _ : state) {
    CWyErrLogMessage msg(false);
    benchmark::DoNotOptimize(pData->AssembleTraceMessage(&msg, WyTraceLine::Values));
  }
}
BENCHMARK(Layout)
    ->DenseRange(WyTraceLayout::Brackets, WyTraceLayout::Xml)
    ->Arg(WyTraceLayout::Json)
    ->ArgName("layout");

void SetAndEmpty(benchmark::State& state) {
  const auto pData = NewRecord(WyTraceLayout::Brackets);
  for (auto _ : state) {
    SetValues(*pData);
    benchmark::DoNotOptimize(pData->LeaveNoBody());
  }
}
BENCHMARK(SetAndEmpty);

// Copying a new configuration, as each thread does at its next trace call.
void Refresh(benchmark::State& state) {
  const auto pMaster = NewRecord(WyTraceLayout::Brackets);
  const auto pData = std::make_unique<CWyTraceData>();
  for (auto _ : state) {
    *pData = *pMaster;
    benchmark::DoNotOptimize(pData->FieldTraced(WyField::Message));
  }
}
BENCHMARK(Refresh);

}  // namespace
