#ifndef WYERRLOG_SEAL_WYSEALSIGNEDCHECK_H
#define WYERRLOG_SEAL_WYSEALSIGNEDCHECK_H

// Private: verifies the signatures of one file, without a secret. What stands behind the last
// signature is not proven yet.

#include <optional>
#include <string>

#include "extras/seal/internal/WySealFileCheck.h"
#include "extras/seal/internal/WySealSignature.h"

class CWySealSignedCheck {
 public:
  // `key`: the public key at the file's beginning; afterwards the one at its end, or none if the
  // chain of signatures is broken.
  CWySealSignedCheck(std::string strPath, const WySealHead& head,
                     std::optional<WySealPublicKey>& key, WySealAnchors& anchors,
                     WySealReport report);

  void Line(std::string_view strLine);
  WySealFileResult Finish();

 private:
  void CheckSignature(const WySealLine& line);
  void CheckAnchors(const WySealLine& line);

  const std::string m_strPath;
  const WySealLogId m_logId;
  std::optional<WySealPublicKey>& m_key;
  WySealAnchors& m_anchors;
  const WySealReport m_report;
  WySealKey m_digest{};
  uint64_t m_uLine = 0;
  uint64_t m_uSinceSignature = 0;  // records
  uint64_t m_uUnsignedFrom;
  uint64_t m_uPendingRetired = 0;
  WySealFileResult m_result;
};

#endif
