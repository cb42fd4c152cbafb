#ifndef ACCESS_AGENT_TRACEFIELDS_H
#define ACCESS_AGENT_TRACEFIELDS_H

// The data fields that the agent fills, by their numbers in the library's table of known data
// fields; in trace configuration files they have the same names.

namespace TraceField {

enum Number : unsigned int {
  Message = 0,
  SrcFile = 1,
  Pid = 2,
  Tid = 3,
  Date = 4,
  Time = 5,
  PreciseTime = 6,
  Function = 7,
  User = 9,
  Rule = 14,
  IPAddr = 26,
  AuthReason = 29,
  AuthScheme = 30,
  Resource = 38,
  Action = 39,
  ResponseTime = 46,
  Result = 60,
  Tenant = 65,
};

}  // namespace TraceField

#endif
