#ifndef ACCESS_AGENT_OPTIONS_H
#define ACCESS_AGENT_OPTIONS_H

#include <string>

#include "AgentLog.h"

// The agent's command line (access_agent --help describes the options).
struct Options {
  std::string strRoot;
  std::string strPolicy;
  int iPort = 0;
  int iThreads = 8;
  bool bTrace = false;
  AgentLogOptions log;
};

// Parses the command line. Ends the process after --help, and with exit code 1 if an option is
// unknown, missing or has an invalid value.
Options ParseOptions(int argc, char** argv);

#endif
