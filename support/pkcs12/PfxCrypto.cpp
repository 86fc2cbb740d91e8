#include "support/pkcs12/PfxCrypto.h"

#include <algorithm>
#include <array>
#include <bit>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/base/ConstantTime.h"
#include "support/base/Wipe.h"
#include "support/crypto/DigestOids.h"
#include "support/crypto/Hmac.h"
#include "support/crypto/Pbkdf1.h"
#include "support/crypto/Pbkdf2.h"
#include "support/crypto/Pkcs12Kdf.h"
#include "support/crypto/Rc2.h"
#include "support/crypto/Scrypt.h"
#include "support/pkcs12/PfxCiphers.h"

namespace certstore {

namespace {

// The longest key of any cipher or MAC here, and the longest that a file may declare.
constexpr std::size_t kMaxKeySize = 128;
static_assert(kMaxKeySize >= Rc2Decryptor::kMaxEffectiveBits / 8 && kMaxKeySize >= kMaxDigestSize);

struct Hash {
    DigestAlgorithm digest;
    const char* name;
    OidBytes oid;  // of its HMAC
};

// In the order of DigestAlgorithm. The digests' own OIDs are those of DigestOids.h.
constexpr Hash kHashes[] = {
    {DigestAlgorithm::Sha1, "SHA-1", OidBytes("1.2.840.113549.2.7")},
    {DigestAlgorithm::Sha224, "SHA-224", OidBytes("1.2.840.113549.2.8")},
    {DigestAlgorithm::Sha256, "SHA-256", OidBytes("1.2.840.113549.2.9")},
    {DigestAlgorithm::Sha384, "SHA-384", OidBytes("1.2.840.113549.2.10")},
    {DigestAlgorithm::Sha512, "SHA-512", OidBytes("1.2.840.113549.2.11")},
    {DigestAlgorithm::Sha512_224, "SHA-512/224", OidBytes("1.2.840.113549.2.12")},
    {DigestAlgorithm::Sha512_256, "SHA-512/256", OidBytes("1.2.840.113549.2.13")},
    {DigestAlgorithm::Sha3_224, "SHA3-224", OidBytes("2.16.840.1.101.3.4.2.13")},
    {DigestAlgorithm::Sha3_256, "SHA3-256", OidBytes("2.16.840.1.101.3.4.2.14")},
    {DigestAlgorithm::Sha3_384, "SHA3-384", OidBytes("2.16.840.1.101.3.4.2.15")},
    {DigestAlgorithm::Sha3_512, "SHA3-512", OidBytes("2.16.840.1.101.3.4.2.16")},
    {DigestAlgorithm::Md5, "MD5", OidBytes("1.2.840.113549.2.6")},
};

// The schemes whose one OID names key derivation and cipher.
struct FixedScheme {
    OidBytes oid;
    const char* name;
    PfxKdf::Kind kdf;
    DigestAlgorithm digest;
    PfxCipherKind cipher;
    std::size_t keySize;
};

constexpr FixedScheme kFixedSchemes[] = {
    {OidBytes("1.2.840.113549.1.12.1.1"), "pbeWithSHAAnd128BitRC4", PfxKdf::Kind::Pkcs12,
     DigestAlgorithm::Sha1, PfxCipherKind::Rc4, 16},
    {OidBytes("1.2.840.113549.1.12.1.2"), "pbeWithSHAAnd40BitRC4", PfxKdf::Kind::Pkcs12,
     DigestAlgorithm::Sha1, PfxCipherKind::Rc4, 5},
    {OidBytes("1.2.840.113549.1.12.1.3"), "pbeWithSHAAnd3-KeyTripleDES-CBC", PfxKdf::Kind::Pkcs12,
     DigestAlgorithm::Sha1, PfxCipherKind::TripleDes, 24},
    {OidBytes("1.2.840.113549.1.12.1.4"), "pbeWithSHAAnd2-KeyTripleDES-CBC", PfxKdf::Kind::Pkcs12,
     DigestAlgorithm::Sha1, PfxCipherKind::TripleDes, 16},
    {OidBytes("1.2.840.113549.1.12.1.5"), "pbeWithSHAAnd128BitRC2-CBC", PfxKdf::Kind::Pkcs12,
     DigestAlgorithm::Sha1, PfxCipherKind::Rc2, 16},
    {OidBytes("1.2.840.113549.1.12.1.6"), "pbeWithSHAAnd40BitRC2-CBC", PfxKdf::Kind::Pkcs12,
     DigestAlgorithm::Sha1, PfxCipherKind::Rc2, 5},
    {OidBytes("1.2.840.113549.1.5.3"), "pbeWithMD5AndDES-CBC", PfxKdf::Kind::Pbkdf1,
     DigestAlgorithm::Md5, PfxCipherKind::Des, 8},
    {OidBytes("1.2.840.113549.1.5.6"), "pbeWithMD5AndRC2-CBC", PfxKdf::Kind::Pbkdf1,
     DigestAlgorithm::Md5, PfxCipherKind::Rc2, 8},
    {OidBytes("1.2.840.113549.1.5.10"), "pbeWithSHA1AndDES-CBC", PfxKdf::Kind::Pbkdf1,
     DigestAlgorithm::Sha1, PfxCipherKind::Des, 8},
    {OidBytes("1.2.840.113549.1.5.11"), "pbeWithSHA1AndRC2-CBC", PfxKdf::Kind::Pbkdf1,
     DigestAlgorithm::Sha1, PfxCipherKind::Rc2, 8},
};

template <typename Row, std::size_t size>
const Row* findRow(const Row (&rows)[size], ByteView oid) noexcept {
    const auto* row =
        std::find_if(rows, rows + size, [oid](const Row& known) { return known.oid == oid; });
    return row == rows + size ? nullptr : row;
}

std::string unknown(ByteView oid) {
    StringBuffer text;
    text.append("unknown algorithm ");
    appendDottedOid(text, oid);
    return text.getString();
}

bool readAlgorithm(ByteView whole, ByteView& oid, ByteView& parameters) noexcept {
    DerReader outer(whole), inner;
    if (!outer.readSequence(inner) || !inner.readOid(oid))
        return false;
    parameters = inner.rest();
    return true;
}

bool readCount(DerReader& der, std::uint64_t& count) noexcept {
    ByteView magnitude;
    if (!der.readUnsigned(magnitude) || magnitude.size() > sizeof count)
        return false;
    count = 0;
    for (const unsigned char octet : magnitude)
        count = count << 8 | octet;
    return count != 0;
}

std::uint64_t blocksOf(std::size_t size, DigestAlgorithm digest) noexcept {
    return (size + digestSize(digest) - 1) / digestSize(digest);
}

std::uint64_t saturatingProduct(std::uint64_t a, std::uint64_t b) noexcept {
    return a != 0 && b > UINT64_MAX / a ? UINT64_MAX : a * b;
}

// What deriving these many bytes, the IV apart, takes.
KdfCost costOf(const PfxKdf& kdf, std::size_t keySize, std::size_t ivSize) noexcept {
    switch (kdf.kind) {
        case PfxKdf::Kind::Pkcs12:
            return {kdf.iterations,
                    saturatingProduct(kdf.iterations,
                                      blocksOf(keySize, kdf.digest) + blocksOf(ivSize, kdf.digest)),
                    0};
        case PfxKdf::Kind::Pbkdf1:
            return {kdf.iterations, kdf.iterations, 0};
        case PfxKdf::Kind::Pbkdf2:
            // Each HMAC is two hash computations.
            return {kdf.iterations,
                    saturatingProduct(kdf.iterations, 2 * blocksOf(keySize, kdf.digest)), 0};
        case PfxKdf::Kind::Scrypt:
            break;
    }
    // 4 N r p Salsa20/8 cores, which take about as long as a hash computation; 128 N r bytes, and
    // as much for each of the p.
    const std::uint64_t blocks = saturatingProduct(kdf.iterations, kdf.blockSize);
    const std::uint64_t lanes = saturatingProduct(kdf.parallelization, kdf.blockSize);
    return {0, saturatingProduct(saturatingProduct(blocks, 4), kdf.parallelization),
            std::max(saturatingProduct(blocks, 128), saturatingProduct(lanes, 128))};
}

// PBKDF2-params and scrypt-params (RFC 8018 appendix A.2, RFC 7914 section 7). On false, `problem`
// tells why.
bool readKdf(ByteView whole, PfxKdf& kdf, std::string& name, std::string& problem) {
    constexpr OidBytes kPbkdf2("1.2.840.113549.1.5.12"), kScrypt("1.3.6.1.4.1.11591.4.11");
    ByteView oid, parameters, prf;
    if (!readAlgorithm(whole, oid, parameters)) {
        problem = "malformed key derivation";
        return false;
    }
    DerReader outer(parameters), inner;
    const bool isScrypt = kScrypt == oid;
    if (!isScrypt && kPbkdf2 != oid) {
        problem = unknown(oid);
        return false;
    }
    name = isScrypt ? "scrypt" : "PBKDF2";
    bool read = outer.readSequence(inner) && inner.read(DerTag::OctetString, kdf.salt)
        && readCount(inner, kdf.iterations)
        && (!isScrypt
            || (std::has_single_bit(kdf.iterations) && readCount(inner, kdf.blockSize)
                && readCount(inner, kdf.parallelization)));
    if (read && inner.nextIs(DerTag::Integer))
        read = readCount(inner, kdf.keySize) && kdf.keySize <= kMaxKeySize;
    if (!read) {
        problem = "malformed parameters of " + name;
        return false;
    }
    kdf.kind = isScrypt ? PfxKdf::Kind::Scrypt : PfxKdf::Kind::Pbkdf2;
    DerReader algorithm;
    if (inner.atEnd() || isScrypt || !inner.readSequence(algorithm, prf))
        return true;
    const Hash* hmac = readAlgorithm(prf, oid, parameters) ? findRow(kHashes, oid) : nullptr;
    if (!hmac) {
        problem = oid.empty() ? "malformed parameters of PBKDF2" : unknown(oid);
        return false;
    }
    kdf.digest = hmac->digest;
    name += std::string(" HMAC-") + hmac->name;
    return true;
}

bool derive(const PfxKdf& kdf, Pkcs12Purpose purpose, const PfxPassword& password, std::size_t form,
            std::span<unsigned char> key) {
    switch (kdf.kind) {
        case PfxKdf::Kind::Pkcs12:
            return derivePkcs12(kdf.digest, purpose, password.bmpBytes(form), kdf.salt,
                                kdf.iterations, key);
        case PfxKdf::Kind::Pbkdf1:
            return derivePbkdf1(kdf.digest, password.rawBytes(), kdf.salt, kdf.iterations, key);
        case PfxKdf::Kind::Pbkdf2:
            return derivePbkdf2(kdf.digest, password.rawBytes(), kdf.salt, kdf.iterations, key);
        case PfxKdf::Kind::Scrypt:
            break;
    }
    return deriveScrypt(password.rawBytes(), kdf.salt,
                        {kdf.iterations, kdf.blockSize, kdf.parallelization}, key);
}

}  // namespace

bool PfxCipher::fail(std::string problem) {
    m_problem = std::move(problem);
    return false;
}

bool PfxCipher::read(ByteView algorithmIdentifier) {
    constexpr OidBytes kPbes2("1.2.840.113549.1.5.13");
    ByteView oid, parameters;
    if (!readAlgorithm(algorithmIdentifier, oid, parameters))
        return fail("malformed algorithm");
    if (kPbes2 == oid)
        return readPbes2(parameters);
    const FixedScheme* scheme = findRow(kFixedSchemes, oid);
    if (!scheme)
        return fail(unknown(oid));
    m_name = scheme->name;
    m_kdf.kind = scheme->kdf;
    m_kdf.digest = scheme->digest;
    m_cipher = &pfxCipherRow(scheme->cipher);
    m_keySize = scheme->keySize;
    m_effectiveBits = static_cast<unsigned int>(scheme->keySize * 8);
    return readSaltAndIterations(parameters) || fail("malformed parameters of " + m_name);
}

// PBEParameter (RFC 8018 appendix A.3) and pkcs-12PbeParams (RFC 7292 appendix C).
bool PfxCipher::readSaltAndIterations(ByteView parameters) {
    DerReader outer(parameters), inner;
    return outer.readSequence(inner) && inner.read(DerTag::OctetString, m_kdf.salt)
        && readCount(inner, m_kdf.iterations);
}

bool PfxCipher::readPbes2(ByteView parameters) {
    DerReader outer(parameters), inner, ignored;
    ByteView kdf, cipher;
    std::string kdfName;
    if (!outer.readSequence(inner) || !inner.readSequence(ignored, kdf)
        || !inner.readSequence(ignored, cipher))
        return fail("malformed parameters of PBES2");
    if (!readKdf(kdf, m_kdf, kdfName, m_problem) || !readCipher(cipher))
        return false;
    m_name = "PBES2 with " + kdfName + " and " + m_cipher->name;
    // Of a cipher with one key size, what the file declares beside is not what tools have used.
    if (m_cipher->keySize != 0)
        m_keySize = m_cipher->keySize;
    else if (m_kdf.keySize != 0)
        m_keySize = static_cast<std::size_t>(m_kdf.keySize);
    return true;
}

bool PfxCipher::readCipher(ByteView algorithmIdentifier) {
    ByteView oid, parameters;
    if (!readAlgorithm(algorithmIdentifier, oid, parameters))
        return fail("malformed cipher");
    m_cipher = findPfxCipher(oid);
    if (!m_cipher)
        return fail(unknown(oid));
    DerReader reader(parameters);
    if (m_cipher->kind == PfxCipherKind::Rc2) {
        // RC2-CBC-Parameter (RFC 8018 appendix B.2.3); 32 bits are meant when no version is given.
        DerReader inner;
        std::uint64_t version = 0;
        if (!reader.readSequence(inner)
            || (inner.nextIs(DerTag::Integer) && !readCount(inner, version)))
            return fail("malformed parameters of RC2-CBC");
        m_effectiveBits = rc2EffectiveBits(version);
        m_keySize = m_effectiveBits / 8;
        reader = inner;
    }
    if (!reader.read(DerTag::OctetString, m_iv) || m_iv.size() != m_cipher->blockSize)
        return fail(std::string("malformed parameters of ") + m_cipher->name);
    return true;
}

KdfCost PfxCipher::cost() const noexcept {
    return costOf(m_kdf, m_keySize, m_cipher->blockSize);
}

bool PfxCipher::decrypt(const PfxPassword& password, std::size_t form, ByteView encrypted,
                        DataBuffer& plain) const {
    std::array<unsigned char, kMaxKeySize> key;
    std::array<unsigned char, kMaxPfxBlockSize> derivedIv{};
    const WipeGuard keyGuard(key.data(), key.size());
    const WipeGuard ivGuard(derivedIv.data(), derivedIv.size());
    ByteView iv = m_iv;
    std::size_t derivedSize = m_keySize;
    // PBES1 takes key and IV from one derivation.
    if (m_kdf.kind == PfxKdf::Kind::Pbkdf1)
        derivedSize += m_cipher->blockSize;
    const std::span<unsigned char> derived(key.data(), derivedSize);
    if (!derive(m_kdf, Pkcs12Purpose::Key, password, form, derived))
        return false;
    if (m_kdf.kind == PfxKdf::Kind::Pbkdf1)
        iv = derived.subspan(m_keySize);
    if (m_kdf.kind == PfxKdf::Kind::Pkcs12 && m_cipher->blockSize != 0) {
        const std::span<unsigned char> place(derivedIv.data(), m_cipher->blockSize);
        if (!derive(m_kdf, Pkcs12Purpose::Iv, password, form, place))
            return false;
        iv = place;
    }
    return m_cipher->decrypt(derived.first(m_keySize), m_effectiveBits, iv, encrypted, plain);
}

bool PfxMac::fail(std::string problem) {
    m_problem = std::move(problem);
    return false;
}

// MacData (RFC 7292 section 4) behind its tag: the digest, the salt, the iterations.
bool PfxMac::read(ByteView macData) {
    constexpr OidBytes kPbmac1("1.2.840.113549.1.5.14");
    DerReader der(macData), digestInfo, algorithm;
    ByteView whole, oid, parameters;
    if (!der.readSequence(digestInfo) || !digestInfo.readSequence(algorithm, whole)
        || !digestInfo.read(DerTag::OctetString, m_expected)
        || !der.read(DerTag::OctetString, m_kdf.salt)
        || (!der.atEnd() && !readCount(der, m_kdf.iterations))
        || !readAlgorithm(whole, oid, parameters))
        return fail("malformed");
    if (kPbmac1 == oid)
        return readPbmac1(parameters);
    if (!findDigestByOid(oid, m_hmac))
        return fail(unknown(oid));
    m_name = kHashes[static_cast<std::size_t>(m_hmac)].name;
    m_kdf.digest = m_hmac;
    m_kdf.keySize = digestSize(m_hmac);
    return true;
}

// PBMAC1-params (RFC 8018 appendix A.5). RFC 9879 demands that the key length is given.
bool PfxMac::readPbmac1(ByteView parameters) {
    DerReader outer(parameters), inner, ignored;
    ByteView kdf, scheme, oid, none;
    m_kdf = {};
    if (!outer.readSequence(inner) || !inner.readSequence(ignored, kdf)
        || !inner.readSequence(ignored, scheme) || !readAlgorithm(scheme, oid, none))
        return fail("malformed parameters of PBMAC1");
    if (!readKdf(kdf, m_kdf, m_name, m_problem))
        return false;
    const Hash* hmac = findRow(kHashes, oid);
    if (!hmac)
        return fail(unknown(oid));
    if (m_kdf.keySize == 0)
        return fail("PBMAC1 without the length of its key");
    m_hmac = hmac->digest;
    m_name = "PBMAC1 with " + m_name + " and HMAC-" + hmac->name;
    return true;
}

KdfCost PfxMac::cost() const noexcept {
    return costOf(m_kdf, static_cast<std::size_t>(m_kdf.keySize), 0);
}

bool PfxMac::verify(const PfxPassword& password, std::size_t form, ByteView content) const {
    std::array<unsigned char, kMaxKeySize> key;
    std::array<unsigned char, kMaxDigestSize> tag;
    const WipeGuard keyGuard(key.data(), key.size());
    const WipeGuard tagGuard(tag.data(), tag.size());
    const std::span<unsigned char> derived(key.data(), static_cast<std::size_t>(m_kdf.keySize));
    if (!derive(m_kdf, Pkcs12Purpose::MacKey, password, form, derived))
        return false;
    Hmac hmac(m_hmac, derived);
    hmac.update(content);
    hmac.finish(tag);
    return equalSecrets({tag.data(), hmac.size()}, m_expected);
}

}  // namespace certstore
