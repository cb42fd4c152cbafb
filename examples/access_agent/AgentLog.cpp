#include "AgentLog.h"

#include <wyerrlog/WyLogger.h>
#include <wyerrlog/WyLoggerList.h>
#include <wyxlate/WyXlate.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "components/IsAuthorized/IsAuthorizedMessages.h"
#include "components/Login_Logout/LoginLogoutMessages.h"

namespace {

// One line of the error log. The arguments are texts, already printable.
template <typename... Arguments>
void LogMessage(CWyLogger& logger, const CallSite& where, unsigned int uMessage,
                const Arguments&... arguments) {
  CWyErrLogMessage msg(logger.ShouldUseLocalTime());
  msg.FormatLogProlog(where.pszFile, where.iLine, 0);
  msg.FormatMessage(uMessage, arguments.c_str()...);
  logger.LogErrMsg(msg);
}

std::string User(const AccessRequest& request) { return Printable(request.strUser); }
std::string Client(const AccessRequest& request) { return Printable(request.strClient); }
std::string Method(const AccessRequest& request) { return Printable(request.strMethod); }
std::string Resource(const AccessRequest& request) { return Printable(request.strResource); }

}  // namespace

const char* DecisionText(Decision decision) {
  switch (decision) {
    case Decision::Allow:
      return "allow";
    case Decision::Deny:
      return "deny";
    case Decision::Unauthenticated:
      return "unauthenticated";
    case Decision::Invalid:
      break;
  }
  return "invalid";
}

std::string Printable(const std::string& strText) {
  constexpr char HexDigits[] = "0123456789abcdef";
  if (strText.empty()) return "-";
  std::string strResult;
  for (const char c : strText) {
    const auto uByte = static_cast<unsigned char>(c);
    if (uByte >= 0x20 && uByte != 0x7F && c != '"' && c != '\\') {
      strResult += c;
    } else {
      strResult.append({'\\', 'x', HexDigits[uByte >> 4], HexDigits[uByte & 0xF]});
    }
  }
  return strResult;
}

// ---- Outputs ------------------------------------------------------------------------------------

AgentLog::AgentLog(AgentLogOptions options) : m_options(std::move(options)) {
  m_tenants[""] = {theLogger(), m_options.strDirectory};
  for (const std::string& strTenant : m_options.tenants) {
    m_tenants[strTenant] = {getMyLogger(strTenant.c_str()),
                            m_options.strDirectory + "/" + strTenant};
  }
  for (const auto& [strName, tenant] : m_tenants) tenant.pLogger->UseLocalTime(true);
}

AgentLog::~AgentLog() {
  for (const std::string& strTenant : m_options.tenants) removeMyLogger(strTenant.c_str());
  theLogger()->DisableTrace(false);
  theLogger()->DisableAuditLog();
  theLogger()->DisableLog();
}

bool AgentLog::Open(std::string& strReason) {
  if (theLogger()->GetMsgBundle(LoginLogout::Component) == nullptr ||
      theLogger()->GetMsgBundle(IsAuthorized::Component) == nullptr) {
    strReason = "the message components are not found: set ORVA_WA_ROOT to the folder above bin/";
    return false;
  }
  if (!CWyXlate::SetResourceDirectory(m_options.strMessages.c_str())) {
    strReason = "no folder of message catalogs: " + m_options.strMessages;
    return false;
  }
  for (const auto& [strName, tenant] : m_tenants) {
    if (OpenLogs(tenant)) continue;
    strReason = "cannot write error.log and audit.log in " + tenant.strDirectory;
    return false;
  }
  return true;
}

bool AgentLog::OpenLogs(const Tenant& tenant) const {
  std::error_code ignored;  // without a folder the logs cannot be opened
  std::filesystem::create_directory(tenant.strDirectory, ignored);
  CWyLogger& logger = *tenant.pLogger;
  CWyLogOutput* pErrorLog = NewFileOutput(tenant, "error.log");
  CWyLogOutput* pAuditLog = NewFileOutput(tenant, "audit.log");
  const bool bErrorLog = logger.SetLogOutput(pErrorLog);
  const bool bAuditLog = logger.EnableAuditLogRollover(pAuditLog);
  if (!bErrorLog) logger.DeleteLogOutput(pErrorLog);
  if (!bAuditLog) logger.DeleteLogOutput(pAuditLog);
  return bErrorLog && bAuditLog;
}

CWyLogOutput* AgentLog::NewFileOutput(const Tenant& tenant, const char* pszName) const {
  constexpr int FileOutput = 1, Append = 1, AppendAndRollOver = 3;
  const int iMode = m_options.iMaxSizeMB > 0 ? AppendAndRollOver : Append;
  return tenant.pLogger->NewLogOutput(FileOutput, (tenant.strDirectory + "/" + pszName).c_str(),
                                      iMode, m_options.iMaxSizeMB, m_options.iMaxBackups);
}

std::string AgentLog::TenantOf(const std::string& strHost) const {
  return m_tenants.contains(strHost) ? strHost : "";
}

CWyLogger& AgentLog::LoggerOf(const AccessRequest& request) const {
  return *m_tenants.at(request.strTenant).pLogger;
}

bool AgentLog::TurnTracingOn(CallSite where) const {
  bool bAllOn = true;
  for (const auto& [strName, tenant] : m_tenants) bAllOn &= TurnTracingOn(tenant, where);
  return bAllOn;
}

