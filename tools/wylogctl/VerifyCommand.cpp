// Looking for damage: each record and each file is checked alone, then against the one before it.
// Of one kind of finding only the first of each file are printed; all are counted.

#include "tools/wylogctl/VerifyCommand.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

#include "tools/wylogctl/LogInput.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/Table.h"
#include "wyerrlog/internal/WyBackupName.h"

namespace {

// A file with a wrong encoding has a finding for each record; ten show the pattern.
constexpr std::size_t ShownOfAKind = 10;
constexpr WyCivil Tolerance = 2000;  // threads that log at the end of a second
constexpr std::string_view BuiltInKeys = "wy-log-";

struct WyVerifyOptions {
  WyInputOptions input;
  std::string strFailOn = "warning";
  std::string strGap;
  bool bAll = false;
};

struct Kind {
  const char* pszCode;
  bool bError;
  const char* pszText;
};

// The flags of records, in the order of WyRecordFlag.
constexpr std::array<Kind, WyFlagCount> FlagKinds = {{
    {"torn", true, "the record's beginning or end is missing"},
    {"ambiguous", false, "the record's values cannot be told apart for certain"},
    {"too-long", false, "the record is longer than 16 MiB"},
    {"unterminated", false, "the file ends without a newline"},
    {"maybe-cut", false, ""},  // how the layout is, and no damage
    {"invalid-utf8", false, "the record holds bytes that are not UTF-8"},
    {"nul", true, "the record holds zero bytes"},
    {"joined", true, "another record begins in the middle of the line"},
    {"names-assumed", false, ""},  // of a search alone: here files are read whole
}};
constexpr Kind TimeBack = {"time-back", false, "the time is earlier than that of a record before"};
constexpr Kind Gap = {"gap", false, "no record for longer than --gap allows"};
constexpr Kind MissingBackup = {"missing-backup", false, "a backup of the same second is missing"};
constexpr Kind FileOrder = {"file-order", false,
                            "the file begins earlier than the one before ends"};
constexpr Kind UnknownKey = {"unknown-key", false, "no manifest has the key"};
constexpr Kind OtherSeverity = {"severity", false, "the severity is not that of the manifest"};

class CWyVerifyRun {
 public:
  CWyVerifyRun(CWyContext& context, const WyVerifyOptions& options)
      : m_context(context),
        m_options(options),
        m_input(context),
        m_table(context, {"file", "offset", "line", "level", "code", "text"}) {}

  int Run();

 private:
  bool SetGap();
  void CheckLog(CWyChainReader& reader);
  void CheckRecord(const WyRecord& record);
  void CheckTime(const WyRecord& record);
  void CheckKey(const WyRecord& record);
  void CheckNames(const CWyChainReader& reader);
  void BeginFile(const WyLogFile& file);
  void Find(const Kind& kind, std::uint64_t uOffset, const std::string& strDetail = "");
  int Result() const;

