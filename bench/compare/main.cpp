// compare_<contestant> CASE FILE_KIND FILE RECORDS THREADS WARM_UP
//
// Each of THREADS threads writes WARM_UP records, which are not timed, and then RECORDS records to
// FILE. Prints the wall-clock time in nanoseconds divided by the number of timed records of all
// threads. Exit code 2: the contestant does not support the case.

#include <pthread.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>
#include <vector>

#include "bench/compare/Contestant.h"

namespace {

using compare::Contestant;
using compare::Records;
using Clock = std::chrono::steady_clock;

// std::barrier spins before it waits, so the number of its system calls varies. This one always
// makes the same calls.
class Barrier {
 public:
  explicit Barrier(unsigned int uThreads) { pthread_barrier_init(&m_barrier, nullptr, uThreads); }
  ~Barrier() { pthread_barrier_destroy(&m_barrier); }
  Barrier(const Barrier&) = delete;
  Barrier& operator=(const Barrier&) = delete;
  void Wait() { pthread_barrier_wait(&m_barrier); }

 private:
  pthread_barrier_t m_barrier;
};

// Never logs on the main thread. In a process of a single thread the C++ library omits some atomic
// operations, and the result would not be that of a server.
Clock::duration Measure(Contestant& contestant, unsigned int uThreads, const Records& warmUp,
                        const Records& records) {
  Barrier barrier(uThreads + 1);
  std::vector<std::thread> threads;
  for (unsigned int i = 0; i < uThreads; ++i) {
    threads.emplace_back([&] {
      contestant.Log(warmUp);
      barrier.Wait();
      barrier.Wait();
      contestant.Log(records);
    });
  }
  barrier.Wait();
  const Clock::time_point begin = Clock::now();
  barrier.Wait();
  for (std::thread& thread : threads) thread.join();
  return Clock::now() - begin;
}

int Run(char** ppszArguments) {
  const auto number = [&](int i) { return std::strtoul(ppszArguments[i], nullptr, 10); };
  const std::unique_ptr<Contestant> pContestant = compare::NewContestant(
      {ppszArguments[1], static_cast<compare::FileKind>(number(2)), ppszArguments[3]});
  if (pContestant == nullptr) return 2;

  const auto uThreads = static_cast<unsigned int>(number(5));
  const auto elapsed = Measure(*pContestant, uThreads, Records(number(6)), Records(number(4)));
  const std::chrono::duration<double, std::nano> nanoseconds = elapsed;
  std::printf("%.2f\n", nanoseconds.count() / (static_cast<double>(number(4)) * uThreads));
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc == 7) return Run(argv);
  std::fprintf(stderr, "usage: %s CASE FILE_KIND FILE RECORDS THREADS WARM_UP\n", argv[0]);
  return 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
  return 1;
}
