// The verification of one file's lines; see the header for how a line is judged.

#include "extras/seal/internal/WySealFileCheck.h"

#include <algorithm>
#include <cstring>

namespace {

// Compares texts, not decoded tags: only the one spelling that the writer uses is accepted.
bool IsOf(const WySealTag& tag, std::string_view strTag) {
  char szTag[WySealTagChars + 1];
  WySealEncodeTag(tag, szTag);
  return strTag == std::string_view(szTag, WySealTagChars);
}

const unsigned char* Bytes(std::string_view strText) {
  return reinterpret_cast<const unsigned char*>(strText.data());
}

}  // namespace

CWySealFileCheck::CWySealFileCheck(std::string strPath, const WySealHead& head,
                                   const WySealKey& firstKey, WySealAnchors& anchors,
                                   WySealReport report)
    : m_strPath(std::move(strPath)),
      m_logId(head.logId),
      m_keys(firstKey, head.uFirst),
      m_anchors(anchors),
      m_report(std::move(report)),
      m_uNext(head.uFirst),
      m_uFirst(head.uFirst),
      m_previous(head.previous) {}

// ---- Lines --------------------------------------------------------------------------------------

// An intact log takes only the first return of each line: one derivation and one tag. All that
// follows is for logs that were damaged.
void CWySealFileCheck::Line(std::string_view strLine) {
  WySealLine line;
  ++m_uLine;
  if (!WySealParseLine(strLine, line)) return Foreign(strLine);
  if (line.uSeq == m_uNext && Proves(line, m_previous)) {
    return Accept(line, m_tags[0].tag);
  }
  Odd(line);
}

void CWySealFileCheck::Overlong(std::string_view strBeginning, uint64_t uBytes) {
  ++m_uLine;
  Foreign(strBeginning);
  m_uForeignBytes += uBytes - strBeginning.size();  // so that no ~torn record covers it
}

// On success the tag is left in m_tags[0], which no record uses.
bool CWySealFileCheck::Proves(const WySealLine& line, const WySealTag& previous) {
  m_keys.Tag(m_logId, previous, line.uSeq, line.strText, m_tags[0].tag);
  return IsOf(m_tags[0].tag, line.strTag);
}

// Numbers out of any reasonable range are refused first: each would otherwise derive keys for
// minutes, or report billions of missing records, at the will of whoever wrote the line.
void CWySealFileCheck::Odd(const WySealLine& line) {
  if (line.uSeq < m_uFirst || line.uSeq - m_uFirst > CWySealKeyTrack::MaxRecords ||
      (line.uSeq > m_uNext && line.uSeq - m_uNext > MaxJump)) {
    return ReportForeign(m_uLine, m_uLine, "a number that no record of this file can have");
  }
  if (line.uSeq < m_uNext) return Late(line);
  if (line.uSeq > m_uNext && WySealIsKind(line.strText, "~gap")) {
    // A ~gap record proves itself by the tag that it contains, since its predecessor is gone. That
    // is safe: without the key of its number no one can write such a record.
    const auto previous = WySealTagField(line.strText, "prev");
    if (previous && Proves(line, *previous)) {
      const WySealTag tag = m_tags[0].tag;
      JudgeThrough(line.uSeq - 1);
      return Accept(line, tag);
    }
  }
  if (ProvesByWaiting(line)) {
    const WySealTag tag = m_tags[0].tag;
    JudgeThrough(line.uSeq - 1);
    return Accept(line, tag);
  }
  Wait(line);
}

// Whether the record is chained to a line that waits: to its tag on disk, or to the one that it
// should have. A record chained to the tag on disk shows that a record with that tag was there, so
// its text was changed; one chained to the computed tag shows that the text is right and the tag
// was changed.
bool CWySealFileCheck::ProvesByWaiting(const WySealLine& line) {
  for (Waiting& waiting : m_waiting) {
    if (waiting.uSeq + 1 != line.uSeq) continue;
    if (Proves(line, waiting.tag)) return true;
    if (waiting.computed && Proves(line, *waiting.computed)) {
      waiting.tag = *waiting.computed;
      return true;
    }
  }
  return false;
}

