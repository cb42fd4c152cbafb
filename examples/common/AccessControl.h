#ifndef AGENT_COMMON_ACCESSCONTROL_H
#define AGENT_COMMON_ACCESSCONTROL_H

#include <string>

#include "AccessRequest.h"
#include "AgentLog.h"
#include "Policy.h"

// Decides requests by a policy, for any HTTP server. Thread-safe.
class AccessControl {
 public:
  // Requires: the policy and the log outlive the object.
  AccessControl(const Policy& policy, const AgentLog& log) : m_policy(policy), m_log(log) {}

  // Decides one request. `strAuthorization` is the value of its "Authorization" header, or empty.
  // Sets the request's user and rule. A refusal is logged with its reason.
  Decision Decide(AccessRequest& request, const std::string& strAuthorization) const;

 private:
  bool Authenticate(AccessRequest& request, const std::string& strHeader) const;
  bool CheckLogin(AccessRequest& request, const std::string& strHeader) const;
  Decision Authorize(const AccessRequest& request, const PolicyRule& rule) const;

  const Policy& m_policy;
  const AgentLog& m_log;
};

#endif
