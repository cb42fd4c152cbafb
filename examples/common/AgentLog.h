#ifndef AGENT_COMMON_AGENTLOG_H
#define AGENT_COMMON_AGENTLOG_H

// The agent's logs: their outputs, and the logger of each request. The code that serves a request
// writes its records, each with one statement: WyLog(log.LoggerOf(request), ...).
//
// Each tenant has a logger of its own, with its own error log, audit log and trace. The default
// tenant has the process logger, or in a module of a server, where other modules may use that one,
// a logger of the agent's name.

#include <wyerrlog/WyFileOptions.h>
#include <wyerrlog/WyLog.h>

#include <map>
#include <memory>
#include <set>
#include <string>

#include "AccessRequest.h"

struct AgentLogOptions {
  std::string strLogger;          // name of the agent's logger; empty: the process logger
  std::string strDirectory;       // of error.log, audit.log and trace.log
  std::set<std::string> tenants;  // host names; each has a folder of its name in strDirectory
  std::string strMessages;        // folder of the message catalogs
  int iMaxSizeMB = 0;             // a log is rolled over before it reaches this size; 0: never
  int iMaxBackups = 0;            // backups to keep of each log; 0: all
  bool bShared = false;           // several processes write the logs, and roll them over
  std::string strSealKeys;        // folder of the keys that seal the default tenant's audit log
  std::string strTraceConfig;
  int iTraceLayout = WyTraceLayout::Brackets;
  std::string strTraceDelimiter = ",";
  bool bTraceToConsole = false;  // to the terminal as well
};

// One object for the process, since it sets up the process logger and the named loggers. TenantOf,
// LoggerOf and Audit: thread-safe. All others: main thread only.
class AgentLog {
 public:
  explicit AgentLog(AgentLogOptions options);
  ~AgentLog();  // removes the outputs and the tenants' loggers; no thread may still use them
  AgentLog(const AgentLog&) = delete;
  AgentLog& operator=(const AgentLog&) = delete;

  // Creates every tenant's folder and installs its error log and audit log. On failure returns
  // false and stores the reason in `strReason`.
  bool Open(std::string& strReason);

  // The tenant of requests to a host: the tenant of that name, else the default tenant (""). A
  // client can therefore not choose the name of a logger or a folder.
  std::string TenantOf(const std::string& strHost) const;

  // The logger of the request's tenant.
  CWyLogger& LoggerOf(const AccessRequest& request) const;

  // Writes the audit record of one decision; the status is left out if it is 0. If it cannot be
  // written, returns false and logs an error; the caller must then refuse the request.
  bool Audit(const AccessRequest& request, Decision decision, int iStatus,
             WyCallSite where = WyCallSite::Here()) const;

  // Reads the trace configuration file again and traces every tenant's requests until
  // TurnTracingOff. Returns false if the file cannot be read or the library refuses it; each
  // tenant's error log states the result, and what the library passes over in the file.
  bool TurnTracingOn() const;
  void TurnTracingOff() const;

 private:
  using OutputPtr = std::unique_ptr<CWyLogOutput>;

  struct Tenant {
    CWyLogger* pLogger;  // owned by the library
    std::string strDirectory;
  };

  std::string LoggerName(const std::string& strTenant) const;
  bool OpenLogs(const Tenant& tenant) const;
  bool TurnTracingOn(const Tenant& tenant) const;
  void LogTraceFindings(const Tenant& tenant) const;
  WyFileOptions FileOptions(const Tenant& tenant, const char* pszName) const;
  OutputPtr NewAuditOutput(const Tenant& tenant) const;

  AgentLogOptions m_options;
  std::map<std::string, Tenant> m_tenants;  // by name
};

#endif
