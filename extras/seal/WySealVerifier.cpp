// The verification of a log: its files in the order of their numbers, what lies between them, and
// the anchors. CWySealFileCheck verifies each file.

#include "wyerrlog_seal/WySealVerifier.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

#include "extras/seal/internal/WySealFileCheck.h"
#include "extras/seal/internal/WySealKeyText.h"
#include "extras/seal/internal/WySealReadLines.h"
#include "extras/seal/internal/WySealSignedCheck.h"

const char* WySealKindName(WySealKind kind) {
  // In the order of WySealKind. Scripts compare these names: they do not change.
  constexpr const char* Names[] = {"changed",      "unproven",    "missing",      "twice",
                                   "out-of-order", "foreign",     "torn",         "gap",
                                   "retired",      "end-missing", "missing-file", "foreign-file",
                                   "no-key",       "differs",     "unreadable"};
  return Names[static_cast<size_t>(kind)];
}

bool WySealIsHarmless(WySealKind kind) {
  return kind == WySealKind::Torn || kind == WySealKind::Retired;
}

class CWySealVerification {
 public:
  explicit CWySealVerification(std::function<void(const WySealFinding&)> onFinding)
      : m_onFinding(std::move(onFinding)) {}
  ~CWySealVerification() {
    for (WySealNamedKey& key : m_keys) sodium_memzero(&key, sizeof key);
  }
  CWySealVerification(const CWySealVerification&) = delete;
  CWySealVerification& operator=(const CWySealVerification&) = delete;

  bool AddKey(std::string_view strKey);
  bool AddLog(const std::string& strPath);
  void AddFile(const std::string& strPath) { m_paths.push_back(strPath); }
  void AddAnchor(uint64_t uSeq, const WySealAnchor& anchor) { m_anchors.emplace(uSeq, anchor); }
  WySealSummary Run();

 private:
  struct File {
    std::string strPath;
    WySealHead head;
    WySealFileResult result{};  // uNext is 0 if it was not verified
  };

  void ReadHeads();
  const WySealNamedKey* KeyFor(uint64_t uFile, bool bPublic) const;
  void CheckFile(File& file);
  void CheckBySecret(File& file, const WySealNamedKey& key);
  void CheckBySignature(File& file);
  void CheckBetween(const File& before, const File& file);
  void CheckBeginning();
  void CheckAnchors();
  void Count(File& file, const WySealFileResult& result);
  void Report(const WySealFinding& finding);

  std::function<void(const WySealFinding&)> m_onFinding;
  std::deque<WySealNamedKey> m_keys;  // never moved, so that they can be wiped
  std::vector<std::string> m_paths;
  std::vector<File> m_files;
  WySealAnchors m_anchors;
  WySealSummary m_summary;
  uint64_t m_uFileBefore = 0;
  std::optional<WySealPublicKey> m_publicKey;  // at the end of the file before
  uint64_t m_uRetired = 0;
  uint64_t m_uRenewed = 0;  // the first file of the newest key that the files name
};

CWySealVerifier::CWySealVerifier(std::function<void(const WySealFinding&)> onFinding)
    : m_pRun(std::make_unique<CWySealVerification>(std::move(onFinding))) {}

CWySealVerifier::~CWySealVerifier() = default;

bool CWySealVerifier::AddKey(std::string_view strKey) {
  return WySealInitialise() && m_pRun->AddKey(strKey);
}

bool CWySealVerifier::AddLog(const std::string& strPath) { return m_pRun->AddLog(strPath); }

void CWySealVerifier::AddFile(const std::string& strPath) { m_pRun->AddFile(strPath); }

bool CWySealVerifier::AddAnchor(std::string_view strAnchor) {
  const size_t uColon = strAnchor.find(':');
  if (uColon == std::string_view::npos) return false;
  WySealAnchor anchor;
  const std::string_view strTag = strAnchor.substr(uColon + 1);
  const auto uSeq = WySealParseNumber(strAnchor.substr(0, uColon));
  if (!uSeq || !WySealDecode(strTag, anchor.tag.data(), anchor.tag.size())) return false;
  m_pRun->AddAnchor(*uSeq, anchor);
  return true;
}

void CWySealVerifier::AddState(uint64_t uLastRecord, const std::string& strLastTag) {
  WySealAnchor anchor;
  anchor.bState = true;
  if (uLastRecord == 0 || !WySealDecode(strLastTag, anchor.tag.data(), anchor.tag.size())) return;
  m_pRun->AddAnchor(uLastRecord, anchor);
}

WySealSummary CWySealVerifier::Run() { return m_pRun->Run(); }

// ---- What is verified ---------------------------------------------------------------------------

// All keys are of one log, since files of another log would otherwise count as parts of this one.
bool CWySealVerification::AddKey(std::string_view strKey) {
  CWySealWiped<WySealNamedKey> key;
  if (!WySealParseKey(strKey, *key)) return false;
  if (!m_keys.empty() && m_keys[0].logId != key->logId) return false;
  m_keys.push_back(*key);
  return true;
}

