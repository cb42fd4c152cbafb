// Each rule exists because its setting was seen to lose records, or to store them differently; the
// values are those of shipping/.

#include "tools/wylogctl/CollectorRules.h"

#include <fnmatch.h>
#include <glob.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "wyerrlog/internal/WyBackupName.h"

namespace {

constexpr const char* Stamp = "_20261116_171613";  // any backup's
constexpr const char* Table = "wyerrlog.incoming";

enum class Relation : std::uint8_t { Is, Contains, AtLeast, AtMost, Has, Absent };

struct Rule {
  WyCollector collector;
  const char* pszObject;
  const char* pszType;  // the parameter "type" of the object; null for any
  const char* pszKind;  // of the log; null for any
  const char* pszName;
  Relation relation;
  const char* pszValue;
  WyLevel level;
  const char* pszCode;
  const char* pszWhy;
};

constexpr WyCollector R = WyCollector::Rsyslog;
constexpr WyCollector N = WyCollector::SyslogNg;
constexpr WyLevel Error = WyLevel::Error;
constexpr WyLevel Warning = WyLevel::Warning;
constexpr const char* Lost = "records that are not sent yet are lost with the process";
constexpr const char* Drops = "records that the store does not take at once are dropped";
constexpr const char* Lines = "a record of several lines becomes several";
constexpr const char* Cut = "a longer record is cut into several";
constexpr const char* Small = "the queue holds less than the shipped one";

constexpr Rule Rules[] = {
    {R, "module", nullptr, nullptr, "mode", Relation::Is, "polling", Warning, "S210",
     "with inotify the last record of a file sometimes stays unsent"},
    {R, "global", nullptr, nullptr, "maxmessagesize", Relation::AtLeast, "4m", Warning, "S211",
     Cut},
    {R, "input", "imfile", nullptr, "persiststateinterval", Relation::Absent, "", Error, "S201",
     "it notes the position of records that are not in the queue yet"},
    {R, "input", "imfile", nullptr, "persiststateaftersubmission", Relation::Is, "on", Error,
     "S202", "positions are noted only when rsyslog ends in order"},
    {R, "input", "imfile", nullptr, "freshstarttail", Relation::Is, "off", Error, "S203",
     "what is in the files when rsyslog first sees them is not read"},
    {R, "input", "imfile", nullptr, "addmetadata", Relation::Is, "on", Error, "S204",
     "without positions, records of the same text and second are one row"},
    {R, "input", "imfile", "error", "startmsg.regex", Relation::Is, "^\\[[0-9]+/[0-9]+\\]\\[[A-Z]",
     Warning, "S205", Lines},
    {R, "input", "imfile", "error", "readtimeout", Relation::Is, "2", Warning, "S206",
     "the last record stays unsent until another one follows"},
    {R, "input", "imfile", "error", "escapelf", Relation::Is, "off", Warning, "S207",
     "the newlines of a record are replaced"},
    {R, "ruleset", nullptr, nullptr, "queue.type", Relation::Is, "Disk", Error, "S221", Lost},
    {R, "ruleset", nullptr, nullptr, "queue.filename", Relation::Has, "", Error, "S221", Lost},
    {R, "ruleset", nullptr, nullptr, "queue.checkpointinterval", Relation::Is, "1", Error, "S222",
     Lost},
    {R, "ruleset", nullptr, nullptr, "queue.saveonshutdown", Relation::Is, "on", Error, "S222",
     Lost},
    {R, "ruleset", nullptr, nullptr, "queue.timeoutenqueue", Relation::AtLeast, "2000000000", Error,
     "S223", "records are dropped when the queue is full"},
    {R, "ruleset", nullptr, nullptr, "queue.size", Relation::AtLeast, "100000000", Warning, "S224",
     Small},
    {R, "ruleset", nullptr, nullptr, "queue.maxdiskspace", Relation::AtLeast, "4g", Warning, "S224",
     Small},
    {R, "action", "ompgsql", nullptr, "action.resumeretrycount", Relation::Is, "-1", Error, "S231",
     Drops},
    {R, "action", "ompgsql", nullptr, "template", Relation::Is, "wyerrlog-insert", Error, "S232",
     "a plain statement loses records when a connection breaks"},
    {R, "action", "omrelp", nullptr, "action.resumeretrycount", Relation::Is, "-1", Error, "S231",
     Drops},
    {R, "action", "omrelp", nullptr, "windowsize", Relation::AtMost, "128", Warning, "S233",
     "so many records are in no queue if both hosts fail at once"},
    {R, "action", "omrelp", nullptr, "tls", Relation::Is, "on", Warning, "S234",
     "others can read and forge the records on their way"},
    {R, "action", "omrelp", nullptr, "tls.authmode", Relation::Is, "name", Warning, "S234",
     "any central host with a certificate is accepted"},
    {N, "wildcard-file", nullptr, "error", "multi-line-mode", Relation::Is, "regexp", Warning,
     "S205", Lines},
    {N, "wildcard-file", nullptr, nullptr, "log-msg-size", Relation::AtLeast, "4194304", Warning,
     "S211", Cut},
    {N, "wildcard-file", nullptr, nullptr, "max-files", Relation::AtLeast, "1000", Warning, "S212",
     "files beyond this number are not read"},
    {N, "sql", nullptr, nullptr, "disk-buffer", Relation::Has, "", Error, "S221", Lost},
    {N, "sql", nullptr, nullptr, "retries", Relation::AtLeast, "1000000000", Error, "S231", Drops},
    {N, "disk-buffer", nullptr, nullptr, "reliable", Relation::Is, "yes", Error, "S221", Lost},
    {N, "disk-buffer", nullptr, nullptr, "disk-buf-size", Relation::AtLeast, "4294967296", Warning,
     "S224", Small},
    {N, "log", nullptr, nullptr, "flags", Relation::Contains, "flow-control", Error, "S223",
     "records are dropped when the buffer is full"},
};

// "4g" as a number; -1 if it is none.
double NumberOf(const std::string& strText) {
  char* pEnd = nullptr;
  const double dNumber = std::strtod(strText.c_str(), &pEnd);
  if (pEnd == strText.c_str()) return -1;
  switch (*pEnd) {
    case 'k':
      return dNumber * 1024;
    case 'm':
      return dNumber * 1024 * 1024;
    case 'g':
      return dNumber * 1024 * 1024 * 1024;
    default:
      return dNumber;
  }
}

bool IsKept(const Rule& rule, const WyCollectorParameter* pFound) {
  if (rule.relation == Relation::Absent) return pFound == nullptr;
  // Not set, these have the value that does no harm.
  if (pFound == nullptr) {
    return std::string_view(rule.pszName) == "freshstarttail" ||
           std::string_view(rule.pszName) == "queue.maxdiskspace" ||
           rule.relation == Relation::AtMost;
  }
  const std::string& strValue = pFound->strValue;
  switch (rule.relation) {
    case Relation::Is:
      return strcasecmp(strValue.c_str(), rule.pszValue) == 0;
    case Relation::Contains:
      return (" " + strValue + " ").find(" " + std::string(rule.pszValue) + " ") !=
             std::string::npos;
    case Relation::AtLeast:
      return NumberOf(strValue) >= NumberOf(rule.pszValue);
    case Relation::AtMost:
      return NumberOf(strValue) <= NumberOf(rule.pszValue);
    default:
      return true;
  }
}

std::string Written(const Rule& rule) {
  const std::string strName = rule.pszName;
  if (rule.relation == Relation::Absent) return "leave out " + strName;
  if (rule.relation == Relation::Has) return "set " + strName + " as the shipped files do";
  if (rule.collector == N) return "write " + strName + "(" + rule.pszValue + ")";
  std::string strValue;
  for (const char* p = rule.pszValue; *p != '\0'; ++p) {
    strValue += *p == '\\' ? std::string("\\\\") : std::string(1, *p);
  }
  return "write " + strName + "=\"" + strValue + "\"";
}

void CheckRule(const Rule& rule, const WyCollectorObject& object, CWyDiagnostics& diagnostics) {
  const WyCollectorParameter* const pFound = object.Find(rule.pszName);
  if (IsKept(rule, pFound)) return;
  const std::string strName = "`" + std::string(rule.pszName) + "`";
  const std::string strText =
      pFound == nullptr ? strName + " is missing: " : strName + " is `" + pFound->strValue + "`: ";
  const WyLocation where = pFound == nullptr ? object.where : pFound->where;
  (rule.level == Error ? diagnostics.Error(rule.pszCode, where, strText + rule.pszWhy)
                       : diagnostics.Warning(rule.pszCode, where, strText + rule.pszWhy))
      .Help(Written(rule));
}

std::string FolderOf(const std::string& strPath) {
  return strPath.substr(0, strPath.rfind('/') + 1);
}

std::string BackupOf(const std::string& strLog, const char* pszNumber) {
  const std::string strName = strLog.substr(FolderOf(strLog).size());
  return FolderOf(strLog) + CWyBackupName(strName).Make(Stamp, pszNumber);
}

// "error*.log" for "error.log".
std::string WildcardOf(const std::string& strLog) {
  const std::size_t uDot = std::min(strLog.rfind('.'), strLog.size());
  return std::string(strLog).insert(uDot, "*");
}

// "error" of "error*.log" and of "/var/log/agent/error.log".
std::string KindOfPattern(const std::string& strPattern) {
  const std::string strName = strPattern.substr(FolderOf(strPattern).size());
  for (const char* const pszKind : {"error", "trace", "audit"}) {
    if (strName.starts_with(pszKind)) return pszKind;
  }
  return "";
}

std::vector<std::string> FilesOf(const WyShippedInput& input) {
  std::vector<std::string> files;
  glob_t found{};
  if (::glob(input.strPattern.c_str(), 0, nullptr, &found) == 0) {
    files.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  }
  globfree(&found);
  return files;
}

}  // namespace

