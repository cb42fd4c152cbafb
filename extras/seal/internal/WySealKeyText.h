#ifndef WYERRLOG_SEAL_WYSEALKEYTEXT_H
#define WYERRLOG_SEAL_WYSEALKEYTEXT_H

// Private: the texts of keys that people keep: a prefix that says which kind it is, and base64url
// of log id, number of the first file (little-endian) and key.

#include <string>
#include <string_view>

#include "extras/seal/internal/WySealCrypto.h"

struct WySealNamedKey {
  bool bPublic = false;
  WySealLogId logId{};
  uint64_t uFile = 0;  // the first file that it verifies
  WySealKey key{};     // F_file, or the Ed25519 public key
};

std::string WySealKeyText(const WySealNamedKey& key);
// Returns false if the text is no key. The key is not returned by value, which would leave a copy
// on the stack.
bool WySealParseKey(std::string_view strText, WySealNamedKey& key);

#endif
