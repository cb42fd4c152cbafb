#ifndef ACCESS_AGENT_AGENTLOG_H
#define ACCESS_AGENT_AGENTLOG_H

// Everything that the agent has to do with the logging library, in one place: the outputs, and one
// operation for each kind of record. The agent's other files say what happened and nothing more.
//
// Texts from the network go into records with their control characters, quotes and backslashes
// escaped ("\x0a"), so that no client can forge or break a line.
//
// Each tenant has a logger of its own, with an error log, an audit log and a trace of its own. The
// default tenant has the process logger, which also tells of the agent itself.

#include <map>
#include <set>
#include <string>

#include "AccessRequest.h"
#include "CallSite.h"
#include "Policy.h"

class CWyLogger;
class CWyLogOutput;

struct AgentLogOptions {
  std::string strDirectory;       // of error.log, audit.log and trace.log
  std::set<std::string> tenants;  // host names; the logs of each are in a folder of its name there
  std::string strMessages;        // folder of the message catalogs
  int iMaxSizeMB = 0;             // a log is rolled over before it reaches this size; 0: never
  int iMaxBackups = 0;            // of each log; 0: all are kept
  std::string strTraceConfig;
  int iTraceLayout = 0;  // 0 brackets, 1 columns, 2 delimited, 3 XML
  std::string strTraceDelimiter = ",";
  bool bTraceToConsole = false;  // to the terminal as well
};

// One object for the process, since it sets up the process logger and the named loggers. Its
// operations may be called by any thread; those that open, close or switch are for the main thread.
// What concerns a request goes into the logs of the request's tenant.
class AgentLog {
 public:
  explicit AgentLog(AgentLogOptions options);
  ~AgentLog();  // removes the outputs and the tenants' loggers; no request is under way any more
  AgentLog(const AgentLog&) = delete;
  AgentLog& operator=(const AgentLog&) = delete;

  // Installs every tenant's error log and audit log; makes their folders. On failure answers false
  // and leaves the reason in `strReason`.
  bool Open(std::string& strReason);

  // The tenant of requests to a host, whatever its name: the tenant of that name, else the default
  // tenant (""). So no client can choose the name of a logger or a folder.
  std::string TenantOf(const std::string& strHost) const;

  // ---- Error log: the agent ---------------------------------------------------------------------

  void Started(const std::string& strAddress, const std::string& strRoot,
               CallSite where = CallSite::Here()) const;
  void Stopped(const std::string& strAddress, CallSite where = CallSite::Here()) const;
  void CannotListen(const std::string& strAddress, const std::string& strReason,
                    CallSite where = CallSite::Here()) const;
  void PolicyLoaded(const std::string& strFile, const Policy& policy,
                    CallSite where = CallSite::Here()) const;
  void PolicyRefused(const std::string& strFile, const PolicyError& error,
                     CallSite where = CallSite::Here()) const;

  // ---- Error log: refusals and failures ---------------------------------------------------------

  void LoginRequired(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void UnreadableLogin(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void LoginRefused(const AccessRequest& request, LoginResult result,
                    CallSite where = CallSite::Here()) const;
  void NotPermitted(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void NoRule(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void InvalidPath(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void InvalidRequest(const AccessRequest& request, int iStatus,
                      CallSite where = CallSite::Here()) const;
  void NotFound(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void ActionFailed(const AccessRequest& request, const std::string& strReason,
                    CallSite where = CallSite::Here()) const;

  // ---- Audit log --------------------------------------------------------------------------------

  // The record of one decision. When it cannot be written (false) the error log says so, and the
  // caller must not let the request pass.
  bool Audit(const AccessRequest& request, Decision decision, int iStatus,
             CallSite where = CallSite::Here()) const;

  // ---- Trace ------------------------------------------------------------------------------------

  // Reads the trace configuration file, afresh each time, and traces every tenant's requests by it
  // until TurnTracingOff. False when there is none or the library refuses it for a tenant, whose
  // error log then says so.
  bool TurnTracingOn(CallSite where = CallSite::Here()) const;
  void TurnTracingOff(CallSite where = CallSite::Here()) const;

  void TraceLoginRequest(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void TraceLogin(const AccessRequest& request, LoginResult result,
                  CallSite where = CallSite::Here()) const;
  void TraceLoginResponse(const AccessRequest& request, bool bAccepted,
                          CallSite where = CallSite::Here()) const;
  void TraceAccessRequest(const AccessRequest& request, CallSite where = CallSite::Here()) const;
  void TraceAccessResponse(const AccessRequest& request, Decision decision,
                           CallSite where = CallSite::Here()) const;

 private:
  struct Tenant {
    CWyLogger* pLogger;  // the library's
    std::string strDirectory;
  };

  CWyLogger& LoggerOf(const AccessRequest& request) const;
  bool OpenLogs(const Tenant& tenant) const;
  bool TurnTracingOn(const Tenant& tenant, const CallSite& where) const;
  CWyLogOutput* NewFileOutput(const Tenant& tenant, const char* pszName) const;

  AgentLogOptions m_options;
  std::map<std::string, Tenant> m_tenants;  // by name
};

// "allow", "deny", "unauthenticated" or "invalid".
const char* DecisionText(Decision decision);

// The text as it goes into a record; an empty one as "-".
std::string Printable(const std::string& strText);

#endif
