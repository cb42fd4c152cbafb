// One finding is one line of text or one JSON object; the last line sums up. The exit code is 0 if
// the log is intact, 1 if there are findings that are not harmless, 2 if it cannot be verified.

#include "tools/wylogctl/SealVerifyCommand.h"

#include <wyerrlog_seal/WySealKeys.h>
#include <wyerrlog_seal/WySealVerifier.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/wylogctl/Program.h"

namespace {

struct VerifyOptions {
  std::vector<std::string> keys;
  std::vector<std::string> anchors;
  std::vector<std::string> files;
  std::string strAnchorFile;
  std::string strState;
  bool bAlone = false;
};

// "KEY", or "@FILE" for the first word of a file.
bool ReadKey(const std::string& strOption, std::string& strKey) {
  strKey = strOption;
  if (!strOption.starts_with('@')) return true;
  std::ifstream file(strOption.substr(1));
  return static_cast<bool>(file >> strKey);
}

class VerifyRun {
 public:
  VerifyRun(CWyContext& context, const VerifyOptions& options)
      : m_context(context),
        m_options(options),
        m_bJson(context.options.strFormat == "json"),
        m_verifier([this](const WySealFinding& finding) { Print(finding); }) {}

  int Run() {
    m_context.Start(true);
    if (!AddKeys() || !AddAnchors() || !AddState() || !AddFiles()) return WyFailed;
    const WySealSummary summary = m_verifier.Run();
    Print(summary);
    return m_bUnreadable ? WyFailed : summary.isIntact ? WyFound : WyFindings;
  }

 private:
  bool Refuse(const std::string& strText) {
    m_context.Error(strText);
    return false;
  }

  bool AddKeys() {
    if (m_options.keys.empty()) return Refuse("--key KEY is missing; `seal create` has printed it");
    for (const std::string& strOption : m_options.keys) {
      std::string strKey;
      if (!ReadKey(strOption, strKey)) return Refuse("--key " + strOption + ": cannot be read");
      if (!m_verifier.AddKey(strKey)) {
        return Refuse(
            "--key: not a key of this log; it begins with wyseal-key-1- or wyseal-public-1-");
      }
    }
    return true;
  }

  bool AddAnchors() {
    for (const std::string& strAnchor : m_options.anchors) {
      if (!m_verifier.AddAnchor(strAnchor)) {
        return Refuse("--anchor " + strAnchor + ": not SEQ:TAG, as `seal status` prints it");
      }
    }
    if (m_options.strAnchorFile.empty()) return true;
    if (m_options.strAnchorFile == "-") return AddAnchors(std::cin);
    std::ifstream file(m_options.strAnchorFile);
    if (!file) return Refuse("--anchors " + m_options.strAnchorFile + ": " + strerror(errno));
    return AddAnchors(file);
  }

  // One anchor a line. A line that is none is refused: it may be the message of a failed query.
  bool AddAnchors(std::istream& lines) {
    std::string strLine;
    for (int iLine = 1; std::getline(lines, strLine); ++iLine) {
      if (m_verifier.AddAnchor(strLine)) continue;
      return Refuse("--anchors " + m_options.strAnchorFile + ':' + std::to_string(iLine) + ": `" +
                    strLine + "` is not SEQ:TAG");
    }
    if (lines.bad()) return Refuse("--anchors " + m_options.strAnchorFile + ": cannot be read");
    return true;
  }

  // Read before the files are listed: records that are written meanwhile are then beyond the state,
  // and a log in use is not found behind it.
  bool AddState() {
    WySealStatus status;
    if (m_options.strState.empty()) return true;
    if (!WySealReadStatus(m_options.strState, status)) {
      return Refuse("--state " + m_options.strState + ": " + strerror(errno));
    }
    m_verifier.AddState(status.nextRecord - 1, status.lastTag);
    return true;
  }

  bool AddFiles() {
    if (m_options.files.empty()) return Refuse("no log is named");
    for (const std::string& strFile : m_options.files) {
      if (m_options.bAlone) {
        m_verifier.AddFile(strFile);
      } else if (!m_verifier.AddLog(strFile)) {
        return Refuse(strFile + ": " + strerror(errno));
      }
    }
    return true;
  }

