// A module for Apache httpd 2.4 that guards locations by an access policy. The life of its logger:
//
//   post_config   in the parent, at the start and at each restart: constructs the agent with its
//                 loggers, which have no outputs yet
//   child_init    in each worker process, as the server's user: opens the logs
//   check_access  on any thread of a worker: decides and audits a request
//   cleanup       in the parent, before a restart unloads the module: removes the loggers

#include <apr_strings.h>
#include <httpd.h>
// After httpd.h:
#include <http_config.h>
#include <http_core.h>
#include <http_log.h>
#include <http_protocol.h>
#include <http_request.h>
#include <wyerrlog/WyLog.h>

#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "AccessControl.h"
#include "AgentConfig.h"
#include "RequestText.h"
#include "TraceSwitch.h"

APLOG_USE_MODULE(access_agent);

namespace {

// The agent of one configuration; a restart constructs another one.
struct Agent {
  explicit Agent(server_rec* pMainServer)
      : log(LogOptions(pMainServer)),
        control(*ConfigOf(pMainServer).pPolicy, log),
        traces(ConfigOf(pMainServer).bTrace != 0) {}

  AgentLog log;
  AccessControl control;
  TraceSwitch traces;
  bool bLogsOpen = false;  // in this process
};

std::unique_ptr<Agent> s_pAgent;

// ---- The server's life --------------------------------------------------------------------------

apr_status_t DeleteAgent(void*) {
  s_pAgent.reset();
  return APR_SUCCESS;
}

int ConstructAgent(apr_pool_t* pConfigPool, apr_pool_t*, apr_pool_t*, server_rec* pMainServer) {
  // The server reads its configuration twice before it starts.
  if (ap_state_query(AP_SQ_MAIN_STATE) == AP_SQ_MS_CREATE_PRE_CONFIG) return OK;
  const char* const pszMissing = MissingDirective(ConfigOf(pMainServer));
  if (pszMissing != nullptr) {
    ap_log_error(APLOG_MARK, APLOG_EMERG, 0, pMainServer, "%s is missing", pszMissing);
    return HTTP_INTERNAL_SERVER_ERROR;
  }
  if (ap_find_linked_module("mod_unique_id.c") == nullptr) {
    ap_log_error(APLOG_MARK, APLOG_EMERG, 0, pMainServer, "load mod_unique_id: the logs need it");
    return HTTP_INTERNAL_SERVER_ERROR;
  }
  try {
    s_pAgent = std::make_unique<Agent>(pMainServer);
  } catch (const std::exception& error) {
    ap_log_error(APLOG_MARK, APLOG_EMERG, 0, pMainServer, "access agent: %s", error.what());
    return HTTP_INTERNAL_SERVER_ERROR;
  }
  apr_pool_cleanup_register(pConfigPool, nullptr, DeleteAgent, apr_pool_cleanup_null);
  return OK;
}

// A worker whose logs cannot be opened refuses all requests.
void OpenLogs(apr_pool_t*, server_rec* pMainServer) {
  std::string strReason;
  try {
    s_pAgent->bLogsOpen = s_pAgent->log.Open(strReason);
    if (s_pAgent->bLogsOpen) return s_pAgent->traces.Follow(s_pAgent->log);
  } catch (const std::exception& error) {
    strReason = error.what();
  }
  ap_log_error(APLOG_MARK, APLOG_EMERG, 0, pMainServer, "access agent: %s", strReason.c_str());
}

// ---- Requests -----------------------------------------------------------------------------------

const char* TextOr(const char* pszText, const char* pszDefault) {
  return pszText != nullptr ? pszText : pszDefault;
}

bool IsGuarded(const request_rec* r) {
  const auto* pConfig = static_cast<const LocationConfig*>(
      ap_get_module_config(r->per_dir_config, &access_agent_module));
  return pConfig->bAgent == 1;
}

// Redirects inside the server, and pages that are parts of others, are each decided. A request has
// one audit record, written before its first page, and one more for a further page that is refused.
bool IsAudited(const request_rec* r) {
  for (; r != nullptr; r = r->main != nullptr ? r->main : r->prev) {
    if (ap_get_module_config(r->request_config, &access_agent_module) != nullptr) return true;
  }
  return false;
}

bool Audit(request_rec* r, const AccessRequest& request, Decision decision, int iStatus) {
  if (decision == Decision::Allow && IsAudited(r)) return true;
  ap_set_module_config(r->request_config, &access_agent_module, s_pAgent.get());
  apr_table_set(r->err_headers_out, "X-Request-Id", request.strId.c_str());
  return s_pAgent->log.Audit(request, decision, iStatus);
}

AccessRequest MakeRequest(const request_rec* r) {
  AccessRequest request;
  request.strId = TextOr(apr_table_get(r->subprocess_env, "UNIQUE_ID"), "-");
  request.strTenant = TextOr(ConfigOf(r->server).pszTenant, "");
  request.strClient = r->useragent_ip;
  request.strMethod = r->method;
  request.strResource = r->uri;
  return request;
}

int StatusOf(Decision decision) {
  switch (decision) {
    case Decision::Allow:
      return OK;
    case Decision::Deny:
      return HTTP_FORBIDDEN;
    case Decision::Unauthenticated:
      return HTTP_UNAUTHORIZED;
    case Decision::Invalid:
      break;
  }
  return HTTP_BAD_REQUEST;
}

int Decide(request_rec* r) {
  AccessRequest request = MakeRequest(r);
  const WyRequestScope scope(WyField::TransactionID, request.strId);
  s_pAgent->traces.Follow(s_pAgent->log);
  const Decision decision =
      s_pAgent->control.Decide(request, TextOr(apr_table_get(r->headers_in, "Authorization"), ""));
  const int iStatus = StatusOf(decision);
  if (iStatus == HTTP_UNAUTHORIZED) {
    apr_table_setn(r->err_headers_out, "WWW-Authenticate", "Basic realm=\"access agent\"");
  }
  if (iStatus == OK) r->user = apr_pstrdup(r->pool, request.strUser.c_str());
  return Audit(r, request, decision, iStatus) ? iStatus : HTTP_SERVICE_UNAVAILABLE;
}

// Calls a function for a request; no exception may reach the server, which is written in C.
template <typename Function>
int WithoutExceptions(request_rec* r, const Function& function) {
  try {
    return function(r);
  } catch (const std::exception& error) {
    ap_log_rerror(APLOG_MARK, APLOG_ERR, 0, r, "access agent: %s", error.what());
    return HTTP_INTERNAL_SERVER_ERROR;
  }
}

int CheckAccess(request_rec* r) {
  if (!IsGuarded(r)) return DECLINED;
  if (!s_pAgent->bLogsOpen) return HTTP_SERVICE_UNAVAILABLE;
  return WithoutExceptions(r, Decide);
}

// ---- Control ------------------------------------------------------------------------------------

// POST /LOCATION?on and POST /LOCATION?off, of a location with "SetHandler access-agent-trace".
int HandleControl(request_rec* r) {
  if (r->handler == nullptr || std::strcmp(r->handler, "access-agent-trace") != 0) return DECLINED;
  r->allowed = AP_METHOD_BIT << M_POST;
  if (r->method_number != M_POST) return HTTP_METHOD_NOT_ALLOWED;
  const std::string strWord = TextOr(r->args, "");
  if (strWord != "on" && strWord != "off") return HTTP_BAD_REQUEST;
  s_pAgent->traces.Turn(strWord == "on");
  ap_set_content_type(r, "text/plain");
  ap_rprintf(r, "Tracing is %s: each worker process follows with its next request.\n",
             strWord.c_str());
  return OK;
}

void RegisterHooks(apr_pool_t*) {
  ap_hook_post_config(ConstructAgent, nullptr, nullptr, APR_HOOK_MIDDLE);
  ap_hook_child_init(OpenLogs, nullptr, nullptr, APR_HOOK_MIDDLE);
  ap_hook_check_access(CheckAccess, nullptr, nullptr, APR_HOOK_MIDDLE, AP_AUTH_INTERNAL_PER_URI);
  ap_hook_handler(HandleControl, nullptr, nullptr, APR_HOOK_MIDDLE);
}

}  // namespace

struct module_struct access_agent_module = {
    STANDARD20_MODULE_STUFF, NewLocationConfig, MergeLocationConfigs, NewServerConfig, nullptr,
    AgentDirectives,         RegisterHooks,     AP_MODULE_FLAG_NONE};
