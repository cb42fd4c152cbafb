#ifndef ACCESS_AGENT_OPTIONS_H
#define ACCESS_AGENT_OPTIONS_H

#include <string>

#include "AgentLog.h"

struct Options {
  std::string strRoot;
  std::string strPolicy;
  int iPort = 0;
  int iThreads = 8;
  bool bTrace = false;
  AgentLogOptions log;
};

// Reads the command line; ends the process when it asks for help or is not understood.
Options ParseOptions(int argc, char** argv);

#endif
