// Saved keys at even distances make every record's key cheap to reach.

#include "extras/seal/internal/WySealKeyTrack.h"

CWySealKeyTrack::CWySealKeyTrack(const WySealKey& first, uint64_t uFirst)
    : m_uFirst(uFirst), m_uNext(uFirst) {
  *m_next = first;
  m_saved.push_back(first);
}

// m_saved may have left keys in freed blocks when it grew: this is the verifier's own process,
// which holds the verification key anyway.
CWySealKeyTrack::~CWySealKeyTrack() {
  sodium_memzero(m_saved.data(), m_saved.size() * sizeof(WySealKey));
}

// The key of record m_uNext: its step is in the scratch afterwards.
void CWySealKeyTrack::Step() {
  WySealStepRecordKey(*m_next, m_scratch->step);
  *m_next = m_scratch->step.next;
  ++m_uNext;
  if ((m_uNext - m_uFirst) / Spacing == m_saved.size()) m_saved.push_back(*m_next);
}

void CWySealKeyTrack::MoveTo(uint64_t uSeq) {
  const auto uIndex = static_cast<size_t>((uSeq - m_uFirst) / Spacing);
  // A jump forward beyond the last saved key still walks every step, and saves keys on the way; a
  // jump back starts at the nearest saved one. Forged numbers therefore cost at most MaxRecords
  // steps once, not at each line.
  const bool bNear = m_uNext <= uSeq && uSeq - m_uNext < Spacing;
  if (!bNear) {
    const size_t uSaved = std::min(uIndex, m_saved.size() - 1);
    *m_next = m_saved[uSaved];
    m_uNext = m_uFirst + uSaved * Spacing;
  }
  while (m_uNext < uSeq) Step();
}

void CWySealKeyTrack::Tag(const WySealLogId& logId, const WySealTag& previous, uint64_t uSeq,
                          std::string_view strText, WySealTag& tag) {
  if (m_uNext != uSeq) MoveTo(uSeq);
  Step();
  WySealComputeTag(*m_scratch, logId, previous, uSeq, strText, tag);
}
