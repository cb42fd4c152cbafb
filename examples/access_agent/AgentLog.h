#ifndef ACCESS_AGENT_AGENTLOG_H
#define ACCESS_AGENT_AGENTLOG_H

// The agent's logs: their outputs, and who writes to which. Records are written where things
// happen, a statement each: WyLog(log.LoggerOf(request), ...).
//
// Each tenant has a logger of its own, with an error log, an audit log and a trace of its own. The
// default tenant has the process logger, which also tells of the agent itself.

#include <wyerrlog/WyLog.h>

#include <map>
#include <set>
#include <string>

#include "AccessRequest.h"

struct AgentLogOptions {
  std::string strDirectory;       // of error.log, audit.log and trace.log
  std::set<std::string> tenants;  // host names; the logs of each are in a folder of its name there
  std::string strMessages;        // folder of the message catalogs
  int iMaxSizeMB = 0;             // a log is rolled over before it reaches this size; 0: never
  int iMaxBackups = 0;            // of each log; 0: all are kept
  std::string strTraceConfig;
  int iTraceLayout = WyTraceLayout::Brackets;
  std::string strTraceDelimiter = ",";
  bool bTraceToConsole = false;  // to the terminal as well
};

// One object for the process, since it sets up the process logger and the named loggers. Its
// operations may be called by any thread; those that open, close or switch are for the main thread.
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

  // What concerns a request goes into the logs of the request's tenant.
  CWyLogger& LoggerOf(const AccessRequest& request) const;

  // The audit record of one decision. When it cannot be written (false) the error log says so, and
  // the caller must not let the request pass.
  bool Audit(const AccessRequest& request, Decision decision, int iStatus,
             WyCallSite where = WyCallSite::Here()) const;

  // Reads the trace configuration file, afresh each time, and traces every tenant's requests by it
  // until TurnTracingOff. False when there is none or the library refuses it for a tenant, whose
  // error log then says so.
  bool TurnTracingOn() const;
  void TurnTracingOff() const;

 private:
  struct Tenant {
    CWyLogger* pLogger;  // the library's
    std::string strDirectory;
  };

  bool OpenLogs(const Tenant& tenant) const;
  bool TurnTracingOn(const Tenant& tenant) const;
  CWyLogOutput* NewFileOutput(const Tenant& tenant, const char* pszName) const;

  AgentLogOptions m_options;
  std::map<std::string, Tenant> m_tenants;  // by name
};

#endif
