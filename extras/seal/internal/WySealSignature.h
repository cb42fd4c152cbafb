#ifndef WYERRLOG_SEAL_WYSEALSIGNATURE_H
#define WYERRLOG_SEAL_WYSEALSIGNATURE_H

// Private: Ed25519 signatures of checkpoints, for verifying without a secret. Each signature also
// covers the next public key; the seed of a key pair is wiped when it has signed.

#include <optional>
#include <string>
#include <string_view>

#include "extras/seal/internal/WySealState.h"

using WySealPublicKey = std::array<unsigned char, crypto_sign_PUBLICKEYBYTES>;

WySealPublicKey WySealPublicKeyOf(const WySealKey& seed);
void WySealNextSeed(const WySealKey& seed, WySealKey& next);

// The digest of a file's lines up to and with this one, from that of the lines before it.
WySealKey WySealNextDigest(const WySealKey& digest, std::string_view strText,
                           std::string_view strTrailer);

// Appends " next=... sig=..." to the TEXT of a ~mark or ~end record: the signature of the file's
// lines before it and of the TEXT.
void WySealSign(const WySealPage& page, const WySealSlot& slot, std::string& strText);

// The next public key, if the TEXT is signed by this one.
std::optional<WySealPublicKey> WySealCheckSignature(const WySealLogId& logId,
                                                    const WySealKey& digest,
                                                    const WySealPublicKey& key,
                                                    std::string_view strText);

#endif
