#ifndef ACCESS_AGENT_ACCESSAGENT_H
#define ACCESS_AGENT_ACCESSAGENT_H

#include <httplib.h>

#include <string>
#include <thread>

#include "AccessRequest.h"
#include "AgentLog.h"
#include "Policy.h"
#include "Site.h"

// Serves a folder over HTTP on the loopback address, to those whom the policy lets. Every request,
// also one that is no HTTP, gets one decision, one audit record and one answer.
class AccessAgent {
 public:
  // The policy and the log outlive the agent. `root` is the folder that it guards.
  AccessAgent(const Policy& policy, const AgentLog& log, const std::string& root);
  ~AccessAgent();  // stops
  AccessAgent(const AccessAgent&) = delete;
  AccessAgent& operator=(const AccessAgent&) = delete;

  // Listens on a port, 0 for any free one, and returns once requests are served, by `uThreads`
  // threads. False when the port cannot be had. Called once.
  bool Start(int iPort, size_t uThreads);

  // Answers the requests under way, and no more; returns when all threads have ended.
  void Stop();

  // "127.0.0.1:8080"; the port is the one asked for until Start has found a free one.
  std::string Address() const;

 private:
  bool Listen(int iPort);
  void Handle(const httplib::Request& httpRequest, httplib::Response& response);
  void HandleRefusedByServer(const httplib::Request& httpRequest, httplib::Response& response);

  Decision Decide(AccessRequest& request, const httplib::Request& httpRequest) const;
  bool Authenticate(AccessRequest& request, const std::string& strHeader) const;
  bool CheckLogin(AccessRequest& request, const std::string& strHeader) const;
  Decision Authorize(const AccessRequest& request, const PolicyRule& rule) const;

  void Answer(const AccessRequest& request, Decision decision, httplib::Response& response) const;
  void Perform(const AccessRequest& request, httplib::Response& response) const;

  const Policy& m_policy;
  const AgentLog& m_log;
  Site m_site;
  int m_iPort = 0;
  httplib::Server m_server;
  std::thread m_listener;
};

#endif
