#ifndef WYERRLOG_SEAL_WYSEALFILECHECK_H
#define WYERRLOG_SEAL_WYSEALFILECHECK_H

// Private: verifies the lines of one file.
//
// A record is proven by its own key and the tag of the record before it. A line that is not proven
// at once waits: it is judged when a later record is chained to its tag (it was there, and its text
// was changed), when the record of its number comes (it was foreign, or early), or at the end.

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "extras/seal/internal/WySealKeyTrack.h"
#include "extras/seal/internal/WySealLogFiles.h"
#include "wyerrlog_seal/WySealVerifier.h"

// Records that must be there, and whether they are.
struct WySealAnchor {
  WySealTag tag{};
  bool bState = false;
  bool bMet = false;
};
using WySealAnchors = std::multimap<uint64_t, WySealAnchor>;

using WySealReport = std::function<void(WySealFinding)>;

struct WySealFileResult {
  uint64_t uRecords = 0;  // proven
  uint64_t uNext = 0;     // one more than the last number
  WySealTag lastTag{};
  // False: lastTag is that of a record whose text is not proven, so that the next file's `prev`
  // says nothing about it.
  bool bLastProven = false;
  uint64_t uRetired = 0;  // files up to this number are retired by a record of this file
  uint64_t uSignedThrough = 0;
  bool bRenewed = false;  // its last record says that the next file has another key
};

class CWySealFileCheck {
 public:
  CWySealFileCheck(std::string strPath, const WySealHead& head, const WySealKey& firstKey,
                   WySealAnchors& anchors, WySealReport report);

  // The next line, without its newline.
  void Line(std::string_view strLine);
  // A line that is longer than any record.
  void Overlong(std::string_view strBeginning, uint64_t uBytes);
  WySealFileResult Finish();

 private:
  // A line that is parsed and not judged.
  struct Waiting {
    uint64_t uLine;
    uint64_t uSeq;
    std::string strText;
    WySealTag tag;                      // on disk
    std::optional<WySealTag> computed;  // for the text, if the record before it is known
    bool bUnproven = false;             // judged to be the record, its text not proven
  };
  struct Interval {
    uint64_t uFirst, uLast;
  };
  struct Tagged {
    uint64_t uSeq = 0;
    WySealTag tag;  // on disk
    bool bProven = false;
  };

  void Odd(const WySealLine& line);
  void Late(const WySealLine& line);
  bool Proves(const WySealLine& line, const WySealTag& previous);
  bool ProvesByWaiting(const WySealLine& line);
  void Accept(const WySealLine& line, const WySealTag& tag);
  void AcceptOwn(std::string_view strText, uint64_t uSeq);
  void AcceptWaiting(uint64_t uSeq);
  void Wait(const WySealLine& line);
  void JudgeThrough(uint64_t uSeq);
  void Judge(Waiting& waiting, bool bFirst);
  void Foreign(std::string_view strLine);
  void SettleForeign(std::string_view strText);
  void ReportForeign(uint64_t uLine, uint64_t uLast, std::string strExplanation);
  void CheckAnchors(uint64_t uSeq, const WySealTag& tag);
  const Tagged* Find(uint64_t uSeq) const;
  void Remember(uint64_t uSeq, const WySealTag& tag, bool bProven);
  bool TakeMissing(uint64_t uFirst, uint64_t uLast);
  void Report(WySealKind kind, uint64_t uLine, uint64_t uFirst, uint64_t uLast,
              std::string strExplanation);

  // The last tags, to recognise what comes twice or late.
  static constexpr size_t Remembered = 1u << 16;
  // Limits against a file that an attacker has filled: memory for lines that wait, and the distance
  // that a number may be ahead, which decides how many keys are derived for one line.
  static constexpr size_t MaxWaiting = 1u << 14, MaxWaitingBytes = 16u << 20;
  static constexpr uint64_t MaxJump = 1u << 24;

  const std::string m_strPath;
  const WySealLogId m_logId;
  CWySealKeyTrack m_keys;
  WySealAnchors& m_anchors;
  const WySealReport m_report;
  uint64_t m_uLine = 0;
  uint64_t m_uNext;  // the number of the record that should come
  const uint64_t m_uFirst;
  WySealTag m_previous;  // the tag of the record before it
  std::vector<Tagged> m_tags = std::vector<Tagged>(Remembered);
  std::deque<Waiting> m_waiting;
  size_t m_uWaitingBytes = 0;
  std::vector<Interval> m_missing;
  WySealFileResult m_result;

  // Lines that are no records, since the last one that is; perhaps what a ~torn record speaks of.
  uint64_t m_uForeignLine = 0, m_uForeignCount = 0, m_uForeignBytes = 0;
  crypto_generichash_state m_foreign;
};

#endif