bool WyShippedInput::Matches(const std::string& strPath) const {
  return fnmatch(strPattern.c_str(), strPath.c_str(), FNM_PATHNAME) == 0;
}

std::string WyLogOfBackup(const std::string& strPath) {
  const std::string strFolder = FolderOf(strPath);
  const std::string strName = strPath.substr(strFolder.size());
  const std::size_t uDot = std::min(strName.rfind('.'), strName.size());
  // The stem is the shortest beginning with which the name is that of a backup.
  for (std::size_t u = 1; u < uDot; ++u) {
    const std::string strLog = strName.substr(0, u) + strName.substr(uDot);
    if (strName[u] == '_' && CWyBackupName(strLog).Matches(strName)) return strFolder + strLog;
  }
  return strPath;
}

CWyCollectorRules::CWyCollectorRules(CWyCollectorConfig& config, CWyDiagnostics& diagnostics)
    : m_config(config), m_diagnostics(diagnostics) {
  for (const WyCollectorObject& object : m_config.Objects()) AddInput(object);
}

// Inputs of rsyslog are those that go to the shipped ruleset, or whose tag has one of our kinds.
void CWyCollectorRules::AddInput(const WyCollectorObject& object) {
  WyShippedInput input{&object, "", object.where, "", ""};
  if (object.collector == N) {
    const bool bWildcard = object.strName == "wildcard-file";
    if (!object.strInside.starts_with("source ") || (!bWildcard && object.strName != "file"))
      return;
    const WyCollectorParameter* const pPattern = object.Find("filename-pattern");
    input.strPattern = object.Value("base-dir");
    if (bWildcard && pPattern == nullptr) return;
    input.strPattern += bWildcard ? "/" + pPattern->strValue : std::string(object.Value(""));
    if (bWildcard) input.where = pPattern->where;
    input.strKind = KindOfPattern(input.strPattern);
  } else {
    const WyCollectorParameter* const pFile = object.Find("file");
    if (object.strName != "input" || object.Value("type") != "imfile" || pFile == nullptr) return;
    const std::string strTag(object.Value("tag"));
    const std::size_t uDot = strTag.find('.');
    input.strKind = KindOfPattern(strTag.substr(0, uDot));
    if (uDot != std::string::npos) input.strProgram = strTag.substr(uDot + 1);
    if (input.strKind.empty() && object.Value("ruleset") != "wyerrlog") return;
    input.strPattern = pFile->strValue;
    input.where = pFile->where;
  }
  m_inputs.push_back(std::move(input));
}

