// Directives report what is wrong while the server reads its configuration, with file and line: the
// check of the configuration before a restart (apachectl configtest) finds it.

#include "AgentConfig.h"

#include <apr_strings.h>
#include <http_core.h>

#include <charconv>
#include <cstring>
#include <memory>
#include <new>

namespace {

const char* MainServerOnly(cmd_parms* pCommand) {
  return ap_check_cmd_context(pCommand, GLOBAL_ONLY);
}

apr_status_t DeletePolicy(void* pPolicy) {
  delete static_cast<Policy*>(pPolicy);
  return APR_SUCCESS;
}

const char* SetPolicy(cmd_parms* pCommand, void*, const char* pszFile) {
  if (const char* pszError = MainServerOnly(pCommand)) return pszError;
  const char* const pszPath = ap_server_root_relative(pCommand->pool, pszFile);
  auto pPolicy = std::make_unique<Policy>();
  PolicyError error;
  if (!pPolicy->Load(pszPath, error)) {
    return apr_psprintf(pCommand->pool, "%s:%d: \"%s\" is not understood, or cannot be read",
                        pszPath, error.iLine, error.strText.c_str());
  }
  ConfigOf(pCommand->server).pPolicy = pPolicy.get();
  apr_pool_cleanup_register(pCommand->pool, pPolicy.release(), DeletePolicy, apr_pool_cleanup_null);
  return nullptr;
}

bool ParseNumber(const char* pszText, int iHighest, int& iNumber) {
  const char* const pszEnd = pszText + std::strlen(pszText);
  const auto [pszStop, error] = std::from_chars(pszText, pszEnd, iNumber);
  return error == std::errc() && pszStop == pszEnd && iNumber >= 0 && iNumber <= iHighest;
}

const char* SetLogs(cmd_parms* pCommand, void*, const char* pszFolder, const char* pszSize,
                    const char* pszBackups) {
  if (const char* pszError = MainServerOnly(pCommand)) return pszError;
  ServerConfig& config = ConfigOf(pCommand->server);
  config.pszLogs = ap_server_root_relative(pCommand->pool, pszFolder);
  if (pszSize != nullptr && !ParseNumber(pszSize, 4095, config.iMaxSizeMB)) {
    return "the size is a number of megabytes, at most 4095";
  }
  if (pszBackups != nullptr && !ParseNumber(pszBackups, 1000000, config.iBackups)) {
    return "the number of backups is at most 1000000; 0 keeps all";
  }
  return nullptr;
}

// Sets a path of the main server; the directive names the member.
const char* SetPath(cmd_parms* pCommand, void*, const char* pszPath) {
  if (const char* pszError = MainServerOnly(pCommand)) return pszError;
  const auto ppszMember = static_cast<const char * ServerConfig::**>(pCommand->info);
  ConfigOf(pCommand->server).** ppszMember = ap_server_root_relative(pCommand->pool, pszPath);
  return nullptr;
}

const char* SetTrace(cmd_parms* pCommand, void*, int bOn) {
  if (const char* pszError = MainServerOnly(pCommand)) return pszError;
  ConfigOf(pCommand->server).bTrace = bOn;
  return nullptr;
}

// A tenant's name is also the name of a folder, so it must not contain "/" or begin with a dot.
const char* SetTenant(cmd_parms* pCommand, void*, const char* pszName) {
  constexpr char Permitted[] = "abcdefghijklmnopqrstuvwxyz0123456789-.";
  if (!pCommand->server->is_virtual) return "belongs in a <VirtualHost>";
  if (*pszName == '\0' || *pszName == '.' || pszName[std::strspn(pszName, Permitted)] != '\0') {
    return "a tenant's name consists of lower-case letters, digits, \"-\" and \".\"";
  }
  ConfigOf(pCommand->server).pszTenant = pszName;
  return nullptr;
}

const char* SetAgent(cmd_parms*, void* pLocation, int bOn) {
  static_cast<LocationConfig*>(pLocation)->bAgent = bOn;
  return nullptr;
}

using Path = const char* ServerConfig::*;
Path s_messages = &ServerConfig::pszMessages;
Path s_traceConfig = &ServerConfig::pszTraceConfig;

}  // namespace

const command_rec AgentDirectives[] = {
    AP_INIT_TAKE1("AccessAgentPolicy", SetPolicy, nullptr, RSRC_CONF, "the policy file"),
    AP_INIT_TAKE123("AccessAgentLogs", SetLogs, nullptr, RSRC_CONF,
                    "the folder of the logs, the size in MB that each is rolled over at, and the "
                    "number of backups to keep"),
    AP_INIT_TAKE1("AccessAgentMessages", SetPath, &s_messages, RSRC_CONF,
                  "the folder of the message catalogs"),
    AP_INIT_TAKE1("AccessAgentTraceConfig", SetPath, &s_traceConfig, RSRC_CONF,
                  "the trace configuration file"),
    AP_INIT_FLAG("AccessAgentTrace", SetTrace, nullptr, RSRC_CONF,
                 "whether requests are traced after a start or restart"),
    AP_INIT_TAKE1("AccessAgentTenant", SetTenant, nullptr, RSRC_CONF,
                  "the name of the virtual host's logger, and of the folder of its logs"),
    AP_INIT_FLAG("AccessAgent", SetAgent, nullptr, ACCESS_CONF, "whether the agent guards this"),
    {nullptr, {nullptr}, nullptr, 0, RAW_ARGS, nullptr}};

void* NewServerConfig(apr_pool_t* pPool, server_rec*) {
  return new (apr_palloc(pPool, sizeof(ServerConfig))) ServerConfig;
}

void* NewLocationConfig(apr_pool_t* pPool, char*) {
  return new (apr_palloc(pPool, sizeof(LocationConfig))) LocationConfig;
}

void* MergeLocationConfigs(apr_pool_t* pPool, void* pOuter, void* pInner) {
  const auto& inner = *static_cast<LocationConfig*>(pInner);
  const auto& chosen = inner.bAgent >= 0 ? inner : *static_cast<LocationConfig*>(pOuter);
  return new (apr_palloc(pPool, sizeof(LocationConfig))) LocationConfig(chosen);
}

ServerConfig& ConfigOf(const server_rec* pServer) {
  return *static_cast<ServerConfig*>(
      ap_get_module_config(pServer->module_config, &access_agent_module));
}

AgentLogOptions LogOptions(const server_rec* pMainServer) {
  const ServerConfig& config = ConfigOf(pMainServer);
  AgentLogOptions options;
  options.strLogger = "access_agent";
  options.strDirectory = config.pszLogs;
  options.strMessages = config.pszMessages;
  options.strTraceConfig = config.pszTraceConfig;
  options.iMaxSizeMB = config.iMaxSizeMB;
  options.iMaxBackups = config.iBackups;
  options.bShared = true;  // by the worker processes
  for (const server_rec* p = pMainServer; p != nullptr; p = p->next) {
    if (const char* pszTenant = ConfigOf(p).pszTenant) options.tenants.insert(pszTenant);
  }
  return options;
}

const char* MissingDirective(const ServerConfig& config) {
  if (config.pPolicy == nullptr) return "AccessAgentPolicy";
  if (config.pszLogs == nullptr) return "AccessAgentLogs";
  if (config.pszMessages == nullptr) return "AccessAgentMessages";
  return config.pszTraceConfig == nullptr ? "AccessAgentTraceConfig" : nullptr;
}
