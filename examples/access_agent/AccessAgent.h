#ifndef ACCESS_AGENT_ACCESSAGENT_H
#define ACCESS_AGENT_ACCESSAGENT_H

#include <httplib.h>

#include <string>
#include <thread>

#include "AccessControl.h"
#include "AccessRequest.h"
#include "AgentLog.h"
#include "Site.h"

// Serves a folder over HTTP on the loopback address, to the users that the policy permits. Every
// request, also one that is not valid HTTP, gets one decision, one audit record and one response.
class AccessAgent {
 public:
  // Requires: the policy and the log outlive the agent. `root` is the folder that is served.
  AccessAgent(const Policy& policy, const AgentLog& log, const std::string& root);
  ~AccessAgent();  // calls Stop
  AccessAgent(const AccessAgent&) = delete;
  AccessAgent& operator=(const AccessAgent&) = delete;

  // Listens on a port (0: any free one) and serves requests with `uThreads` threads. Returns when
  // the server runs; false if the port cannot be bound (see errno). Called once.
  bool Start(int iPort, size_t uThreads);

  // Completes the requests under way and accepts no others. Returns when all threads have ended.
  void Stop();

  // "127.0.0.1:8080", with the port that Start has bound or tried to bind.
  std::string Address() const;

 private:
  bool Listen(int iPort);
  void Handle(const httplib::Request& httpRequest, httplib::Response& response);
  void HandleRefusedByServer(const httplib::Request& httpRequest, httplib::Response& response);

  void Answer(const AccessRequest& request, Decision decision, httplib::Response& response) const;
  void Perform(const AccessRequest& request, httplib::Response& response) const;

  AccessControl m_control;
  const AgentLog& m_log;
  Site m_site;
  int m_iPort = 0;
  httplib::Server m_server;
  std::thread m_listener;
};

#endif