bool AgentLog::TurnTracingOn(const Tenant& tenant, const CallSite& where) const {
  constexpr int ConsoleOutput = 0;
  CWyLogger& logger = *tenant.pLogger;
  const std::string& strConfig = m_options.strTraceConfig;
  CWyLogOutput* pFile = NewFileOutput(tenant, "trace.log");
  CWyLogOutput* pConsole = m_options.bTraceToConsole ? logger.NewLogOutput(ConsoleOutput) : nullptr;
  const bool bOn = logger.EnableTrace(pFile, pConsole, m_options.iTraceLayout,
                                      m_options.strTraceDelimiter.c_str(), strConfig.c_str(),
                                      logger.ShouldUseLocalTime(), false, false);
  if (!bOn) {
    logger.DeleteLogOutput(pFile);
    logger.DeleteLogOutput(pConsole);
  }
  LogMessage(logger, where, bOn ? IsAuthorized::TracingOn : IsAuthorized::TracingFailed,
             Printable(strConfig), tenant.strDirectory + "/trace.log");
  return bOn;
}

void AgentLog::TurnTracingOff(CallSite where) const {
  for (const auto& [strName, tenant] : m_tenants) {
    tenant.pLogger->DisableTrace(false);
    LogMessage(*tenant.pLogger, where, IsAuthorized::TracingOff);
  }
}

// ---- Error log: the agent -----------------------------------------------------------------------

void AgentLog::Started(const std::string& strAddress, const std::string& strRoot,
                       CallSite where) const {
  LogMessage(*theLogger(), where, IsAuthorized::AgentStarted, strAddress, Printable(strRoot));
}

void AgentLog::Stopped(const std::string& strAddress, CallSite where) const {
  LogMessage(*theLogger(), where, IsAuthorized::AgentStopped, strAddress);
}

void AgentLog::CannotListen(const std::string& strAddress, const std::string& strReason,
                            CallSite where) const {
  LogMessage(*theLogger(), where, IsAuthorized::AgentCannotListen, strAddress, strReason);
}

void AgentLog::PolicyLoaded(const std::string& strFile, const Policy& policy,
                            CallSite where) const {
  LogMessage(*theLogger(), where, IsAuthorized::PolicyLoaded, Printable(strFile),
             std::to_string(policy.UserCount()), std::to_string(policy.RuleCount()));
}

void AgentLog::PolicyRefused(const std::string& strFile, const PolicyError& error,
                             CallSite where) const {
  if (error.iLine == 0) {
    LogMessage(*theLogger(), where, IsAuthorized::PolicyUnreadable, Printable(strFile),
               error.strText);
    return;
  }
  LogMessage(*theLogger(), where, IsAuthorized::PolicyNotUnderstood, Printable(strFile),
             std::to_string(error.iLine), Printable(error.strText));
}

// ---- Error log: refusals and failures -----------------------------------------------------------

void AgentLog::LoginRequired(const AccessRequest& request, CallSite where) const {
  LogMessage(LoggerOf(request), where, LoginLogout::LoginRequired, Client(request),
             Resource(request));
}

void AgentLog::UnreadableLogin(const AccessRequest& request, CallSite where) const {
  LogMessage(LoggerOf(request), where, LoginLogout::UnreadableLogin, Client(request));
}

void AgentLog::LoginRefused(const AccessRequest& request, LoginResult result,
                            CallSite where) const {
  const bool bKnown = result == LoginResult::WrongPassword;
  LogMessage(LoggerOf(request), where,
             bKnown ? LoginLogout::WrongPassword : LoginLogout::UnknownUser, User(request),
             Client(request));
}

void AgentLog::NotPermitted(const AccessRequest& request, CallSite where) const {
  LogMessage(LoggerOf(request), where, IsAuthorized::NotPermitted, User(request), Method(request),
             Resource(request), std::to_string(request.iRule));
}

void AgentLog::NoRule(const AccessRequest& request, CallSite where) const {
  LogMessage(LoggerOf(request), where, IsAuthorized::NoRule, User(request), Method(request),
             Resource(request));
}

void AgentLog::InvalidPath(const AccessRequest& request, CallSite where) const {
  LogMessage(LoggerOf(request), where, IsAuthorized::InvalidPath, Client(request),
             Resource(request));
}

void AgentLog::InvalidRequest(const AccessRequest& request, int iStatus, CallSite where) const {
  LogMessage(LoggerOf(request), where, IsAuthorized::InvalidRequest, Client(request),
             std::to_string(iStatus));
}

void AgentLog::NotFound(const AccessRequest& request, CallSite where) const {
  LogMessage(LoggerOf(request), where, IsAuthorized::NotFound, User(request), Resource(request));
}

void AgentLog::ActionFailed(const AccessRequest& request, const std::string& strReason,
                            CallSite where) const {
  LogMessage(LoggerOf(request), where, IsAuthorized::ActionFailed, User(request), Method(request),
             Resource(request), strReason);
}

// ---- Audit log ----------------------------------------------------------------------------------

bool AgentLog::Audit(const AccessRequest& request, Decision decision, int iStatus,
                     CallSite where) const {
  char szTime[32];
  CWyLogger& logger = LoggerOf(request);
  CWyErrLogMessage::GetTime(3, szTime, logger.ShouldUseLocalTime(), sizeof szTime);
  CWyErrLogMessage msg;
  msg.FormatAuditMessage(
      "[%s] %s user=\"%s\" client=\"%s\" method=\"%s\" resource=\"%s\" rule=%d status=%d\n", szTime,
      DecisionText(decision), User(request).c_str(), Client(request).c_str(),
      Method(request).c_str(), Resource(request).c_str(), request.iRule, iStatus);
  if (logger.LogAuditMsg(msg)) return true;
  LogMessage(logger, where, IsAuthorized::AuditFailed, Resource(request));
  return false;
}
