#ifndef WYERRLOG_SEAL_WYSEALVERIFIER_H
#define WYERRLOG_SEAL_WYSEALVERIFIER_H

// Verifies a sealed log and names every change. It only reads, in one pass, and keeps a bounded
// part of each file in memory (some 20 MB at most). A log in use can be verified: take the state
// first.
//
//   CWySealVerifier verifier([](const WySealFinding& finding) { Print(finding); });
//   if (!verifier.AddKey(strKey) || !verifier.AddLog("/var/log/agent/audit.log")) return Fail();
//   const WySealSummary summary = verifier.Run();
//   if (!summary.isIntact) Alarm();
//
// Verify on another machine, with copies of the files: an attacker who owns this one also owns the
// program that verifies. What can be concluded, and what not, is in docs/sealed_audit.md.

#include <wyerrlog/WyErrLogPort.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

// What can be found. Torn and Retired are harmless: a sealed record says how they came about.
enum class WySealKind {
  Changed,      // the record is not as it was written
  Unproven,     // its predecessor is gone or changed, so that only its tag is proven
  Missing,      // records
  Twice,        // a record, or a file
  OutOfOrder,   // a record stands before or behind its place
  Foreign,      // a line that is no record of this log
  Torn,         // the rest of an interrupted write
  Gap,          // records that a loss of power, or someone, has removed
  Retired,      // files that the retention has deleted
  EndMissing,   // the log ends before the record that the state or an anchor speaks of
  MissingFile,  // a file of the log
  ForeignFile,  // a file without a first record of this log
  NoKey,        // no key was given for the file
  Differs,      // the record that the state or an anchor speaks of is another one
  Unreadable    // the system does not let the file be read
};

// The names are part of the interface and do not change; the text is static.
WYERRLOG_API const char* WySealKindName(WySealKind kind);  // "changed", "out-of-order", ...
WYERRLOG_API bool WySealIsHarmless(WySealKind kind);       // Torn and Retired

// One finding. Numbers that do not apply are 0. Valid, with its strings, for the duration of the
// call that passes it. The explanation's wording may change: programs decide by `kind`.
struct WySealFinding {
  WySealKind kind{};        // what it is
  std::string file;         // path
  uint64_t line = 0;        // from 1
  uint64_t first = 0;       // number of the first record, or file, that it concerns
  uint64_t last = 0;        // and of the last
  std::string explanation;  // a clause for people
};

// What was verified. isIntact says nothing of records behind `lastRecord`: only a state or an
// anchor shows that the end was cut off. If no file was added, the log is not intact: the finding
// is MissingFile, without a path.
struct WySealSummary {
  bool isIntact = false;     // there is no finding but harmless ones
  uint64_t files = 0;        // verified
  uint64_t records = 0;      // proven
  uint64_t firstRecord = 0;  // number of the first record in the files
  uint64_t lastRecord = 0;   // and of the last
  std::string lastTag;       // of the last: "lastRecord:lastTag" is an anchor
  // With a public key: the last record that a signature covers, and the public key of the last
  // file, which verifies the log when the files before it are retired.
  uint64_t signedThrough = 0;
  std::string publicKey;
};

// Add keys, files and anchors, then call Run once. For one thread. No function writes to a file or
// leaves keys behind: they are wiped by the destructor. Throws std::bad_alloc if memory allocation
// fails.
class WYERRLOG_API CWySealVerifier {
 public:
  // The function is called for each finding, by Run. It may not call this object; what it throws
  // leaves Run.
  explicit CWySealVerifier(std::function<void(const WySealFinding&)> onFinding);
  ~CWySealVerifier();
  CWySealVerifier(const CWySealVerifier&) = delete;
  CWySealVerifier& operator=(const CWySealVerifier&) = delete;

  // A verification key, or a public key: with public keys alone, only what a signature covers is
  // proven. Each renewed key is added as well. Returns false if the text is no key, or one of
  // another log than those before. A text has the form that `wylogctl seal create` prints
  // ("wyseal-key-1-..." or "wyseal-public-1-..."), without blanks or a newline around it.
  bool AddKey(std::string_view strKey);
  // A log file and its backups. Returns false, with errno set, if there are none. Backups are found
  // by their names in the log's directory, and put in order by their contents. ENOENT: there is no
  // such file; else errno of opendir(3).
  bool AddLog(const std::string& strPath);
  // One file. It need not exist yet: Run reports a file that it cannot read as Unreadable.
  void AddFile(const std::string& strPath);
  // "SEQ:TAG" of a record that must be there. Returns false if the text is not such a pair. Several
  // can be added. Anchors kept on another machine are the only evidence against a log and a state
  // that were put back together.
  bool AddAnchor(std::string_view strAnchor);
  // Where the state stands: read it before the log, so that a log in use is not found behind it.
  // Both values are those of WySealStatus (`nextRecord` - 1, `lastTag`). Ignored for a log without
  // records.
  void AddState(uint64_t uLastRecord, const std::string& strLastTag);

  // Verifies. Findings come in the order of the files. Takes about a microsecond for each record.
  WySealSummary Run();

 private:
  std::unique_ptr<class CWySealVerification> m_pRun;
};

#endif