// A number that was passed already. It is the record itself only if its number is still missing:
// the same record at two places is reported as twice, and a third line with the number can only be
// foreign.
void CWySealFileCheck::Late(const WySealLine& line) {
  const Tagged* const pPrevious = Find(line.uSeq - 1);
  const bool bProven = pPrevious != nullptr && Proves(line, pPrevious->tag);
  const WySealTag tag = m_tags[0].tag;
  if (bProven && TakeMissing(line.uSeq, line.uSeq)) {
    SettleForeign({});
    Report(WySealKind::OutOfOrder, m_uLine, line.uSeq, line.uSeq, "behind its place");
    Remember(line.uSeq, tag, true);
    ++m_result.uRecords;
    CheckAnchors(line.uSeq, tag);
    return AcceptWaiting(line.uSeq + 1);
  }
  const Tagged* const pKnown = Find(line.uSeq);
  if (bProven && pKnown != nullptr && pKnown->tag == tag) {
    return Report(WySealKind::Twice, m_uLine, line.uSeq, line.uSeq, "the record again");
  }
  ReportForeign(m_uLine, m_uLine, "it has the number of another record");
}

// `tag` may refer to m_tags[0], which Proves overwrites, hence the copy.
void CWySealFileCheck::Accept(const WySealLine& line, const WySealTag& tag) {
  const WySealTag copy = tag;
  if (m_uForeignCount > 0) SettleForeign(line.strText);
  m_uNext = line.uSeq + 1;
  m_previous = copy;
  Remember(line.uSeq, copy, true);
  ++m_result.uRecords;
  m_result.bLastProven = true;
  if (!m_anchors.empty()) CheckAnchors(line.uSeq, copy);
  if (!line.strText.empty() && line.strText[0] == '~') AcceptOwn(line.strText, line.uSeq);
  if (!m_waiting.empty()) AcceptWaiting(m_uNext);
}

// Called for proven records alone: an attacker's ~retire or ~gap must not excuse what is missing.
void CWySealFileCheck::AcceptOwn(std::string_view strText, uint64_t uSeq) {
  if (WySealIsKind(strText, "~retire")) {
    m_result.uRetired = WySealNumber(strText, "through").value_or(0);
  }
  if (WySealIsKind(strText, "~end")) m_result.bRenewed = WySealNumber(strText, "renewed") == 1;
  if (!WySealIsKind(strText, "~gap")) return;
  const std::string_view strRange = strText.substr(5, strText.find(' ', 5) - 5);
  const size_t uDots = strRange.find("..");
  if (uDots == std::string_view::npos) return;
  const uint64_t uFirst = WySealParseNumber(strRange.substr(0, uDots)).value_or(uSeq - 1);
  const uint64_t uLast = WySealParseNumber(strRange.substr(uDots + 2)).value_or(uSeq - 1);
  TakeMissing(uFirst, uLast);
  Report(WySealKind::Gap, m_uLine, uFirst, uLast,
         "lost with power, or deleted: the two cannot be distinguished");
}

// ---- Lines that wait ----------------------------------------------------------------------------

void CWySealFileCheck::Wait(const WySealLine& line) {
  Waiting waiting{m_uLine, line.uSeq, std::string(line.strText), {}, {}, false};
  if (!WySealDecode(line.strTag, waiting.tag.data(), waiting.tag.size())) {
    waiting.tag = {};
  }
  if (line.uSeq == m_uNext) {
    Proves(line, m_previous);
    waiting.computed = m_tags[0].tag;
  }
  m_uWaitingBytes += waiting.strText.size();
  m_waiting.push_back(std::move(waiting));
  // A file of foreign lines must not fill the memory. If too many lines wait, all of them are
  // judged early: a record that comes later still is then reported as foreign instead of late.
  if (m_waiting.size() < MaxWaiting && m_uWaitingBytes < MaxWaitingBytes) return;
  uint64_t uHighest = 0;
  for (const Waiting& each : m_waiting) uHighest = std::max(uHighest, each.uSeq);
  JudgeThrough(uHighest);
}

