// Keys as texts and back.

#include "extras/seal/internal/WySealKeyText.h"

#include <cstring>

namespace {

// The digit is the version of the layout. The words let people, and scanners for secrets, recognise
// which of the two they hold.
constexpr std::string_view SecretPrefix = "wyseal-key-1-", PublicPrefix = "wyseal-public-1-";

// The order and sizes are the published format of keys that people keep for years.
struct KeyBytes {
  WySealLogId logId;
  uint64_t uFile;
  WySealKey key;
};
static_assert(sizeof(KeyBytes) == 56);

}  // namespace

std::string WySealKeyText(const WySealNamedKey& key) {
  CWySealWiped<KeyBytes> bytes;
  bytes->logId = key.logId;
  bytes->uFile = key.uFile;
  bytes->key = key.key;
  return std::string(key.bPublic ? PublicPrefix : SecretPrefix) +
         WySealEncode(reinterpret_cast<const unsigned char*>(&*bytes), sizeof(KeyBytes));
}

bool WySealParseKey(std::string_view strText, WySealNamedKey& key) {
  const bool bPublic = strText.starts_with(PublicPrefix);
  if (!bPublic && !strText.starts_with(SecretPrefix)) return false;
  strText.remove_prefix(bPublic ? PublicPrefix.size() : SecretPrefix.size());
  CWySealWiped<KeyBytes> bytes;
  if (!WySealDecode(strText, reinterpret_cast<unsigned char*>(&*bytes), sizeof(KeyBytes)) ||
      // File numbers begin with 1: a key for file 0 would derive one step too many.
      bytes->uFile == 0) {
    return false;
  }
  key.bPublic = bPublic;
  key.logId = bytes->logId;
  key.uFile = bytes->uFile;
  key.key = bytes->key;
  return true;
}
