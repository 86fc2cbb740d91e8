#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "support/crypto/Aes.h"
#include "support/crypto/Cbc.h"
#include "support/crypto/Des.h"
#include "support/crypto/Digest.h"
#include "support/crypto/InstructionSets.h"
#include "support/crypto/Rc2.h"
#include "support/crypto/Rc4.h"
#include "support/crypto/Sha2.h"
#include "support/crypto/Sha3.h"
#include "support/crypto/TripleDes.h"
#include "tests/support/crypto/Pattern.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

constexpr std::size_t kWholeKey = 0;

// Keys of the four kinds behind one interface; null when the key is refused.
class AnyCipher {
public:
    virtual ~AnyCipher() = default;
    virtual Bytes decryptBlocks(ByteView input) const = 0;
    virtual bool decrypt(ByteView iv, ByteView ciphertext, DataBuffer& plain) const = 0;
};

template <class Cipher>
class CipherOf : public AnyCipher {
public:
    Bytes decryptBlocks(ByteView input) const override {
        Bytes output(input.begin(), input.end());
        for (std::size_t at = 0; at < output.size(); at += Cipher::kBlockSize)
            m_cipher.decryptBlock(&output[at], &output[at]);
        return output;
    }
    bool decrypt(ByteView iv, ByteView ciphertext, DataBuffer& plain) const override {
        return decryptCbc(m_cipher, iv, ciphertext, plain);
    }
    Cipher m_cipher;
};

using Maker = std::unique_ptr<AnyCipher> (*)(ByteView key, std::size_t effectiveBits);

template <class Cipher>
std::unique_ptr<AnyCipher> make(ByteView key, std::size_t) {
    auto cipher = std::make_unique<CipherOf<Cipher>>();
    return cipher->m_cipher.setKey(key) ? std::move(cipher) : nullptr;
}

std::unique_ptr<AnyCipher> makeRc2(ByteView key, std::size_t effectiveBits) {
    auto cipher = std::make_unique<CipherOf<Rc2Decryptor>>();
    return cipher->m_cipher.setKey(key, effectiveBits) ? std::move(cipher) : nullptr;
}

struct KnownBlock {
    const char* what;
    Maker maker;
    const char* key;
    std::size_t effectiveBits;
    const char* plain;
    const char* cipher;
};

constexpr KnownBlock kKnownBlocks[] = {
    {"FIPS 197 C.1", make<AesDecryptor>, "000102030405060708090a0b0c0d0e0f", kWholeKey,
     "00112233445566778899aabbccddeeff", "69c4e0d86a7b0430d8cdb78070b4c55a"},
    {"FIPS 197 C.2", make<AesDecryptor>, "000102030405060708090a0b0c0d0e0f1011121314151617",
     kWholeKey, "00112233445566778899aabbccddeeff", "dda97ca4864cdfe06eaf70a0ec0d7191"},
    {"FIPS 197 C.3", make<AesDecryptor>,
     "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f", kWholeKey,
     "00112233445566778899aabbccddeeff", "8ea2b7ca516745bfeafc49904b496089"},
    {"SP 800-67 appendix B.1", make<TripleDesDecryptor>,
     "0123456789abcdef23456789abcdef01456789abcdef0123", kWholeKey, "5468652071756663",
     "a826fd8ce53b855f"},
    {"RFC 2268, 63 bits", makeRc2, "0000000000000000", 63, "0000000000000000", "ebb773f993278eff"},
    {"RFC 2268, 64 bits", makeRc2, "ffffffffffffffff", 64, "ffffffffffffffff", "278b27e42e2f0d49"},
    {"RFC 2268, 64 bits", makeRc2, "3000000000000000", 64, "1000000000000001", "30649edf9be7d2c2"},
    {"RFC 2268, key of 1 octet", makeRc2, "88", 64, "0000000000000000", "61a8a244adacccf0"},
    {"RFC 2268, key of 7", makeRc2, "88bca90e90875a", 64, "0000000000000000", "6ccf4308974c267f"},
    {"RFC 2268, cut down to 64 bits", makeRc2, "88bca90e90875a7f0f79c384627bafb2", 64,
     "0000000000000000", "1a807d272bbe5db1"},
    {"RFC 2268, 128 bits", makeRc2, "88bca90e90875a7f0f79c384627bafb2", 128, "0000000000000000",
     "2269552ab0f85ca6"},
    {"RFC 2268, 129 bits", makeRc2,
     "88bca90e90875a7f0f79c384627bafb216f80a6f85920584c42fceb0be255daf1e", 129, "0000000000000000",
     "5b78d3a43dfff1f1"},
};