// The record of that number, if it came early and can be proven now.
void CWySealFileCheck::AcceptWaiting(uint64_t uSeq) {
  const Tagged* const pPrevious = Find(uSeq - 1);
  if (pPrevious == nullptr) return;
  const WySealTag previous = pPrevious->tag;
  // Accept below calls this function for the next number. Erasing before it, and returning at once,
  // keeps the iterator from being used again.
  for (auto waiting = m_waiting.begin(); waiting != m_waiting.end(); ++waiting) {
    if (waiting->uSeq != uSeq) continue;
    const std::string strTag = WySealEncode(waiting->tag.data(), waiting->tag.size());
    const WySealLine line{waiting->strText, strTag, uSeq};
    if (!Proves(line, previous)) continue;
    const WySealTag tag = m_tags[0].tag;
    const Waiting proven = std::move(*waiting);
    m_waiting.erase(waiting);
    if (proven.bUnproven) {  // it stands in its place: those before it are the late ones
      ++m_result.uRecords;
      Remember(uSeq, tag, true);
      if (uSeq + 1 == m_uNext) m_result.bLastProven = true;
      return CheckAnchors(uSeq, tag);
    }
    Report(WySealKind::OutOfOrder, proven.uLine, uSeq, uSeq, "before its place");
    return Accept({proven.strText, strTag, uSeq}, tag);
  }
}

// All numbers up to this one are passed now: lines that wait for one of them are judged, numbers
// that have none are missing. Stable, so that of two lines with one number the earlier one is the
// record and the other foreign.
void CWySealFileCheck::JudgeThrough(uint64_t uSeq) {
  std::stable_sort(m_waiting.begin(), m_waiting.end(),
                   [](const Waiting& a, const Waiting& b) { return a.uSeq < b.uSeq; });
  uint64_t uExpected = m_uNext;
  for (Waiting& waiting : m_waiting) {
    if (waiting.bUnproven || waiting.uSeq > uSeq) continue;
    if (waiting.uSeq > uExpected) m_missing.push_back({uExpected, waiting.uSeq - 1});
    Judge(waiting, waiting.uSeq >= uExpected);
    uExpected = std::max(uExpected, waiting.uSeq + 1);
  }
  std::erase_if(m_waiting,
                [&](const Waiting& waiting) { return waiting.uSeq <= uSeq && !waiting.bUnproven; });
  if (uExpected <= uSeq) m_missing.push_back({uExpected, uSeq});
  m_uNext = std::max(m_uNext, uSeq + 1);
  m_uWaitingBytes = 0;
  for (const Waiting& waiting : m_waiting) m_uWaitingBytes += waiting.strText.size();
}

// `bFirst`: no line of this number was judged before.
void CWySealFileCheck::Judge(Waiting& waiting, bool bFirst) {
  if (!bFirst) {
    return ReportForeign(waiting.uLine, waiting.uLine, "it has the number of another record");
  }
  const Tagged* const pPrevious = Find(waiting.uSeq - 1);
  const bool bAfterProven =
      waiting.uSeq == m_uFirst || (pPrevious != nullptr && pPrevious->bProven);
  // The chain goes on from the tag on disk: the tag of a record is not secret, and the following
  // records were authenticated with it, so that one changed record does not make all later ones
  // unproven.
  Remember(waiting.uSeq, waiting.tag, false);
  m_previous = waiting.tag;
  m_result.bLastProven = false;
  if (!bAfterProven && WySealIsText(waiting.strText)) {
    waiting.bUnproven = true;  // reported at the end, unless what is missing comes late
    return;
  }
  Report(WySealKind::Changed, waiting.uLine, waiting.uSeq, waiting.uSeq,
         "its tag does not match its text");
}

// ---- Lines that are no records ------------------------------------------------------------------

// Digested and not stored, since foreign lines may be of any length and number.
void CWySealFileCheck::Foreign(std::string_view strLine) {
  if (m_uForeignCount++ == 0) {
    m_uForeignLine = m_uLine;
    m_uForeignBytes = 0;
    crypto_generichash_init(&m_foreign, nullptr, 0, sizeof(WySealTag));
  } else {
    crypto_generichash_update(&m_foreign, Bytes("\n"), 1);
    ++m_uForeignBytes;
  }
  crypto_generichash_update(&m_foreign, Bytes(strLine), strLine.size());
  m_uForeignBytes += strLine.size();
}

