#ifndef ACCESS_AGENT_ACCESSREQUEST_H
#define ACCESS_AGENT_ACCESSREQUEST_H

#include <chrono>
#include <string>

// One request while the agent serves it. Client, user and resource are what the network sent, hence
// any bytes.
struct AccessRequest {
  std::string strTenant;    // one that the agent serves, empty for the default tenant
  std::string strClient;    // address
  std::string strMethod;    // "GET"
  std::string strResource;  // path, decoded
  std::string strUser = "anonymous";
  int iRule = 0;  // number of the policy's rule that covers it, 0 for none
  std::chrono::steady_clock::time_point arrival = std::chrono::steady_clock::now();
};

enum class Decision { Allow, Deny, Unauthenticated, Invalid };

#endif