void expectKnownBlocks() {
    for (const KnownBlock& known : kKnownBlocks) {
        const auto cipher = known.maker(fromHex(known.key), known.effectiveBits);
        ASSERT_NE(cipher, nullptr) << known.what;
        EXPECT_EQ(cipher->decryptBlocks(fromHex(known.cipher)), fromHex(known.plain)) << known.what;
    }
}

// A key of the octets 0f, 16, 1d .., 7 apart, and the SHA-256 of what it decrypts 4000 octets of
// the pattern to, which takes every table through all of its entries. Computed with
//   openssl enc -d -provider legacy -provider default -<cipher>-ecb -K <key> -nopad | sha256sum
struct KnownStream {
    const char* what;
    Maker maker;
    std::size_t keySize;
    std::size_t effectiveBits;
    const char* digest;
};

constexpr KnownStream kKnownStreams[] = {
    {"aes-128", make<AesDecryptor>, 16, kWholeKey,
     "d13be40f32e26e5912cc3943494803dc079a865ea86a7291cd6ddecd5295b66b"},
    {"aes-192", make<AesDecryptor>, 24, kWholeKey,
     "7eb8e7e9c52c505ecac2c87ddf6b25e2d048b1c2a380805c0d1f764782666b9c"},
    {"aes-256", make<AesDecryptor>, 32, kWholeKey,
     "bac72749378bf9e1793933475c1aaae1e610da2c473387141c692e2152a7c789"},
    {"des", make<DesKey>, 8, kWholeKey,
     "3b16c1acd0303a5e78ac52d1bc22014e67711a994de2c9bfd9d566617d689a47"},
    {"des-ede", make<TripleDesDecryptor>, 16, kWholeKey,
     "6d808a0d81da4129051e344c354e355062cd243b9e714a3e3674e9ff4a147aa3"},
    {"des-ede3", make<TripleDesDecryptor>, 24, kWholeKey,
     "0d8691518e22fea2d2946757de7fbe9c3d0044eebd7c1e7be3a1429872f01837"},
    {"rc2", makeRc2, 16, 128, "2bc0b0aa87e279fd5dd74587eb13b204ad04dd8ca651c450a78ccd00db6fab7a"},
};

Bytes makeKey(std::size_t size) {
    Bytes key(size);
    for (std::size_t i = 0; i < size; ++i)
        key[i] = static_cast<unsigned char>(0x0f + 7 * i);
    return key;
}

Bytes sha256(const Bytes& bytes) {
    const DigestValue digest = computeDigest(DigestAlgorithm::Sha256, bytes);
    return Bytes(digest.bytes, digest.bytes + digest.size);
}

void expectKnownStreams() {
    for (const KnownStream& known : kKnownStreams) {
        const auto cipher = known.maker(makeKey(known.keySize), known.effectiveBits);
        ASSERT_NE(cipher, nullptr) << known.what;
        EXPECT_EQ(sha256(cipher->decryptBlocks(makePattern(4000))), fromHex(known.digest))
            << known.what;
    }
}

TEST(CipherTest, DecryptsByTheBestCodeForThisProcessor) {
    expectKnownBlocks();
    expectKnownStreams();
}

TEST(CipherTest, DecryptsByPortableCode) {
    hideInstructions(true);
    expectKnownBlocks();
    expectKnownStreams();
    hideInstructions(false);
}

