// The access agent: an HTTP server that serves a folder by an access policy, and logs with
// libwyerrlog. --help describes its options.

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>

#include "AccessAgent.h"
#include "AgentLog.h"
#include "IsAuthorizedMessages.h"
#include "Options.h"
#include "Policy.h"
#include "RequestText.h"

namespace {

// Blocks the signals that the main thread receives with sigwait. A signal handler could neither log
// nor lock a mutex. Threads inherit the mask, so this is called before the first thread is created.
sigset_t BlockSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int iSignal : {SIGTERM, SIGINT, SIGUSR1, SIGUSR2}) sigaddset(&signals, iSignal);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

// Turns tracing on and off by signals; returns on SIGTERM and SIGINT.
void HandleSignalsUntilEnd(const sigset_t& signals, const AgentLog& log) {
  for (;;) {
    int iSignal = 0;
    sigwait(&signals, &iSignal);
    if (iSignal == SIGUSR1) {
      log.TurnTracingOn();
    } else if (iSignal == SIGUSR2) {
      log.TurnTracingOff();
    } else {
      return;
    }
  }
}

int Fail(const std::string& strReason) {
  std::cerr << "access_agent: " << strReason << '\n';
  return EXIT_FAILURE;
}

void LogRefusal(const std::string& strFile, const PolicyError& error) {
  if (error.iLine == 0) {
    WyLog(IsAuthorized::PolicyUnreadable, Printable(strFile), error.strText);
  } else {
    WyLog(IsAuthorized::PolicyNotUnderstood, Printable(strFile), error.iLine,
          Printable(error.strText));
  }
}

bool LoadPolicy(const std::string& strFile, Policy& policy) {
  PolicyError error;
  if (!policy.Load(strFile, error)) {
    LogRefusal(strFile, error);
    return false;
  }
  WyLog(IsAuthorized::PolicyLoaded, Printable(strFile), policy.UserCount(), policy.RuleCount());
  return true;
}

int Run(const Options& options, const sigset_t& signals, const AgentLog& log) {
  const std::string strSeeLog = "; see " + options.log.strDirectory + "/error.log";
  Policy policy;
  if (!LoadPolicy(options.strPolicy, policy)) return Fail("policy refused" + strSeeLog);
  if (options.bTrace && !log.TurnTracingOn()) return Fail("cannot trace" + strSeeLog);

  AccessAgent agent(policy, log, options.strRoot);
  if (!agent.Start(options.iPort, static_cast<size_t>(options.iThreads))) {
    WyLog(IsAuthorized::AgentCannotListen, agent.Address(), std::generic_category().message(errno));
    return Fail("cannot listen" + strSeeLog);
  }
  WyLog(IsAuthorized::AgentStarted, agent.Address(), Printable(options.strRoot));
  std::cout << "listening on http://" << agent.Address() << std::endl;
  HandleSignalsUntilEnd(signals, log);
  agent.Stop();
  WyLog(IsAuthorized::AgentStopped, agent.Address());
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = ParseOptions(argc, argv);
  const sigset_t signals = BlockSignals();

  std::error_code error;
  if (!std::filesystem::is_directory(options.strRoot, error)) {
    return Fail("no such folder: " + options.strRoot);
  }
  AgentLog log(options.log);
  std::string strReason;
  if (!log.Open(strReason)) return Fail(strReason);
  return Run(options, signals, log);
}