  void Print(const WySealFinding& finding) {
    m_bUnreadable |= finding.kind == WySealKind::Unreadable;
    if (m_bJson)
      return Print(nlohmann::json{{"finding", WySealKindName(finding.kind)},
                                  {"harmless", WySealIsHarmless(finding.kind)},
                                  {"file", finding.file},
                                  {"line", finding.line},
                                  {"first", finding.first},
                                  {"last", finding.last},
                                  {"explanation", finding.explanation}});
    std::string strText = finding.file;
    if (finding.line != 0) strText += ':' + std::to_string(finding.line);
    const bool bHarmless = WySealIsHarmless(finding.kind);
    const std::string_view color = bHarmless ? WyColorCode::Yellow : WyColorCode::Red;
    strText.append(": ").append(m_context.out.Color(color)).append(WySealKindName(finding.kind));
    strText.append(m_context.out.Color(WyColorCode::Off));
    if (finding.first != 0) strText += ' ' + Numbers(finding);
    m_context.out.Write(strText + ": " + finding.explanation + '\n');
  }

  static std::string Numbers(const WySealFinding& finding) {
    const std::string strFirst = std::to_string(finding.first);
    return finding.first == finding.last ? strFirst
                                         : strFirst + ".." + std::to_string(finding.last);
  }

  void Print(const WySealSummary& summary) {
    const std::string strAnchor = std::to_string(summary.lastRecord) + ':' + summary.lastTag;
    if (m_bJson)
      return Print(nlohmann::json{{"intact", summary.isIntact},
                                  {"files", summary.files},
                                  {"proven", summary.records},
                                  {"first", summary.firstRecord},
                                  {"last", summary.lastRecord},
                                  {"signedThrough", summary.signedThrough},
                                  {"publicKey", summary.publicKey},
                                  {"anchor", strAnchor}});
    std::string strText = summary.isIntact ? "intact" : "NOT INTACT";
    strText += ": " + std::to_string(summary.files) + " files, records " +
               std::to_string(summary.firstRecord) + ".." + std::to_string(summary.lastRecord) +
               ", " + std::to_string(summary.records) + " proven";
    if (summary.signedThrough != 0) {
      strText += ", signed through " + std::to_string(summary.signedThrough);
    }
    m_context.out.Write(strText + "; anchor " + strAnchor + '\n');
  }

  void Print(const nlohmann::json& object) {
    m_context.out.Write(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
                        '\n');
  }

  CWyContext& m_context;
  const VerifyOptions& m_options;
  const bool m_bJson;
  bool m_bUnreadable = false;
  CWySealVerifier m_verifier;
};

}  // namespace

void RegisterSealVerifyCommand(CWyProgram& program) {
  const auto pOptions = std::make_shared<VerifyOptions>();
  CWyCommand& command =
      program.Add("seal verify", "Name every change of a sealed log", {"text", "json"});
  command.About(
      "Takes the name of the log and finds its backups. Ends with 0 if the log is intact, "
      "1 if it is not, 2 if it cannot be verified.");
  command.Example("wylogctl seal verify --key @audit.key --state /var/lib/agent/seal audit.log",
                  "verifies all files, and that the end is there");
  command.Value("--key", "KEY", "A verification key or public key, or @FILE with one; repeatable",
                pOptions->keys);
  command.Value("--state", "DIR", "The key directory: its state says where the log must end",
                pOptions->strState);
  command.Value("--anchor", "SEQ:TAG", "A record that was noted elsewhere; repeatable",
                pOptions->anchors);
  command.Value("--anchors", "FILE", "Such records, one a line; `-` for the standard input",
                pOptions->strAnchorFile);
  command.Flag("--alone", "Verify the named files only, not the backups beside them",
               pOptions->bAlone);
  command.Arguments("FILE", "The log; its backups belong to it", pOptions->files);
  command.Run([pOptions](CWyContext& context) { return VerifyRun(context, *pOptions).Run(); });
}
