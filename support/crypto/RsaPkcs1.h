#pragma once

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"
#include "support/crypto/Rsa.h"

namespace certstore {

// Whether `signature` is one of `key` over a message with this digest: RSASSA-PKCS1-v1_5 (RFC 8017
// section 8.2.2). The parameters of the digest algorithm may be NULL or absent (RFC 8017 appendix
// A.2.4, RFC 4055 section 2.1); every other deviation from the one encoding there is fails. False
// also when the digest has not the size of its algorithm, the algorithm is not one for signatures,
// or recoverRsaMessage() refuses.
bool verifyRsaPkcs1(const RsaPublicKey& key, DigestAlgorithm algorithm, ByteView digest,
                    ByteView signature) noexcept;

}  // namespace certstore
