#ifndef AGENT_COMMON_ACCESSREQUEST_H
#define AGENT_COMMON_ACCESSREQUEST_H

#include <chrono>
#include <string>

// One request while the agent serves it. Client, user, method and resource come from the network
// and may contain any bytes.
struct AccessRequest {
  std::string strId;        // unlike that of every other request; in all its records
  std::string strTenant;    // a tenant of the agent, empty for the default tenant
  std::string strClient;    // address
  std::string strMethod;    // "GET"
  std::string strResource;  // path, decoded
  std::string strUser = "anonymous";
  int iRule = 0;  // number of the policy's rule that decides, 0 if there is none
  std::chrono::steady_clock::time_point arrival = std::chrono::steady_clock::now();
};

enum class Decision { Allow, Deny, Unauthenticated, Invalid };

#endif