const WyShippedInput* CWyCollectorRules::InputOf(const WyCollectorObject& object) const {
  for (const WyShippedInput& input : m_inputs) {
    if (input.pObject == &object) return &input;
  }
  return nullptr;
}

// Whether the object belongs to the way of the logs. A collector has others.
bool CWyCollectorRules::IsShipped(const WyCollectorObject& object) const {
  if (object.strName == "input" || object.strName == "wildcard-file") return InputOf(object);
  if (object.strName == "module") return object.Value("load") == "imfile";
  if (object.strName == "global") return object.Find("maxmessagesize") != nullptr;
  const auto uses = [&](const WyShippedInput& input) {
    const std::string_view ruleset = input.pObject->Value("ruleset");
    if (object.strName == "log") {
      return "source " + std::string(object.Value("source")) == input.pObject->strInside;
    }
    return object.Value("name") == ruleset || object.strInside == ruleset;
  };
  if (object.collector == R || object.strName == "log") {
    return std::any_of(m_inputs.begin(), m_inputs.end(), uses);
  }
  return std::any_of(m_config.Objects().begin(), m_config.Objects().end(),
                     [&](const WyCollectorObject& other) {
                       return other.strName == "sql" && other.Value("table") == Table &&
                              other.strInside == object.strInside;
                     });
}