  CWyContext& m_context;
  const WyVerifyOptions& m_options;
  CWyLogInput m_input;
  CWyTable m_table;
  std::string m_strFile;
  std::map<std::string, std::size_t> m_found;  // in this file, by code
  std::uint64_t m_uLine = 0;
  std::uint64_t m_uRecords = 0;
  std::uint64_t m_uErrors = 0;
  std::uint64_t m_uWarnings = 0;
  std::uint64_t m_uNotShown = 0;
  WyCivil m_latest = WyNoTime;  // in this file
  WyCivil m_before = WyNoTime;  // the latest of the file before
  WyCivil m_gap = 0;
  bool m_bFirstTime = true;
};

void CWyVerifyRun::Find(const Kind& kind, std::uint64_t uOffset, const std::string& strDetail) {
  ++(kind.bError ? m_uErrors : m_uWarnings);
  if (++m_found[kind.pszCode] > ShownOfAKind && !m_options.bAll) {
    ++m_uNotShown;
    return;
  }
  m_table.Row({m_strFile, uOffset, m_uLine, kind.bError ? "error" : "warning", kind.pszCode,
               kind.pszText + (strDetail.empty() ? "" : ": " + strDetail)});
}

// The line begins again, the latest time is kept: whether files follow each other is a question
// between two of them.
void CWyVerifyRun::BeginFile(const WyLogFile& file) {
  m_strFile = file.strPath;
  m_uLine = 1;
  m_found.clear();
  m_before = m_latest;
  m_latest = WyNoTime;
  m_bFirstTime = true;
}

// The beginning of a file is compared with the file before; after that, each record with the latest
// one of its file.
void CWyVerifyRun::CheckTime(const WyRecord& record) {
  if (record.time == WyNoTime) return;
  const auto seconds = [](WyCivil time) { return std::to_string(time / 1000) + " s"; };
  if (m_bFirstTime && m_before != WyNoTime && record.time + Tolerance < m_before) {
    Find(FileOrder, record.raw.uOffset, seconds(m_before - record.time));
  }
  const WyCivil latest = m_bFirstTime ? m_before : m_latest;
  if (m_gap > 0 && latest != WyNoTime && record.time - latest > m_gap) {
    Find(Gap, record.raw.uOffset, seconds(record.time - latest));
  }
  m_bFirstTime = false;
  if (m_latest != WyNoTime && record.time + Tolerance < m_latest) {
    const bool bClocks = m_input.Zone().IsSetBackNear(record.time);
    Find(TimeBack, record.raw.uOffset,
         seconds(m_latest - record.time) + (bClocks ? ", where clocks are set back" : ""));
    m_latest = record.time;  // reported once, not for all that follow
    return;
  }
  m_latest = std::max(m_latest, record.time);
}

// Without manifests nothing is known, and nothing is reported.
void CWyVerifyRun::CheckKey(const WyRecord& record) {
  if (record.key.empty() || m_input.Manifests().Messages().empty()) return;
  const WyKnownMessage* const pMessage = m_input.Manifests().ByKey(record.key);
  if (pMessage == nullptr) {
    if (!record.key.starts_with(BuiltInKeys)) {
      Find(UnknownKey, record.raw.uOffset, std::string(record.key));
    }
    return;
  }
  if (pMessage->severity == WySeverityRank::None || pMessage->severity == record.severity) return;
  Find(OtherSeverity, record.raw.uOffset,
       std::string(record.key) + " is " + WySeverityText(pMessage->severity) + " there");
}

void CWyVerifyRun::CheckRecord(const WyRecord& record) {
  const unsigned int uFlags = record.uFlags | WyInspectBytes(record);
  if ((uFlags & ~static_cast<unsigned int>(WyMaybeCut)) != 0) {
    for (unsigned int u = 0; u < WyFlagCount; ++u) {
      if ((uFlags & (1u << u)) != 0 && (1u << u) != WyMaybeCut) {
        Find(FlagKinds[u], record.raw.uOffset);
      }
    }
  }
  if (!record.raw.bTitles) {
    ++m_uRecords;
    CheckTime(record);
    CheckKey(record);
  }
  ++m_uLine;
  const std::string_view text = record.raw.text;
  if (std::memchr(text.data(), '\n', text.size() - 1) != nullptr) {
    m_uLine += static_cast<std::uint64_t>(std::count(text.begin(), text.end() - 1, '\n'));
  }
}

// Backups of one second are numbered without gaps; the first of them has no number.
void CWyVerifyRun::CheckNames(const CWyChainReader& reader) {
  const std::string& strPath = reader.Chain().Path();
  const std::string strName = strPath.substr(strPath.rfind('/') + 1);
  const CWyBackupName names(strName);
  std::string strBefore;
  for (const WyLogFile& file : reader.Files()) {
    if (!file.bBackup) continue;
    m_strFile = file.strPath;
    const std::string strNumber(names.Number(file.strName));
    const bool bSame = !strBefore.empty() && names.Stamp(strBefore) == names.Stamp(file.strName);
    // The oldest backups are deleted first, so a gap before the first is how it should be.
    if (!strBefore.empty() && !strNumber.empty()) {
      const std::string strNumberBefore(bSame ? names.Number(strBefore) : "0");
      const std::string strNext =
          CWyBackupName::NextNumber(strNumberBefore.empty() ? "0" : strNumberBefore);
      if (!bSame || strNext != strNumber) Find(MissingBackup, 0, "before " + file.strName);
    }
    strBefore = file.strName;
  }
}

void CWyVerifyRun::CheckLog(CWyChainReader& reader) {
  m_latest = WyNoTime;
  m_found.clear();
  m_uLine = 0;
  CheckNames(reader);
  std::uint64_t uTotal = 0;
  for (const WyLogFile& file : reader.Files()) uTotal += file.uSize;
  reader.onOpened = [this](const WyLogFile& file) { BeginFile(file); };
  for (WyRecord record; reader.Next(record);) {
    CheckRecord(record);
    if (m_uRecords % 4096 == 0) m_context.Progress(reader.BytesRead(), uTotal);
  }
}

bool CWyVerifyRun::SetGap() {
  if (m_options.strGap.empty()) return true;
  m_gap = WyParseDuration(m_options.strGap).value_or(0);
  if (m_gap > 0) return true;
  m_context.Error("--gap " + m_options.strGap + ": not a duration; write 30s, 10m or 1h");
  return false;
}

int CWyVerifyRun::Result() const {
  const bool bFindings = m_options.strFailOn == "warning" ? m_uErrors + m_uWarnings > 0
                         : m_options.strFailOn == "error" ? m_uErrors > 0
                                                          : false;
  return m_context.Exit(!bFindings);
}

int CWyVerifyRun::Run() {
  m_context.Start(true);
  m_input.Manifests().Load(m_context);
  if (!SetGap() || !m_input.Open(m_options.input)) return WyFailed;
  for (auto& stream : m_input.Streams()) CheckLog(*stream.pReader);
  m_context.EndProgress();
  m_table.End();
  if (m_uNotShown > 0) {
    m_context.Note(std::to_string(m_uNotShown) +
                   " more findings of the same kinds; --all shows them");
  }
  m_context.Note(std::to_string(m_uRecords) + " records: " + std::to_string(m_uErrors) +
                 " errors, " + std::to_string(m_uWarnings) + " warnings");
  return Result();
}

}  // namespace

void RegisterVerifyCommand(CWyProgram& program) {
  auto pOptions = std::make_shared<WyVerifyOptions>();
  CWyCommand& command = program.Add("verify", "Look for damage in logs", {"table", "json", "csv"});
  WyAddInput(command, pOptions->input, false);
  command.Choice("--fail-on", "LEVEL", "What makes the exit code 1", pOptions->strFailOn,
                 {"warning", "error", "never"});
  command.Value("--gap", "DURATION", "Report times without a record longer than this: 1h",
                pOptions->strGap);
  command.Flag("--all", "All findings, not the first ten of a kind in each file", pOptions->bAll);
  command.About(
      "Reports torn and joined records, missing last newlines, zero bytes, bytes that are not "
      "UTF-8, times that go back, files out of order and missing backups; with manifests also "
      "unknown keys and other severities.");
  command.Example("wylogctl verify /var/log/app/*.log", "Whether the logs are whole");
  command.Run([pOptions](CWyContext& context) { return CWyVerifyRun(context, *pOptions).Run(); });
}
