// Signatures cover all records of the file before them, so one changed record makes the next
// signature fail; which record it is only the secret key shows.

#include "extras/seal/internal/WySealSignedCheck.h"

CWySealSignedCheck::CWySealSignedCheck(std::string strPath, const WySealHead& head,
                                       std::optional<WySealPublicKey>& key, WySealAnchors& anchors,
                                       WySealReport report)
    : m_strPath(std::move(strPath)),
      m_logId(head.logId),
      m_key(key),
      m_anchors(anchors),
      m_report(std::move(report)),
      m_uUnsignedFrom(head.uFirst) {
  m_result.uNext = head.uFirst;
  m_result.lastTag = head.previous;
}

// Numbers and tags are taken as they are: only the digest counts, which the next signature proves
// or refutes for all lines before it at once. A line without a trailer is ignored, since the
// writer's digest has none either; foreign lines are therefore found with the secret key alone.
void CWySealSignedCheck::Line(std::string_view strLine) {
  WySealLine line;
  ++m_uLine;
  if (!WySealParseLine(strLine, line)) return;  // no record: a signature does not cover it
  if (WySealIsKind(line.strText, "~retire")) {
    m_uPendingRetired = WySealNumber(line.strText, "through").value_or(0);
  }
  const bool bOwn = line.strText.starts_with("~");
  // Checked before the line enters the digest, in the writer's order: the signature is of the lines
  // before it and of the text that contains it.
  if (bOwn && !WySealField(line.strText, "sig").empty()) CheckSignature(line);
  m_digest = WySealNextDigest(m_digest, line.strText, strLine.substr(line.strText.size()));
  ++m_uSinceSignature;
  m_result.uNext = line.uSeq + 1;
  const auto tag = WySealTagField(" t=" + std::string(line.strTag), "t");
  if (tag) m_result.lastTag = *tag;
  if (!m_anchors.empty()) CheckAnchors(line);
}

void CWySealSignedCheck::CheckSignature(const WySealLine& line) {
  // After a signature that fails, the next public key is unknown: whatever follows could be signed
  // by an attacker's own key, so nothing more of the log is proven.
  const auto next =
      m_key ? WySealCheckSignature(m_logId, m_digest, *m_key, line.strText) : std::nullopt;
  if (next) {
    m_result.uRecords += m_uSinceSignature;
    m_result.uSignedThrough = line.uSeq - 1;
    // Only here: a ~retire record that no signature covers may be forged, and must not excuse
    // missing files.
    m_result.uRetired = m_uPendingRetired;
    m_result.bLastProven = true;
  } else if (m_key) {
    m_report({WySealKind::Changed, m_strPath, m_uLine, m_uUnsignedFrom, line.uSeq,
              "the signature does not match: a record between was changed, deleted or inserted"});
  }
  m_key = next;
  m_uUnsignedFrom = line.uSeq;
  m_uSinceSignature = 0;
}

// An anchor behind the last signature is met by its tag alone. That proves nothing about the text;
// signedThrough in the summary says how far proof goes.
void CWySealSignedCheck::CheckAnchors(const WySealLine& line) {
  const auto [first, last] = m_anchors.equal_range(line.uSeq);
  for (auto anchor = first; anchor != last; ++anchor) {
    anchor->second.bMet = anchor->second.tag == m_result.lastTag;
  }
}

WySealFileResult CWySealSignedCheck::Finish() { return m_result; }
