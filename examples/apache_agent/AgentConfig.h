#ifndef APACHE_AGENT_AGENTCONFIG_H
#define APACHE_AGENT_AGENTCONFIG_H

// The directives of the module, and what they have set. See docs/servers.md.

#include <httpd.h>
// After httpd.h:
#include <http_config.h>

#include "AgentLog.h"
#include "Policy.h"

// What the directives of a server, main or virtual, have set. In a pool of the server, so it has
// plain members alone.
struct ServerConfig {
  const char* pszTenant = nullptr;  // of a virtual host
  // Of the main server alone:
  const Policy* pPolicy = nullptr;
  const char* pszLogs = nullptr;
  const char* pszMessages = nullptr;
  const char* pszTraceConfig = nullptr;
  int bTrace = 0;
  int iMaxSizeMB = 0;
  int iBackups = 0;
};

// What the directives of a location have set.
struct LocationConfig {
  int bAgent = -1;  // guarded; -1: as the location around it
};

extern "C" [[gnu::visibility("default")]] struct module_struct access_agent_module;

extern const command_rec AgentDirectives[];
void* NewServerConfig(apr_pool_t* pPool, server_rec* pServer);
void* NewLocationConfig(apr_pool_t* pPool, char* pszLocation);
void* MergeLocationConfigs(apr_pool_t* pPool, void* pOuter, void* pInner);

ServerConfig& ConfigOf(const server_rec* pServer);

// The options of the agent's logs; the tenants are those of the virtual hosts.
AgentLogOptions LogOptions(const server_rec* pMainServer);

// Returns the first directive that is missing, or null.
const char* MissingDirective(const ServerConfig& config);

#endif
