#include "support/pkcs12/PfxCiphers.h"

#include <algorithm>

#include "support/asn1/Oid.h"
#include "support/crypto/Aes.h"
#include "support/crypto/Cbc.h"
#include "support/crypto/Des.h"
#include "support/crypto/Rc2.h"
#include "support/crypto/Rc4.h"
#include "support/crypto/TripleDes.h"

namespace certstore {

namespace {

template <typename Decryptor>
bool decryptBlocks(ByteView key, unsigned int, ByteView iv, ByteView encrypted, DataBuffer& plain) {
    Decryptor decryptor;
    return decryptor.setKey(key) && decryptCbc(decryptor, iv, encrypted, plain);
}

bool decryptRc2(ByteView key, unsigned int effectiveBits, ByteView iv, ByteView encrypted,
                DataBuffer& plain) {
    Rc2Decryptor decryptor;
    return decryptor.setKey(key, effectiveBits) && decryptCbc(decryptor, iv, encrypted, plain);
}

// Nothing shows whether the key was right; the caller sees it in what comes out.
bool decryptRc4(ByteView key, unsigned int, ByteView, ByteView encrypted, DataBuffer& plain) {
    Rc4 cipher;
    if (!cipher.setKey(key))
        return false;
    plain.m_secure = true;
    plain.secureClear();
    const auto size = static_cast<unsigned int>(encrypted.size());
    cipher.apply(encrypted, {plain.extend(size), size});
    return true;
}

struct NamedCipher {
    OidBytes oid;
    PfxCipherRow row;
};

constexpr NamedCipher kCiphers[] = {
    {OidBytes("2.16.840.1.101.3.4.1.2"),
     {PfxCipherKind::Aes, "AES-128-CBC", 16, 16, decryptBlocks<AesDecryptor>}},
    {OidBytes("2.16.840.1.101.3.4.1.22"),
     {PfxCipherKind::Aes, "AES-192-CBC", 24, 16, decryptBlocks<AesDecryptor>}},
    {OidBytes("2.16.840.1.101.3.4.1.42"),
     {PfxCipherKind::Aes, "AES-256-CBC", 32, 16, decryptBlocks<AesDecryptor>}},
    {OidBytes("1.2.840.113549.3.7"),
     {PfxCipherKind::TripleDes, "DES-EDE3-CBC", 24, 8, decryptBlocks<TripleDesDecryptor>}},
    {OidBytes("1.2.840.113549.3.2"), {PfxCipherKind::Rc2, "RC2-CBC", 0, 8, decryptRc2}},
    {OidBytes("1.3.14.3.2.7"), {PfxCipherKind::Des, "DES-CBC", 8, 8, decryptBlocks<DesKey>}},
    // PBES2 never names it: a stream cipher has no IV to give.
    {OidBytes("1.2.840.113549.3.4"), {PfxCipherKind::Rc4, "RC4", 0, 0, decryptRc4}},
};

static_assert(std::ranges::all_of(kCiphers, [](const NamedCipher& cipher) {
    return cipher.row.blockSize <= kMaxPfxBlockSize;
}));

}  // namespace

const PfxCipherRow* findPfxCipher(ByteView oid) noexcept {
    for (const NamedCipher& cipher : kCiphers)
        if (cipher.oid == oid && cipher.row.kind != PfxCipherKind::Rc4)
            return &cipher.row;
    return nullptr;
}

const PfxCipherRow& pfxCipherRow(PfxCipherKind kind) noexcept {
    return std::ranges::find(kCiphers, kind,
                             [](const NamedCipher& cipher) { return cipher.row.kind; })
        ->row;
}

unsigned int rc2EffectiveBits(std::uint64_t version) noexcept {
    switch (version) {
        case 0:
            return 32;
        case 160:
            return 40;
        case 120:
            return 64;
        case 58:
            return 128;
        default:
            return version >= 256 && version <= Rc2Decryptor::kMaxEffectiveBits
                ? static_cast<unsigned int>(version)
                : 0;
    }
}

}  // namespace certstore
