// What is signed: the log id, the digest of the file's lines so far, and the record's own text.

#include "extras/seal/internal/WySealSignature.h"

#include "extras/seal/internal/WySealLine.h"

namespace {

constexpr char SeedContext[] = "wysigned";
constexpr std::string_view SignatureField = " sig=";

// The two parts before the text have fixed lengths, so that no two inputs give the same bytes. The
// log id keeps a signature from being moved to another log, the digest from another place.
std::string SignedBytes(const WySealLogId& logId, const WySealKey& digest,
                        std::string_view strText) {
  std::string strBytes(logId.begin(), logId.end());
  strBytes.append(digest.begin(), digest.end()).append(strText);
  return strBytes;
}

const unsigned char* Bytes(std::string_view strText) {
  return reinterpret_cast<const unsigned char*>(strText.data());
}

using SecretKey = std::array<unsigned char, crypto_sign_SECRETKEYBYTES>;

}  // namespace

WySealPublicKey WySealPublicKeyOf(const WySealKey& seed) {
  WySealPublicKey key;
  CWySealWiped<SecretKey> secret;
  crypto_sign_seed_keypair(key.data(), secret->data(), seed.data());
  return key;
}

// One way, so that a stolen seed signs nothing that was signed before.
void WySealNextSeed(const WySealKey& seed, WySealKey& next) {
  crypto_kdf_derive_from_key(next.data(), next.size(), 1, SeedContext, seed.data());
}

// A chain over records instead of one running hash: 32 bytes in the state page suffice, and
// recovery can continue it after any record.
WySealKey WySealNextDigest(const WySealKey& digest, std::string_view strText,
                           std::string_view strTrailer) {
  WySealKey next;
  crypto_generichash_state hash;
  crypto_generichash_init(&hash, nullptr, 0, next.size());
  crypto_generichash_update(&hash, digest.data(), digest.size());
  crypto_generichash_update(&hash, Bytes(strText), strText.size());
  crypto_generichash_update(&hash, Bytes(strTrailer), strTrailer.size());
  crypto_generichash_final(&hash, next.data(), next.size());
  return next;
}

// The next public key is in the signed text: from the first key on, each is vouched for by the one
// before, and no list of keys has to be kept elsewhere.
void WySealSign(const WySealPage& page, const WySealSlot& slot, std::string& strText) {
  CWySealWiped<WySealKey> next;
  WySealNextSeed(slot.seed, *next);
  const WySealPublicKey nextKey = WySealPublicKeyOf(*next);
  strText += " next=" + WySealEncode(nextKey.data(), nextKey.size());

  WySealPublicKey key;
  CWySealWiped<SecretKey> secret;
  crypto_sign_seed_keypair(key.data(), secret->data(), slot.seed.data());
  const std::string strBytes = SignedBytes(page.logId, slot.digest, strText);
  std::array<unsigned char, crypto_sign_BYTES> signature;
  crypto_sign_detached(signature.data(), nullptr, Bytes(strBytes), strBytes.size(), secret->data());
  strText.append(SignatureField).append(WySealEncode(signature.data(), signature.size()));
}

std::optional<WySealPublicKey> WySealCheckSignature(const WySealLogId& logId,
                                                    const WySealKey& digest,
                                                    const WySealPublicKey& key,
                                                    std::string_view strText) {
  // The last field, since the writer appends it last.
  const size_t uField = strText.rfind(SignatureField);
  if (uField == std::string_view::npos) return std::nullopt;
  std::array<unsigned char, crypto_sign_BYTES> signature;
  const std::string_view strSignature = strText.substr(uField + SignatureField.size());
  if (!WySealDecode(strSignature, signature.data(), signature.size())) return std::nullopt;
  const std::string strBytes = SignedBytes(logId, digest, strText.substr(0, uField));
  WySealPublicKey next;
  if (crypto_sign_verify_detached(signature.data(), Bytes(strBytes), strBytes.size(), key.data()) !=
          0 ||
      !WySealDecode(WySealField(strText, "next"), next.data(), next.size())) {
    return std::nullopt;
  }
  return next;
}