TEST(CipherTest, Rc4DecryptsInPieces) {
    const struct {
        std::size_t keySize;
        const char* digest;  // as above, with -rc4 and -rc4-40
    } kRows[] = {
        {16, "e768b561a0595020eb4d4ee240bc64bea4b968b9cd119d10c7f54ce90b8bae5b"},
        {5, "a5d81b66a6434b01f09d1a4374469f3ec39bdb45c0e4c60550df474c60aaf139"},
    };
    Rc4 cipher;
    for (const auto& row : kRows) {
        Bytes bytes = makePattern(4000);
        ASSERT_TRUE(cipher.setKey(makeKey(row.keySize)));
        cipher.apply(ByteView(bytes).first(1), bytes);
        const std::span<unsigned char> rest = std::span(bytes).subspan(1);
        cipher.apply({}, rest);
        cipher.apply(rest, rest);
        EXPECT_EQ(sha256(bytes), fromHex(row.digest));
    }
}

TEST(CipherTest, RefusesKeysOfWrongSize) {
    for (const std::size_t size : {0u, 15u, 17u, 33u})
        EXPECT_EQ(make<AesDecryptor>(makeKey(size), kWholeKey), nullptr) << size;
    for (const std::size_t size : {0u, 7u, 9u})
        EXPECT_EQ(make<DesKey>(makeKey(size), kWholeKey), nullptr) << size;
    for (const std::size_t size : {8u, 15u, 23u, 25u})
        EXPECT_EQ(make<TripleDesDecryptor>(makeKey(size), kWholeKey), nullptr) << size;
    EXPECT_EQ(makeRc2({}, 64), nullptr);
    EXPECT_EQ(makeRc2(makeKey(129), 64), nullptr);
    EXPECT_EQ(makeRc2(makeKey(8), 0), nullptr);
    EXPECT_EQ(makeRc2(makeKey(8), 1025), nullptr);
    EXPECT_NE(makeRc2(makeKey(128), 1024), nullptr);
    EXPECT_FALSE(Rc4().setKey({}));
    EXPECT_FALSE(Rc4().setKey(makeKey(257)));
}

// "Secrets of twenty-one" under makeKey() and an IV from the pattern, by `openssl enc -e` with the
// cipher of the first column.
struct KnownFile {
    const char* what;
    Maker maker;
    std::size_t keySize;
    std::size_t effectiveBits;
    std::size_t blockSize;
    const char* ciphertext;
};

constexpr KnownFile kKnownFiles[] = {
    {"aes-256-cbc", make<AesDecryptor>, 32, kWholeKey, 16,
     "eb143e117d63c2a3cec43984ff2296061a1a77537295e19501062f3a414d54a0"},
    {"des-cbc", make<DesKey>, 8, kWholeKey, 8, "423f9378082b4fa6209ffaf1d6e3cf0c7e68c9015ca5b507"},
    {"des-ede3-cbc", make<TripleDesDecryptor>, 24, kWholeKey, 8,
     "1f740d05b50740140ca74be3c835c3cf6a80f4b1ce552c02"},
    {"rc2-40-cbc", makeRc2, 5, 40, 8, "3477b537cc4821683032ea0b4ef1e617cb2a1bd725165906"},
    {"rc2-64-cbc", makeRc2, 8, 64, 8, "cd65afa80778eb3512099590db7eee3940d8a01ac7684182"},
    {"rc2-cbc", makeRc2, 16, 128, 8, "3987d0d6cb463c4a0ecab9910af1232a930104fee7091107"},
};

TEST(CipherTest, DecryptsFilesInCbcMode) {
    for (const KnownFile& known : kKnownFiles) {
        const auto cipher = known.maker(makeKey(known.keySize), known.effectiveBits);
        DataBuffer plain;
        plain.append(bytesOf("what was there before"));
        EXPECT_TRUE(cipher->decrypt(makePattern(known.blockSize), fromHex(known.ciphertext), plain))
            << known.what;
        EXPECT_EQ(textOf(plain.view()), "Secrets of twenty-one") << known.what;
        EXPECT_TRUE(plain.m_secure);
    }
}