void CWyCollectorRules::CheckRuleset(const WyShippedInput& input) {
  if (input.pObject->collector == N) return;
  const std::string strRuleset(input.pObject->Value("ruleset"));
  if (strRuleset.empty()) {
    m_diagnostics
        .Error("S220", input.pObject->where,
               "`ruleset` is missing: the records go through the main queue, which is in "
               "memory: they are lost with the process")
        .Help("write ruleset=\"wyerrlog\"");
    return;
  }
  for (const WyCollectorObject& object : m_config.Objects()) {
    if (object.strName == "ruleset" && object.Value("name") == strRuleset) return;
  }
  m_diagnostics
      .Error("S220", input.pObject->Find("ruleset")->where,
             "no ruleset is named `" + strRuleset + "`: the records are not sent")
      .Help("include wyerrlog-store.conf or wyerrlog-forward.conf");
}

void CWyCollectorRules::CheckSettings() {
  for (const WyCollectorObject& object : m_config.Objects()) {
    if (!IsShipped(object)) continue;
    const WyShippedInput* const pInput = InputOf(object);
    for (const Rule& rule : Rules) {
      if (rule.collector != object.collector || object.strName != rule.pszObject) continue;
      if (rule.pszType != nullptr && object.Value("type") != rule.pszType) continue;
      if (rule.pszKind != nullptr && (pInput == nullptr || pInput->strKind != rule.pszKind))
        continue;
      CheckRule(rule, object, m_diagnostics);
    }
  }
  for (const WyShippedInput& input : m_inputs) CheckRuleset(input);
  CheckState();
}

// Where rsyslog has no folder for it, it notes no position at all.
void CWyCollectorRules::CheckState() {
  if (!m_config.HasCollector(R) || m_inputs.empty()) return;
  const WyLocation where = m_inputs.front().pObject->where;
  bool bFolder = false;
  bool bLongMessages = false;
  for (const WyCollectorObject& object : m_config.Objects()) {
    bFolder |= object.Find("workdirectory") || object.Find("statefile.directory");
    bLongMessages |= object.Find("maxmessagesize") != nullptr;
  }
  if (!bFolder) {
    m_diagnostics
        .Error("S200", where,
               "no `workDirectory` is set: rsyslog notes no position and has no queue")
        .Help(
            "write global(workDirectory=\"/var/spool/rsyslog\"), or name the file that has it "
            "with --config too");
  }
  if (!bLongMessages) {
    m_diagnostics.Warning("S211", where, std::string("`maxMessageSize` is missing: ") + Cut)
        .Help("write global(maxMessageSize=\"4m\")");
  }
}

void CWyCollectorRules::CheckPattern(const WyShippedInput& input, const std::string& strLog) {
  if (!input.HasWildcard()) {
    m_diagnostics
        .Error(
            "S110", input.where,
            "the exact name of a file: a log that is rolled over several times before it is read "
            "is lost")
        .Help("match the backups too: " + WildcardOf(strLog));
    return;
  }
  for (const char* const pszNumber : {"", "1"}) {
    const std::string strBackup = BackupOf(strLog, pszNumber);
    if (input.Matches(strBackup)) continue;
    m_diagnostics
        .Error("S111", input.where,
               "the pattern matches " + strLog + ", but not a backup such as " + strBackup)
        .Help("put the wildcard before the extension: " + WildcardOf(strLog));
    return;
  }
}

void CWyCollectorRules::CheckPatterns(const std::vector<std::string>& logs) {
  std::set<const WyShippedInput*> used;
  for (const std::string& strLog : logs) {
    const WyShippedInput* pFirst = nullptr;
    for (const WyShippedInput& input : m_inputs) {
      if (!input.Matches(strLog)) continue;
      if (used.insert(&input).second) CheckPattern(input, strLog);
      if (pFirst != nullptr) {
        m_diagnostics
            .Error("S112", input.where, strLog + " has two inputs: one of them gets nothing")
            .Help("make the patterns differ")
            .Note(pFirst->where, "the first one");
      }
      pFirst = &input;
    }
    if (pFirst != nullptr) continue;
    m_diagnostics.Error("S113", {strLog, 0, 0, 0, ""}, "no input of the collector reads this log")
        .Help("copy an input of the shipped configuration, and name the log there");
  }
  for (const WyShippedInput& input : m_inputs) {
    if (used.count(&input) > 0 || !FilesOf(input).empty()) continue;
    m_diagnostics.Warning("S114", input.where, "no log matches " + input.strPattern)
        .Help("check the folder, and WYERRLOG_LOGS");
  }
}

std::vector<std::string> CWyCollectorRules::FindLogs() const {
  std::set<std::string> logs;
  for (const WyShippedInput& input : m_inputs) {
    for (const std::string& strPath : FilesOf(input)) logs.insert(WyLogOfBackup(strPath));
  }
  return {logs.begin(), logs.end()};
}