bool CWySealVerification::AddLog(const std::string& strPath) {
  std::vector<std::string> files;
  if (!WySealFindFiles(strPath, files)) return false;
  if (files.empty()) {
    errno = ENOENT;
    return false;
  }
  m_paths.insert(m_paths.end(), files.begin(), files.end());
  return true;
}

// Nothing in a head is proven yet. A forged number puts the file at a wrong place, where its first
// record does not verify. Sorted by path first, so that the findings have the same order in each
// run: readdir has none.
void CWySealVerification::ReadHeads() {
  std::sort(m_paths.begin(), m_paths.end());
  for (const std::string& strPath : m_paths) {
    errno = 0;
    const WySealHead head = WySealReadHead(strPath);
    if (head.uFile == 0 && errno != 0) {
      Report({WySealKind::Unreadable, strPath, 0, 0, 0, strerror(errno)});
    } else if (head.uFile == 0) {
      Report({WySealKind::ForeignFile, strPath, 1, 0, 0, "its first line is no ~begin record"});
    } else if (!m_keys.empty() && head.logId != m_keys[0].logId) {
      Report({WySealKind::ForeignFile, strPath, 1, 0, 0, "it is of another log"});
    } else {
      m_files.push_back({strPath, head});
    }
  }
  std::stable_sort(m_files.begin(), m_files.end(),
                   [](const File& a, const File& b) { return a.head.uFile < b.head.uFile; });
}

// All files come first: which missing files are retired, and how far the log reaches, is known only
// after the newest one.
WySealSummary CWySealVerification::Run() {
  m_summary.isIntact = true;
  if (m_paths.empty()) Report({WySealKind::MissingFile, "", 0, 0, 0, "no file was given"});
  ReadHeads();
  for (File& file : m_files) CheckFile(file);
  CheckBeginning();
  for (size_t u = 1; u < m_files.size(); ++u) CheckBetween(m_files[u - 1], m_files[u]);
  CheckAnchors();
  return m_summary;
}

// The key that was given for this file or the nearest one before it. The nearest one: after a
// renewal, files behind it cannot be derived from an older key.
const WySealNamedKey* CWySealVerification::KeyFor(uint64_t uFile, bool bPublic) const {
  const WySealNamedKey* pBest = nullptr;
  for (const WySealNamedKey& key : m_keys) {
    if (key.bPublic != bPublic || key.uFile > uFile) continue;
    if (pBest == nullptr || key.uFile > pBest->uFile) pBest = &key;
  }
  return pBest;
}

// ---- Files --------------------------------------------------------------------------------------

// The secret key is preferred if both are given: it proves each record, also those that no
// signature covers yet.
void CWySealVerification::CheckFile(File& file) {
  const uint64_t uFile = file.head.uFile;
  const bool bTwice = uFile == m_uFileBefore;
  // A chain of signatures does not reach over a missing file: its last public key is not known.
  if (uFile != m_uFileBefore + 1) m_publicKey.reset();
  m_uFileBefore = uFile;
  if (bTwice) {
    return Report({WySealKind::Twice, file.strPath, 0, uFile, uFile, "the file's number"});
  }
  const WySealNamedKey* const pKey = KeyFor(uFile, false);
  if (pKey != nullptr && pKey->uFile < m_uRenewed) {
    return Report({WySealKind::NoKey, file.strPath, 0, uFile, uFile,
                   "the key was renewed before this file, and the new one was not given"});
  }
  if (pKey != nullptr) return CheckBySecret(file, *pKey);
  if (KeyFor(uFile, true) != nullptr) return CheckBySignature(file);
  Report({WySealKind::NoKey, file.strPath, 0, uFile, uFile,
          "the keys that were given begin with a later file"});
}

void CWySealVerification::CheckBySecret(File& file, const WySealNamedKey& key) {
  constexpr uint64_t MostFiles = 1u << 22;  // a forged number must not keep the verifier busy
  CWySealWiped<WySealKey> fileKey;
  CWySealWiped<WySealStep> step;
  if (file.head.uFile - key.uFile > MostFiles) {
    return Report({WySealKind::ForeignFile, file.strPath, 1, 0, 0, "no log has so many files"});
  }
  *fileKey = key.key;
  for (uint64_t u = key.uFile; u <= file.head.uFile; ++u) {
    WySealStepFileKey(*fileKey, *step);
    *fileKey = step->next;
  }
  CWySealFileCheck check(file.strPath, file.head, step->down, m_anchors,
                         [this](const WySealFinding& finding) { Report(finding); });
  const bool bRead = WySealReadLines(
      file.strPath, [&](std::string_view strLine) { check.Line(strLine); },
      [&](std::string_view strLine, uint64_t uBytes) { check.Overlong(strLine, uBytes); });
  if (!bRead) Report({WySealKind::Unreadable, file.strPath, 0, 0, 0, strerror(errno)});
  Count(file, check.Finish());
}

