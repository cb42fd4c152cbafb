#ifndef WYERRLOG_SEAL_WYSEALCRYPTO_H
#define WYERRLOG_SEAL_WYSEALCRYPTO_H

// Private: the keys of a sealed log and what is computed with them. Everything is libsodium's.
//
//   F_1 -> F_2 -> F_3 ...          a key for each file; F_1 is the verification key
//    |      |
//   K_1    K_i -> K_(i+1) ...      a key for each record; i is the record's number in the log
//    |      |
//   rk_1   rk_i                    what record i is authenticated with
//
// Each arrow is one-way, so that a key that is stolen later opens nothing earlier.

#include <sodium.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

using WySealKey = std::array<unsigned char, crypto_kdf_KEYBYTES>;
using WySealTag = std::array<unsigned char, 16>;
using WySealLogId = std::array<unsigned char, 16>;

// Both results of one derivation, in the order in which they are derived.
struct WySealStep {
  WySealKey next;  // the next key of the same row
  WySealKey down;  // what hangs below this key
};

// The working memory of the operations below. It holds keys: its owner locks and wipes it.
struct WySealScratch {
  WySealStep step;
  crypto_generichash_state hash;
};

inline constexpr size_t WySealTagChars = 22;
inline constexpr size_t WySealKeyChars = 43;

// Initialises libsodium. Returns false if it finds no source of random numbers. Thread-safe.
bool WySealInitialise();

void WySealStepRecordKey(const WySealKey& key, WySealStep& step);
void WySealStepFileKey(const WySealKey& key, WySealStep& step);

// The tag of a record, by the key `scratch.step.down`.
void WySealComputeTag(WySealScratch& scratch, const WySealLogId& logId, const WySealTag& previous,
                      uint64_t uSeq, std::string_view strText, WySealTag& tag);

// A digest without a key; of bytes that a sealed record speaks of.
WySealTag WySealDigest(std::string_view strBytes);

// base64url without padding.
std::string WySealEncode(const unsigned char* pBytes, size_t uCount);
void WySealEncodeTag(const WySealTag& tag, char (&szText)[WySealTagChars + 1]);
// Returns false if the text is not the one encoding of exactly that many bytes.
bool WySealDecode(std::string_view strText, unsigned char* pBytes, size_t uCount);

// A value that is wiped at the end of its scope.
template <typename Value>
class CWySealWiped {
 public:
  CWySealWiped() = default;
  ~CWySealWiped() { sodium_memzero(&m_value, sizeof m_value); }
  CWySealWiped(const CWySealWiped&) = delete;
  CWySealWiped& operator=(const CWySealWiped&) = delete;

  Value& operator*() { return m_value; }
  Value* operator->() { return &m_value; }

 private:
  Value m_value{};
};

#endif
