// A sealed log: records of 125 bytes, as in the audit log of the demo, beside the bare write and
// the plain file output; and the verification.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include "bench/support/AgentHost.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog_seal/WySealKeys.h"
#include "wyerrlog_seal/WySealVerifier.h"
#include "wyerrlog_seal/WySealedOutput.h"

namespace {

constexpr int Records = 400'000;
const std::string Line = std::string(124, 'x') + '\n';

void BareWrite(benchmark::State& state) {
  const TempDirectory directory;
  const int hFile = open(directory.Path("a.log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  for (auto _ : state) benchmark::DoNotOptimize(write(hFile, Line.data(), Line.size()));
  close(hFile);
}
BENCHMARK(BareWrite)->Iterations(Records);

void PlainOutput(benchmark::State& state) {
  const TempDirectory directory;
  CWyFileOutput output;
  bench::Check(output.SetParams(directory.Path("a.log").c_str(), 1, 0, 0) && output.Open(), "file");
  for (auto _ : state) benchmark::DoNotOptimize(output.Log(Line.c_str()));
}
BENCHMARK(PlainOutput)->Iterations(Records);

// A log and its keys.
struct Sealed {
  explicit Sealed(bool bSigned) {
    bench::Check(WySealCreateKeys(directory.Path("keys"), bSigned, keys), "no keys");
    file.path = directory.Path("a.log");
  }
  void Write(benchmark::State& state) const {
    CWySealedOutput output(file, directory.Path("keys"));
    bench::Check(output.Open(), "no sealed log");
    for (auto _ : state) benchmark::DoNotOptimize(output.Log(std::string_view(Line)));
  }

  TempDirectory directory;
  WySealKeyTexts keys;
  WyFileOptions file;
};

// The argument: whether checkpoints are signed.
void SealedOutput(benchmark::State& state) { Sealed(state.range(0) != 0).Write(state); }
BENCHMARK(SealedOutput)->Arg(0)->Arg(1)->ArgName("signed")->Iterations(Records);

void Verify(benchmark::State& state) {
  const Sealed log(false);
  {
    CWySealedOutput output(log.file, log.directory.Path("keys"));
    bench::Check(output.Open(), "no sealed log");
    for (int i = 0; i < Records; ++i) bench::Check(output.Log(std::string_view(Line)), "refused");
  }
  uint64_t uRecords = 0;
  for (auto _ : state) {
    CWySealVerifier verifier([](const WySealFinding&) {});
    bench::Check(verifier.AddKey(log.keys.verification) && verifier.AddLog(log.file.path), "log");
    const WySealSummary summary = verifier.Run();
    bench::Check(summary.isIntact, "not intact");
    uRecords += summary.records;
  }
  state.SetItemsProcessed(static_cast<int64_t>(uRecords));
}
BENCHMARK(Verify)->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace
