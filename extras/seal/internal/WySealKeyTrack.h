#ifndef WYERRLOG_SEAL_WYSEALKEYTRACK_H
#define WYERRLOG_SEAL_WYSEALKEYTRACK_H

// Private: the record keys of one file, for a verifier that mostly goes forward.

#include <memory>
#include <vector>

#include "extras/seal/internal/WySealCrypto.h"

// Derives the key of any record from the file's first one. The next one costs one derivation; any
// other one at most so many as lie between two saved keys.
class CWySealKeyTrack {
 public:
  // How far beyond the first record a number may lie: a forged one must not keep a verifier busy.
  static constexpr uint64_t MaxRecords = uint64_t{1} << 32;

  CWySealKeyTrack(const WySealKey& first, uint64_t uFirst);
  ~CWySealKeyTrack();
  CWySealKeyTrack(const CWySealKeyTrack&) = delete;
  CWySealKeyTrack& operator=(const CWySealKeyTrack&) = delete;

  // Computes the tag of a record. Requires: uSeq is not below the first number.
  void Tag(const WySealLogId& logId, const WySealTag& previous, uint64_t uSeq,
           std::string_view strText, WySealTag& tag);

 private:
  static constexpr uint64_t Spacing = 1024;

  void MoveTo(uint64_t uSeq);
  void Step();

  const uint64_t m_uFirst;
  uint64_t m_uNext;
  CWySealWiped<WySealKey> m_next;
  CWySealWiped<WySealScratch> m_scratch;
  std::vector<WySealKey> m_saved;  // of every record at a multiple of Spacing from the first
};

#endif
