#pragma once

#include <cstdint>
#include <string>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"
#include "support/crypto/Digest.h"
#include "support/pkcs12/PfxPassword.h"

namespace certstore {

// What turning a password into keys takes, as the file declares it.
struct KdfCost {
    std::uint64_t iterations = 0;  // of one key derivation
    std::uint64_t work = 0;        // hash computations in all
    std::uint64_t memory = 0;      // bytes
};

// How a key comes from a password.
struct PfxKdf {
    enum class Kind { Pkcs12, Pbkdf1, Pbkdf2, Scrypt };

    Kind kind = Kind::Pkcs12;
    DigestAlgorithm digest = DigestAlgorithm::Sha1;
    ByteView salt;
    std::uint64_t iterations = 1;                      // for scrypt N
    std::uint64_t blockSize = 0, parallelization = 0;  // scrypt's r and p
    std::uint64_t keySize = 0;                         // as declared; 0 when it is not
};

struct PfxCipherRow;

// How one part of a file is encrypted: PKCS#12's own schemes (RFC 7292 appendix C), PBES1 and PBES2
// (RFC 8018 sections 6.1 and 6.2). Slices of the encoding that it was read from.
class PfxCipher {
public:
    // Reads an AlgorithmIdentifier, whole, in DER. False for one that is not known or malformed;
    // problem() then says which.
    [[nodiscard]] bool read(ByteView algorithmIdentifier);

    // Such as "unknown algorithm 1.2.3" or "malformed parameters of PBES2".
    const std::string& problem() const noexcept { return m_problem; }

    // Such as "PBES2 with PBKDF2 and AES-256-CBC".
    const std::string& name() const noexcept { return m_name; }

    KdfCost cost() const noexcept;

    // Replaces `plain`, which is marked secure, by the decrypted bytes. False when the padding
    // shows that the key is wrong or the bytes are damaged. Requires: read(), cost() within the
    // limits.
    [[nodiscard]] bool decrypt(const PfxPassword& password, std::size_t form, ByteView encrypted,
                               DataBuffer& plain) const;

    // Whether the forms of a password make a difference.
    bool dependsOnForm() const noexcept { return m_kdf.kind == PfxKdf::Kind::Pkcs12; }

private:
    bool fail(std::string problem);
    bool readPbes2(ByteView parameters);
    bool readSaltAndIterations(ByteView parameters);
    bool readCipher(ByteView algorithmIdentifier);

    std::string m_name, m_problem;
    PfxKdf m_kdf;
    const PfxCipherRow* m_cipher = nullptr;
    std::size_t m_keySize = 0;
    unsigned int m_effectiveBits = 0;  // RC2's
    ByteView m_iv;                     // empty where the key derivation gives it
};

// How a file is protected against changes: the MAC of RFC 7292 section 4, or PBMAC1 (RFC 9879).
class PfxMac {
public:
    // Reads the inside of a MacData in DER. False as with PfxCipher::read.
    [[nodiscard]] bool read(ByteView macData);

    const std::string& problem() const noexcept { return m_problem; }
    const std::string& name() const noexcept { return m_name; }
    KdfCost cost() const noexcept;
    bool dependsOnForm() const noexcept { return m_kdf.kind == PfxKdf::Kind::Pkcs12; }

    // Whether the MAC of `content` under this password is the one in the file. Compared in constant
    // time. Requires: read(), cost() within the limits.
    [[nodiscard]] bool verify(const PfxPassword& password, std::size_t form,
                              ByteView content) const;

private:
    bool fail(std::string problem);
    bool readPbmac1(ByteView parameters);

    std::string m_name, m_problem;
    PfxKdf m_kdf;
    DigestAlgorithm m_hmac = DigestAlgorithm::Sha1;
    ByteView m_expected;
};

}  // namespace certstore
