#ifndef BENCH_COMPONENT_AGENTMESSAGES_H
#define BENCH_COMPONENT_AGENTMESSAGES_H

// Identifiers of the benchmarks' component, "Web_Agent". The two messages have the same text, one
// in a catalog and one as a printf pattern, and produce the same line.

#include "wyerrlog/WyMessageId.h"

namespace Agent {

enum ComponentId : unsigned int {
  Component = WyComponentId(6),
  Traced = WyComponentId(6, 1),
  NotTraced = WyComponentId(6, 2),
};

enum Message : unsigned int {
  // The arguments of both: user, action, resource.
  Refused = WyMessageId(Component, WySeverity::Warning, 1),
  RefusedPrintf = WyMessageId(Component, WySeverity::Warning, 2),
};

}  // namespace Agent

#endif
