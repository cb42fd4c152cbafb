// Three questions, asked of each log: does the collector's configuration read it and its backups,
// do the backups outlast an outage, and is one deleted that has not been shipped?

#include "tools/wylogctl/ShipCommand.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <memory>

#include "tools/wylogctl/CollectorRules.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/ShipLog.h"
#include "tools/wylogctl/ShipTable.h"

namespace {

constexpr const char* RsyslogFile = "/etc/rsyslog.conf";
constexpr const char* SyslogNgFile = "/etc/syslog-ng/syslog-ng.conf";
constexpr const char* VariablesFile = "/etc/wyerrlog/shipping.env";
constexpr const char* SpoolFolder = "/var/spool/rsyslog";
constexpr double Megabyte = 1048576;  // as the library counts maxSizeMB

struct ShipOptions {
  std::vector<std::string> paths;
  std::vector<std::string> configs;
  std::string strVariables;
  std::string strSpool;
  std::string strStore;
  std::string strHost;
  std::string strZone = "local";
  std::string strOutage = "8h";
  std::string strLag = "10m";
  std::string strFailOn = "warning";
  std::optional<std::uint64_t> backups;
  std::optional<double> maxSize;
};

class ShipCheck {
 public:
  ShipCheck(CWyContext& context, const ShipOptions& options)
      : m_context(context), m_options(options), m_config(context, m_diagnostics) {}

  int Run();

 private:
  bool SetOptions();
  bool ReadConfig();
  void ReadPositions();
  std::vector<std::string> Logs(const CWyCollectorRules& rules);
  void CheckLog(const CWyCollectorRules& rules, const std::string& strLog);
  void TakeStored(CWyShipLog& log, const WyShippedInput* pInput);
  void CheckRetention(const CWyShipLog& log);
  void CheckShipped(const CWyShipLog& log);
  int End();