TEST(CipherTest, RefusesFilesThatAreNotWhatTheySay) {
    const Bytes iv = makePattern(16), whole = fromHex(kKnownFiles[0].ciphertext);
    Bytes otherIv = iv, otherEnd = whole;
    otherEnd[15] ^= 0x01;  // the last octet of the padding
    otherIv[15] ^= 0x01;   // the text alone: not noticed
    const Bytes cut(whole.begin(), whole.end() - 1), firstBlock(whole.begin(), whole.begin() + 16);
    const struct {
        const char* what;
        Bytes iv, ciphertext;
        bool accepted;
    } kRows[] = {
        {"as it was written", iv, whole, true},
        {"another text", otherIv, whole, true},
        {"wrong padding", iv, otherEnd, false},
        {"text in the place of padding", iv, firstBlock, false},
        {"part of a block", iv, cut, false},
        {"nothing", iv, {}, false},
        {"short IV", makePattern(15), whole, false},
        {"long IV", makePattern(17), whole, false},
    };
    const auto cipher = make<AesDecryptor>(makeKey(32), kWholeKey);
    for (const auto& row : kRows) {
        DataBuffer plain;
        plain.append(bytesOf("what was there before"));
        EXPECT_EQ(cipher->decrypt(row.iv, row.ciphertext, plain), row.accepted) << row.what;
        EXPECT_EQ(plain.getSize(), row.accepted ? 21u : 0u) << row.what;
    }
}

TEST(CipherTest, ChecksEveryOctetOfThePadding) {
    const struct {
        const char* octets;
        std::size_t size;  // of the padding; 0 for none
    } kRows[] = {
        {"4141414141414101", 1}, {"4141414141410202", 2}, {"0808080808080808", 8},
        {"4141414141414100", 0}, {"4141414141410302", 0}, {"0908080808080808", 0},
        {"0708080808080808", 0}, {"0909090909090909", 0}, {"41414141414141ff", 0},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(paddingSize(fromHex(row.octets), 8), row.size) << row.octets;
}

// How many octets other than zero an object leaves where it was.
template <class Object, class Use>
std::size_t countRemains(Use use) {
    alignas(Object) std::array<unsigned char, sizeof(Object)> storage{};
    auto* object = new (storage.data()) Object();
    use(*object);
    object->~Object();
    // The compiler may not assume that the storage still holds what was written into the object.
    asm volatile("" : : "r"(storage.data()) : "memory");
    return storage.size() - static_cast<std::size_t>(std::ranges::count(storage, 0));
}

TEST(CipherTest, LeavesNoSecretsInMemory) {
    const Bytes key = makeKey(16);
    const auto setKey = [&](auto& cipher) { EXPECT_TRUE(cipher.setKey(key)); };
    constexpr std::size_t kFewCounters = 4;
    EXPECT_LE(countRemains<AesDecryptor>(setKey), kFewCounters);
    EXPECT_LE(countRemains<TripleDesDecryptor>(setKey), kFewCounters);
    EXPECT_LE(countRemains<Rc4>(setKey), kFewCounters);
    EXPECT_LE(countRemains<Rc2Decryptor>([&](auto& cipher) { cipher.setKey(key, 128); }),
              kFewCounters);
    const auto update = [&](auto& hash) { hash.update(makeKey(100)); };
    constexpr std::size_t kCountersAndPointer = 2 + sizeof(void*);
    EXPECT_LE(countRemains<Sha256>(update), kCountersAndPointer);
    EXPECT_LE(countRemains<Sha512>(update), kCountersAndPointer);
    EXPECT_LE(countRemains<Sha3_256>(update), kFewCounters);
}

TEST(CipherVectorsTest, AesCbcWithPadding) {
    forEachVector("aes_cbc_pkcs5_test.json", [](const Json&, const Json& test) {
        const auto cipher = make<AesDecryptor>(hexOf(test, "key"), kWholeKey);
        ASSERT_NE(cipher, nullptr);
        DataBuffer plain;
        const bool accepted = cipher->decrypt(hexOf(test, "iv"), hexOf(test, "ct"), plain);
        EXPECT_EQ(accepted, test.at("result") == "valid") << test.at("tcId");
        if (accepted) {
            EXPECT_TRUE(equalBytes(plain.view(), hexOf(test, "msg"))) << test.at("tcId");
        }
    });
}

}  // namespace
}  // namespace certstore
