// Key derivation, tags and their text form: thin calls of libsodium, with the layouts of the
// inputs.

#include "extras/seal/internal/WySealCrypto.h"

#include <cstring>

namespace {

constexpr int Base64 = sodium_base64_VARIANT_URLSAFE_NO_PADDING;

// The contexts keep the two rows of keys apart. crypto_kdf takes eight characters.
constexpr char RecordContext[] = "wyrecord", FileContext[] = "wylgfile";
// One derivation of 64 bytes has both results, `next` and `down`, in its halves: one call of
// BLAKE2b instead of two.
constexpr uint64_t SubkeyId = 1;

// Neither half can be computed from the other, so that a record's own key, if it leaks, opens no
// other record.
void Step(const WySealKey& key, const char* pszContext, WySealStep& step) {
  static_assert(sizeof step == crypto_kdf_BYTES_MAX);
  crypto_kdf_derive_from_key(step.next.data(), sizeof step, SubkeyId, pszContext, key.data());
}

}  // namespace

// sodium_init is safe to call repeatedly and from several threads; it returns 1 after the first
// time.
bool WySealInitialise() { return sodium_init() >= 0; }

void WySealStepRecordKey(const WySealKey& key, WySealStep& step) { Step(key, RecordContext, step); }

void WySealStepFileKey(const WySealKey& key, WySealStep& step) { Step(key, FileContext, step); }

// All parts but the text have fixed lengths, so that no two records have the same input.
void WySealComputeTag(WySealScratch& scratch, const WySealLogId& logId, const WySealTag& previous,
                      uint64_t uSeq, std::string_view strText, WySealTag& tag) {
  struct {
    WySealLogId logId;
    WySealTag previous;
    uint64_t uSeq;  // little-endian, the only byte order that the library is built for
  } const head = {logId, previous, uSeq};
  static_assert(sizeof head == 40);
  const WySealKey& key = scratch.step.down;
  crypto_generichash_init(&scratch.hash, key.data(), key.size(), tag.size());
  crypto_generichash_update(&scratch.hash, reinterpret_cast<const unsigned char*>(&head),
                            sizeof head);
  crypto_generichash_update(&scratch.hash, reinterpret_cast<const unsigned char*>(strText.data()),
                            strText.size());
  crypto_generichash_final(&scratch.hash, tag.data(), tag.size());
}

// Without a key, since ~torn records contain it in clear; the record's own tag authenticates it.
WySealTag WySealDigest(std::string_view strBytes) {
  WySealTag digest;
  crypto_generichash(digest.data(), digest.size(),
                     reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size(),
                     nullptr, 0);
  return digest;
}

std::string WySealEncode(const unsigned char* pBytes, size_t uCount) {
  std::string strText(sodium_base64_encoded_len(uCount, Base64), '\0');
  sodium_bin2base64(strText.data(), strText.size(), pBytes, uCount, Base64);
  strText.pop_back();  // the zero byte
  return strText;
}

void WySealEncodeTag(const WySealTag& tag, char (&szText)[WySealTagChars + 1]) {
  sodium_bin2base64(szText, sizeof szText, tag.data(), tag.size(), Base64);
}

// libsodium refuses non-zero bits behind the last byte, so each value has exactly one spelling; two
// would let an altered tag count as the same.
bool WySealDecode(std::string_view strText, unsigned char* pBytes, size_t uCount) {
  size_t uLength = 0;
  const char* pEnd = nullptr;
  return sodium_base642bin(pBytes, uCount, strText.data(), strText.size(), nullptr, &uLength, &pEnd,
                           Base64) == 0 &&
         uLength == uCount && pEnd == strText.data() + strText.size();
}
