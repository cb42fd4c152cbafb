#ifndef AGENT_COMMON_TRACESWITCH_H
#define AGENT_COMMON_TRACESWITCH_H

#include <atomic>
#include <mutex>

#include "AgentLog.h"

// Turns tracing on and off in all processes of a server. The switch lies in memory that a process
// shares with the children it forks; each of them follows it before it serves a request.
class TraceSwitch {
 public:
  // Constructed by the parent, before it forks. Throws std::system_error if there is no memory.
  explicit TraceSwitch(bool bOn);
  ~TraceSwitch();
  TraceSwitch(const TraceSwitch&) = delete;
  TraceSwitch& operator=(const TraceSwitch&) = delete;

  // Called by any process. Turning tracing on again reads the trace configuration again.
  void Turn(bool bOn);

  // Turns this process's tracing on or off if that has changed since the last call; else costs one
  // load. Thread-safe: other threads do not wait for the one that turns it.
  void Follow(const AgentLog& log);

 private:
  // Counts the changes: each Turn makes it larger. Odd: tracing is on.
  std::atomic<unsigned int>* m_puShared;
  std::atomic<unsigned int> m_uFollowed{0};
  std::mutex m_turning;
};

#endif