  CWyContext& m_context;
  const ShipOptions& m_options;
  CWyDiagnostics m_diagnostics;
  CWyCollectorConfig m_config;
  CWyCollectorPositions m_positions;
  CWyStoredLogs m_stored;
  CWyZone m_zone;
  WyRetention m_retention;
  double m_dOutage = 0;
  double m_dLag = 0;
  bool m_bPositions = false;
  std::deque<CWyShipLog> m_logs;
};

bool ShipCheck::SetOptions() {
  const auto outage = WyParseDuration(m_options.strOutage);
  const auto lag = WyParseDuration(m_options.strLag);
  if (!outage) m_context.Error("--outage " + m_options.strOutage + ": not a time such as 8h or 2d");
  if (!lag) m_context.Error("--lag " + m_options.strLag + ": not a time such as 10m or 1h");
  if (!m_zone.Set(m_options.strZone)) {
    m_context.Error("--tz " + m_options.strZone + ": no such zone; local, utc or Europe/Berlin");
  }
  if (m_options.maxSize && *m_options.maxSize <= 0) {
    m_context.Error("--max-size: the size in MB at which the program rolls a log over");
  }
  if (m_context.HasFailed()) return false;
  m_dOutage = static_cast<double>(*outage) / 1000;
  m_dLag = static_cast<double>(*lag) / 1000;
  m_retention.backups = m_options.backups;
  if (m_options.maxSize) {
    m_retention.fileSize = static_cast<std::uint64_t>(*m_options.maxSize * Megabyte);
  }
  return true;
}

bool ShipCheck::ReadConfig() {
  std::string strVariables = m_options.strVariables;
  if (strVariables.empty() && std::filesystem::exists(VariablesFile)) strVariables = VariablesFile;
  if (!strVariables.empty() && !m_config.ReadEnvironment(strVariables)) return false;
  std::vector<std::string> configs = m_options.configs;
  for (const char* const pszFile : {RsyslogFile, SyslogNgFile}) {
    if (configs.empty() && std::filesystem::exists(pszFile)) configs.emplace_back(pszFile);
  }
  if (configs.empty()) {
    m_context.Error(std::string("neither ") + RsyslogFile + " nor " + SyslogNgFile +
                    " is there; --config FILE names the collector's configuration");
  }
  for (const std::string& strConfig : configs) m_config.Read(strConfig);
  return !m_context.HasFailed();
}

// Where rsyslog notes its positions: as the option says, or the configuration.
void ShipCheck::ReadPositions() {
  std::string strSpool;
  for (const WyCollectorObject& object : m_config.Objects()) {
    for (const char* const pszName : {"workdirectory", "statefile.directory"}) {
      if (object.Find(pszName)) strSpool = object.Value(pszName);
    }
  }
  if (!m_options.strSpool.empty()) strSpool = m_options.strSpool;
  if (strSpool.empty()) strSpool = SpoolFolder;
  if (!m_config.HasCollector(WyCollector::Rsyslog)) {
    if (m_options.strStore.empty()) {
      m_context.Note("the positions of syslog-ng are not known; --store compares with the store");
    }
    return;
  }
  m_bPositions = m_positions.Open(m_context, strSpool);
  if (m_bPositions && !m_positions.IsRewound()) {
    m_diagnostics
        .Warning(
            "S310", {strSpool, 0, 0, 0, ""},
            "wyerrlog-rewind has not marked this folder: rsyslog does not run, or does not read "
            "the logs again after a failure")
        .Help("install wyerrlog.service.conf, and restart rsyslog");
  }
}

std::vector<std::string> ShipCheck::Logs(const CWyCollectorRules& rules) {
  if (m_options.paths.empty()) return rules.FindLogs();
  std::vector<std::string> logs;
  for (const std::string& strPath : m_options.paths) {
    logs.push_back(std::filesystem::absolute(strPath).lexically_normal());
  }
  return logs;
}

void ShipCheck::CheckRetention(const CWyShipLog& log) {
  const WyLocation where{log.Path(), 0, 0, 0, ""};
  for (const WyShipFile& entry : log.Files()) {
    if (!entry.file.bCompressed) continue;
    m_diagnostics
        .Warning("S302", {entry.file.strPath, 0, 0, 0, ""},
                 "a compressed backup is not read by the collector; whether it was shipped is not "
                 "known")
        .Help("compress a backup only when it is in the store");
  }
  const auto lasts = log.Lasts();
  if (!lasts || *lasts >= m_dOutage) return;
  const double dSize = static_cast<double>(log.FileSize());
  const double dNeeded = std::ceil(log.Rate() * m_dOutage / dSize);
  m_diagnostics
      .Warning("S301", where,
               "the backups last " + WyTimeText(*lasts) + " at " + WyBytesText(log.Rate()) +
                   "/s, an outage " + WyTimeText(m_dOutage))
      .Help("keep " + std::to_string(static_cast<std::uint64_t>(dNeeded)) + " backups of " +
            WyBytesText(dSize) + ", or as many bytes in larger files");
}

void ShipCheck::CheckShipped(const CWyShipLog& log) {
  const auto first = log.FirstUnshipped();
  if (!first) return;
  const WyShipFile& entry = log.Files()[*first];
  const auto deleted = log.DeletedIn(*first);
  if (deleted && *deleted < m_dOutage) {
    const WyLocation where{entry.file.strPath, 0, 0, 0, ""};
    std::string strText = WyBytesText(static_cast<double>(entry.uUnshipped)) +
                          " of this backup are not shipped, and it is deleted in " +
                          WyTimeText(*deleted) + ", at ";
    WyAppendIso(strText, log.TimeIn(*deleted), false);
    (*first == 0 ? m_diagnostics.Error("S303", where, strText)
                 : m_diagnostics.Warning("S303", where, strText))
        .Help("start the collector, or copy the backup to another folder until it is shipped");
  }
  const auto uBehind = static_cast<double>(log.BehindSeconds());
  if (uBehind <= m_dLag) return;
  m_diagnostics
      .Warning("S304", {log.Path(), 0, 0, 0, ""},
               WyBytesText(static_cast<double>(log.Unshipped())) + " are not shipped; they begin " +
                   WyTimeText(uBehind) + " before the newest record")
      .Help("see whether the collector and the store run, and what the collector reports");
}

void ShipCheck::TakeStored(CWyShipLog& log, const WyShippedInput* pInput) {
  if (pInput == nullptr || pInput->strKind.empty()) return;
  const WyLocation where{log.Path(), 0, 0, 0, ""};
  const auto newest = m_stored.Newest(m_options.strHost, pInput->strProgram, pInput->strKind);
  if (!newest) {
    m_diagnostics
        .Error("S306", where,
               "the store has no records of host " + m_options.strHost + ", program " +
                   (pInput->strProgram.empty() ? "(any)" : pInput->strProgram) + ", kind " +
                   pInput->strKind)
        .Help("--host gives the name under which the collector sends");
  } else if (!log.TakeStored(*newest, m_zone)) {
    m_context.Warning(log.Path() + ": its newest record's time occurs twice in " +
                      m_zone.Description() + ", so it is not compared with the store");
  }
}

void ShipCheck::CheckLog(const CWyCollectorRules& rules, const std::string& strLog) {
  CWyShipLog& log = m_logs.emplace_back();
  if (!log.Measure(m_context, strLog, m_retention)) {
    m_logs.pop_back();
    return;
  }
  const WyShippedInput* pInput = nullptr;
  for (const WyShippedInput& input : rules.Inputs()) {
    if (pInput == nullptr && input.Matches(strLog)) pInput = &input;
  }
  if (m_bPositions) {
    log.TakePositions(m_context, m_positions);
    const auto& files = log.Files();
    if (log.Size() > 0 && std::none_of(files.begin(), files.end(),
                                       [](const WyShipFile& file) { return file.bKnown; })) {
      m_diagnostics
          .Error("S305", {strLog, 0, 0, 0, ""}, "rsyslog has noted no position in this log")
          .Help("see whether rsyslog runs, and may read the log");
    }
  }
  if (!m_options.strStore.empty()) TakeStored(log, pInput);
  CheckRetention(log);
  CheckShipped(log);
}

int ShipCheck::End() {
  WyPrintShipLogs(m_context, m_logs, m_diagnostics);
  if (!m_logs.empty() && (!m_retention.backups || !m_retention.fileSize)) {
    m_context.Note(
        "number and size of backups are taken from the files; "
        "--backups and --max-size say what the program keeps");
  }
  std::size_t uErrors = 0;
  const std::vector<WyDiagnostic> findings = m_diagnostics.Findings();
  for (const WyDiagnostic& finding : findings) uErrors += finding.level == WyLevel::Error ? 1 : 0;
  m_context.Note("errors: " + std::to_string(uErrors) +
                 ", warnings: " + std::to_string(findings.size() - uErrors));
  const bool bFailed = m_options.strFailOn == "warning" ? !findings.empty()
                       : m_options.strFailOn == "error" ? uErrors > 0
                                                        : false;
  return m_context.Exit(!bFailed);
}

int ShipCheck::Run() {
  m_context.Start(false);
  if (!SetOptions() || !ReadConfig()) return WyFailed;
  CWyCollectorRules rules(m_config, m_diagnostics);
  const std::vector<std::string> logs = Logs(rules);
  if (rules.Inputs().empty() && logs.empty()) {
    m_context.Error("the configuration has no inputs of logs; name the logs to be checked as PATH");
    return WyFailed;
  }
  rules.CheckSettings();
  rules.CheckPatterns(logs);
  if (!m_options.strStore.empty() && !m_stored.Read(m_context, m_options.strStore)) return WyFailed;
  ReadPositions();
  for (const std::string& strLog : logs) CheckLog(rules, strLog);
  return End();
}

// As rsyslog has it: without the domain.
std::string HostName() {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  const std::string strName = name.data();
  return strName.substr(0, strName.find('.'));
}

void AddOptions(CWyCommand& command, ShipOptions& options) {
  command.Arguments("PATH", "A log; those that the configuration reads, if none is given",
                    options.paths);
  command.Value("--config", "FILE", "The collector's configuration; /etc/rsyslog.conf if not given",
                options.configs);
  command.File("--env",
               "The variables of the configuration; /etc/wyerrlog/shipping.env if not given",
               options.strVariables);
  command.Value("--spool", "DIR", "Where rsyslog notes its positions, if not as configured",
                options.strSpool);
  command.File("--store",
               "Rows of the view wyerrlog.lag as JSON, one a line; - is the standard input",
               options.strStore);
  command.Value("--host", "NAME", "This host's name in the store", options.strHost);
  command.Value("--backups", "N", "How many backups the program keeps", options.backups);
  command.Value("--max-size", "MB", "At which size the program rolls a log over", options.maxSize);
  command.Value("--outage", "TIME",
                "The longest outage that must not lose a record; 8h if not given",
                options.strOutage);
  command.Value("--lag", "TIME", "How far the collector may be behind; 10m if not given",
                options.strLag);
  command.Value("--tz", "ZONE", "The zone of the logs' times: local, utc, Europe/Berlin",
                options.strZone);
  command.Choice("--fail-on", "LEVEL", "What makes the exit code 1", options.strFailOn,
                 {"warning", "error", "never"});
}

}  // namespace

void RegisterShipCommand(CWyProgram& program) {
  const auto pOptions = std::make_shared<ShipOptions>();
  pOptions->strHost = HostName();
  CWyCommand& command =
      program.Add("ship check", "Find what the collector would lose", {"table", "json", "csv"});
  AddOptions(command, *pOptions);
  command.About(
      "Compares the configuration of rsyslog or syslog-ng with the shipped one, the backups with "
      "the longest outage, and the positions that rsyslog notes with the files. Findings go to the "
      "standard error output, with -o json and csv to the standard output.");
  command.Example("wylogctl ship check --backups 65 --max-size 100 --outage 60h",
                  "Checks the configured logs of this host");
  command.Example(
      "psql -h store.example -d wyerrlog -AtX -c \"select row_to_json(l) from wyerrlog.lag l where "
      "host = 'web1'\" | wylogctl ship check --host web1 --store -",
      "Also compares with what the store has");
  command.Run([pOptions](CWyContext& context) { return ShipCheck(context, *pOptions).Run(); });
}