// The file is read even without a key: its numbers decide what is missing between the files.
void CWySealVerification::CheckBySignature(File& file) {
  const WySealNamedKey* const pKey = KeyFor(file.head.uFile, true);
  if (pKey->uFile == file.head.uFile) m_publicKey = pKey->key;
  if (!m_publicKey) {
    Report({WySealKind::Unproven, file.strPath, 0, file.head.uFirst, file.head.uFirst,
            "the signatures of the files before it are not complete"});
  }
  if (m_publicKey) {
    m_summary.publicKey = WySealKeyText({true, file.head.logId, file.head.uFile, *m_publicKey});
  }
  CWySealSignedCheck check(file.strPath, file.head, m_publicKey, m_anchors,
                           [this](const WySealFinding& finding) { Report(finding); });
  const bool bRead = WySealReadLines(
      file.strPath, [&](std::string_view strLine) { check.Line(strLine); },
      [](std::string_view, uint64_t) {});
  if (!bRead) Report({WySealKind::Unreadable, file.strPath, 0, 0, 0, strerror(errno)});
  Count(file, check.Finish());
}

void CWySealVerification::Count(File& file, const WySealFileResult& result) {
  if (m_summary.files++ == 0) m_summary.firstRecord = file.head.uFirst;
  m_summary.records += result.uRecords;
  m_summary.lastRecord = result.uNext - 1;
  m_summary.signedThrough = std::max(m_summary.signedThrough, result.uSignedThrough);
  m_summary.lastTag = WySealEncode(result.lastTag.data(), result.lastTag.size());
  m_uRetired = std::max(m_uRetired, result.uRetired);
  if (result.bRenewed) m_uRenewed = file.head.uFile + 1;
  file.result = result;
}

// What lies between two files that follow each other in the list. Compares counts and the tag in
// the next file's head, which that file's own key has proven. A tag of a last record that is not
// proven is not compared: its own finding says enough.
void CWySealVerification::CheckBetween(const File& before, const File& file) {
  const uint64_t uBefore = before.head.uFile, uFile = file.head.uFile;
  const uint64_t uNext = before.result.uNext, uFirst = file.head.uFirst;
  if (uNext == 0 || uFile == uBefore) return;
  if (uFile > uBefore + 1 && uFile - 1 <= m_uRetired) {
    return Report({WySealKind::Retired, before.strPath, 0, uBefore + 1, uFile - 1,
                   "files deleted by the retention"});
  }
  if (uFile > uBefore + 1) {
    Report({WySealKind::MissingFile, before.strPath, 0, uBefore + 1, uFile - 1,
            "between this file and " + file.strPath});
  }
  if (uFirst > uNext) {
    Report({WySealKind::Missing, before.strPath, 0, uNext, uFirst - 1,
            "records are not in the files"});
  } else if (uFirst < uNext ||
             (before.result.bLastProven && before.result.lastTag != file.head.previous)) {
    Report({WySealKind::Differs, file.strPath, 1, uFirst, uFirst,
            "it does not continue the file before it"});
  }
}

// Files before the first one: retired by a sealed record, or missing. Without the first file
// nothing is known of those before it but what ~retire records say; so a log that was cut at its
// beginning is found even if each remaining file is intact.
void CWySealVerification::CheckBeginning() {
  if (m_files.empty() || m_files[0].head.uFile == 1) return;
  const uint64_t uLast = m_files[0].head.uFile - 1;
  const uint64_t uRetired = std::min(m_uRetired, uLast);
  const std::string& strPath = m_files[0].strPath;
  if (uRetired > 0) {
    Report({WySealKind::Retired, strPath, 0, 1, uRetired, "files deleted by the retention"});
  }
  if (uRetired < uLast) {
    Report({WySealKind::MissingFile, strPath, 0, uRetired + 1, uLast, "before this file"});
  }
}

// An anchor that lies behind the end is what reveals a log that was cut: nothing inside the files
// can. One before the first file is harmless only if a proven record has retired files.
void CWySealVerification::CheckAnchors() {
  const std::string strPath = m_files.empty() ? "" : m_files.back().strPath;
  for (const auto& [uSeq, anchor] : m_anchors) {
    const std::string strWhich = anchor.bState ? "the state" : "the anchor";
    if (anchor.bMet) continue;
    // No key was given for the last file, which was reported.
    if (uSeq > m_summary.lastRecord && !m_files.empty() && m_files.back().result.uNext == 0) {
      continue;
    }
    if (uSeq > m_summary.lastRecord) {
      Report({WySealKind::EndMissing, strPath, 0, m_summary.lastRecord + 1, uSeq,
              strWhich + " is of a later record"});
    } else if (uSeq < m_summary.firstRecord && m_uRetired > 0) {
      Report({WySealKind::Retired, strPath, 0, uSeq, uSeq,
              "the record of " + strWhich + " was in a file that is retired"});
    } else {
      Report({WySealKind::Differs, strPath, 0, uSeq, uSeq,
              "the record is not the one of " + strWhich});
    }
  }
}

void CWySealVerification::Report(const WySealFinding& finding) {
  if (!WySealIsHarmless(finding.kind)) m_summary.isIntact = false;
  m_onFinding(finding);
}
