// A thread, a forked child and its parent log to one file.
#include <sys/wait.h>
#include <unistd.h>
#include <wyerrlog/WyLog.h>
#include <wyerrlog/WyLogFile.h>

#include <thread>

namespace {

constexpr unsigned int Information = WyMessageId(WyComponentId(1), WySeverity::Information, 1);

}  // namespace

int main() {
  if (!WyLogToFile("./error.log")) return 1;

  // [threads]
  std::thread worker([] { WyLog(Information, "from a thread"); });
  worker.join();

  const pid_t child = fork();
  if (child == 0) {
    WyLog(Information, "from the child");
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  WyLog(Information, "from the parent");
  // [/threads]
  return 0;
}
