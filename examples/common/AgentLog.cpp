// Installs the outputs of every tenant's logger, and turns tracing on and off. An output that a
// logger has refused still belongs to the agent, which deletes it.

#include "AgentLog.h"

#include <wyerrlog/WyAuditFileOutput.h>
#include <wyerrlog/WyLoggerList.h>
#include <wyerrlog/WyTraceCheck.h>
#include <wyerrlog_seal/WySealedOutput.h>
#include <wyxlate/WyXlate.h>

#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "IsAuthorizedMessages.h"
#include "LoginLogoutMessages.h"
#include "RequestText.h"

namespace {

// Releases the pointer if the logger owns the output now. Returns whether it does.
bool IsTakenOver(bool bInstalled, std::unique_ptr<CWyLogOutput>& pOutput) {
  if (bInstalled) static_cast<void>(pOutput.release());
  return bInstalled;
}

}  // namespace

// ---- Outputs ------------------------------------------------------------------------------------

AgentLog::AgentLog(AgentLogOptions options) : m_options(std::move(options)) {
  const std::string& strOwn = m_options.strLogger;
  m_tenants[""] = {strOwn.empty() ? theLogger() : getMyLogger(strOwn.c_str()),
                   m_options.strDirectory};
  for (const std::string& strTenant : m_options.tenants) {
    m_tenants[strTenant] = {getMyLogger(LoggerName(strTenant).c_str()),
                            m_options.strDirectory + "/" + strTenant};
  }
  for (const auto& [strName, tenant] : m_tenants) tenant.pLogger->UseLocalTime(true);
}

AgentLog::~AgentLog() {
  for (const std::string& strTenant : m_options.tenants) {
    removeMyLogger(LoggerName(strTenant).c_str());
  }
  if (!m_options.strLogger.empty()) {
    removeMyLogger(m_options.strLogger.c_str());
    return;
  }
  theLogger()->DisableTrace(false);
  theLogger()->DisableAuditLog();
  theLogger()->DisableLog();
}

std::string AgentLog::LoggerName(const std::string& strTenant) const {
  return m_options.strLogger.empty() ? strTenant : m_options.strLogger + "/" + strTenant;
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
  std::error_code ignored;  // if the folder is missing, opening the logs fails and is reported
  std::filesystem::create_directory(tenant.strDirectory, ignored);
  CWyLogger& logger = *tenant.pLogger;
  OutputPtr pErrorLog = std::make_unique<CWyAuditFileOutput>(FileOptions(tenant, "error.log"));
  OutputPtr pAuditLog = NewAuditOutput(tenant);
  return IsTakenOver(logger.SetLogOutput(pErrorLog.get()), pErrorLog) &&
         IsTakenOver(logger.EnableAuditLogRollover(pAuditLog.get()), pAuditLog);
}

WyFileOptions AgentLog::FileOptions(const Tenant& tenant, const char* pszName) const {
  WyFileOptions file;
  file.path = tenant.strDirectory + "/" + pszName;
  file.mode = m_options.iMaxSizeMB > 0 ? WyFileMode::AppendRollBySize : WyFileMode::Append;
  file.maxSizeMB = m_options.iMaxSizeMB;
  file.backups = m_options.iMaxBackups;
  file.shared = m_options.bShared;
  file.permissions = 0640;
  return file;
}

// Each sealed log has keys of its own, so the tenants' logs, which have none, are not sealed.
AgentLog::OutputPtr AgentLog::NewAuditOutput(const Tenant& tenant) const {
  const WyFileOptions file = FileOptions(tenant, "audit.log");
  if (m_options.strSealKeys.empty() || tenant.pLogger != m_tenants.at("").pLogger) {
    return std::make_unique<CWyAuditFileOutput>(file);
  }
  return std::make_unique<CWySealedOutput>(file, m_options.strSealKeys);
}

std::string AgentLog::TenantOf(const std::string& strHost) const {
  return m_tenants.contains(strHost) ? strHost : "";
}

CWyLogger& AgentLog::LoggerOf(const AccessRequest& request) const {
  return *m_tenants.at(request.strTenant).pLogger;
}

bool AgentLog::TurnTracingOn() const {
  bool bAllOn = true;
  for (const auto& [strName, tenant] : m_tenants) bAllOn &= TurnTracingOn(tenant);
  return bAllOn;
}

bool AgentLog::TurnTracingOn(const Tenant& tenant) const {
  CWyLogger& logger = *tenant.pLogger;
  const std::string& strConfig = m_options.strTraceConfig;
  OutputPtr pFile = std::make_unique<CWyAuditFileOutput>(FileOptions(tenant, "trace.log"));
  OutputPtr pConsole(m_options.bTraceToConsole ? logger.NewLogOutput(WyOutputType::Console)
                                               : nullptr);
  const bool bOn = logger.EnableTrace(pFile.get(), pConsole.get(), m_options.iTraceLayout,
                                      m_options.strTraceDelimiter.c_str(), strConfig.c_str(),
                                      logger.ShouldUseLocalTime(), false, false);
  IsTakenOver(bOn, pFile);
  IsTakenOver(bOn, pConsole);
  WyLog(logger, bOn ? IsAuthorized::TracingOn : IsAuthorized::TracingFailed, Printable(strConfig),
        tenant.strDirectory + "/trace.log");
  LogTraceFindings(tenant);
  return bOn;
}

// What the library passed over in the configuration, or why it refused it.
void AgentLog::LogTraceFindings(const Tenant& tenant) const {
  std::vector<WyTraceFinding> findings;
  WyCheckTraceConfiguration(*tenant.pLogger, m_options.strTraceConfig.c_str(), findings);
  for (const WyTraceFinding& finding : findings) {
    if (finding.level == WyTraceLevel::Effect) continue;
    std::string strPlace = m_options.strTraceConfig;
    if (finding.uLine > 0) {
      strPlace += ':' + std::to_string(finding.uLine) + ':' + std::to_string(finding.uColumn);
    }
    std::string strText = finding.strCode + ", " + finding.strText;
    if (!finding.strHelp.empty()) strText += " (" + finding.strHelp + ")";
    WyLog(*tenant.pLogger, IsAuthorized::TracingConfigFinding, Printable(strPlace),
          Printable(strText));
  }
}

void AgentLog::TurnTracingOff() const {
  for (const auto& [strName, tenant] : m_tenants) {
    tenant.pLogger->DisableTrace(false);
    WyLog(*tenant.pLogger, IsAuthorized::TracingOff);
  }
}