// `strText`: the record that follows. A torn write is excused only if a proven record states
// exactly these bytes. An attacker cannot use it: the ~torn record was sealed after the bytes were
// in the file.
void CWySealFileCheck::SettleForeign(std::string_view strText) {
  if (m_uForeignCount == 0) return;
  WySealTag digest;
  crypto_generichash_final(&m_foreign, digest.data(), digest.size());
  const uint64_t uLast = m_uForeignLine + m_uForeignCount - 1;
  m_uForeignCount = 0;
  const bool bTorn = (WySealIsKind(strText, "~torn") || WySealIsKind(strText, "~gap")) &&
                     WySealNumber(strText, "bytes") == m_uForeignBytes &&
                     WySealTagField(strText, "hash") == digest;
  if (!bTorn) {
    return ReportForeign(m_uForeignLine, uLast, "no record of this log");
  }
  Report(WySealKind::Torn, m_uForeignLine, 0, 0, "the rest of an interrupted write");
}

void CWySealFileCheck::ReportForeign(uint64_t uLine, uint64_t uLast, std::string strExplanation) {
  if (uLast > uLine) strExplanation += ", up to line " + std::to_string(uLast);
  Report(WySealKind::Foreign, uLine, 0, 0, std::move(strExplanation));
}

// ---- The end, and small things ------------------------------------------------------------------

// Missing and unproven records are reported only here, since until the last line they may come
// late.
WySealFileResult CWySealFileCheck::Finish() {
  uint64_t uHighest = m_uNext - 1;
  for (const Waiting& waiting : m_waiting) uHighest = std::max(uHighest, waiting.uSeq);
  JudgeThrough(uHighest);
  SettleForeign({});
  for (const Waiting& waiting : m_waiting) {
    Report(WySealKind::Unproven, waiting.uLine, waiting.uSeq, waiting.uSeq,
           "the record before it is missing or changed");
  }
  for (const Interval& missing : m_missing) {
    Report(WySealKind::Missing, 0, missing.uFirst, missing.uLast, "records are not in the file");
  }
  m_result.uNext = m_uNext;
  m_result.lastTag = m_previous;
  return m_result;
}

// A ring by number: a record that is further back than Remembered is unknown again, and is then
// reported as foreign. That is the price of bounded memory; the log is not intact in either case.
const CWySealFileCheck::Tagged* CWySealFileCheck::Find(uint64_t uSeq) const {
  const Tagged& tagged = m_tags[1 + uSeq % (Remembered - 1)];
  return tagged.uSeq == uSeq ? &tagged : nullptr;
}

void CWySealFileCheck::Remember(uint64_t uSeq, const WySealTag& tag, bool bProven) {
  m_tags[1 + uSeq % (Remembered - 1)] = {uSeq, tag, bProven};
}

// Removes the numbers from the missing ones; false if none of them was.
bool CWySealFileCheck::TakeMissing(uint64_t uFirst, uint64_t uLast) {
  std::vector<Interval> left;
  bool bTaken = false;
  for (const Interval& each : m_missing) {
    if (each.uLast < uFirst || each.uFirst > uLast) {
      left.push_back(each);
      continue;
    }
    bTaken = true;
    if (each.uFirst < uFirst) left.push_back({each.uFirst, uFirst - 1});
    if (each.uLast > uLast) left.push_back({uLast + 1, each.uLast});
  }
  m_missing = std::move(left);
  return bTaken;
}

// Assigned and not or-ed: the last proven record of the number decides.
void CWySealFileCheck::CheckAnchors(uint64_t uSeq, const WySealTag& tag) {
  const auto [first, last] = m_anchors.equal_range(uSeq);
  for (auto anchor = first; anchor != last; ++anchor) {
    anchor->second.bMet = anchor->second.tag == tag;
  }
}

void CWySealFileCheck::Report(WySealKind kind, uint64_t uLine, uint64_t uFirst, uint64_t uLast,
                              std::string strExplanation) {
  m_report({kind, m_strPath, uLine, uFirst, uLast, std::move(strExplanation)});
}
