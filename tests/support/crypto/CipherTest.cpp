#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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
#include "tests/support/crypto/Bytes.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

constexpr std::size_t kWholeKey = 0;

template <class Cipher>
bool setKey(Cipher& cipher, const Bytes& key, std::size_t effectiveBits) {
    if constexpr (std::is_same_v<Cipher, Rc2Decryptor>)
        return cipher.setKey(key, effectiveBits);
    else
        return cipher.setKey(key);
}

// Empty when the key is refused.
template <class Cipher>
Bytes decryptAll(const Bytes& key, std::size_t effectiveBits, Bytes blocks) {
    Cipher cipher;
    if (!setKey(cipher, key, effectiveBits))
        return {};
    for (std::size_t at = 0; at < blocks.size(); at += Cipher::kBlockSize)
        cipher.decryptBlock(&blocks[at], &blocks[at]);
    return blocks;
}

// With an IV from the pattern.
template <class Cipher>
bool decryptFile(const Bytes& key, std::size_t effectiveBits, ByteView ciphertext,
                 DataBuffer& plain) {
    Cipher cipher;
    EXPECT_TRUE(setKey(cipher, key, effectiveBits));
    plain.append(bytesOf("what was there before"));
    return decryptCbc(cipher, makePattern(Cipher::kBlockSize), ciphertext, plain);
}

Bytes makeKey(std::size_t size) {
    Bytes key(size);
    for (std::size_t i = 0; i < size; ++i)
        key[i] = static_cast<unsigned char>(0x0f + 7 * i);
    return key;
}

// A key of the octets 0f, 16, 1d .., 7 apart, and 16 octets of the SHA-256 of what it decrypts 4000
// octets of the pattern to, which takes every table through all of its entries. Computed with
//   openssl enc -d -provider legacy -provider default -<cipher>-ecb -K <key> -nopad | sha256sum
using Decrypt = Bytes (*)(const Bytes& key, std::size_t effectiveBits, Bytes blocks);
constexpr std::tuple<const char*, Decrypt, std::size_t, std::size_t, const char*> kStreams[] = {
    {"aes-128", decryptAll<AesDecryptor>, 16, kWholeKey, "d13be40f32e26e5912cc3943494803dc"},
    {"aes-192", decryptAll<AesDecryptor>, 24, kWholeKey, "7eb8e7e9c52c505ecac2c87ddf6b25e2"},
    {"aes-256", decryptAll<AesDecryptor>, 32, kWholeKey, "bac72749378bf9e1793933475c1aaae1"},
    {"des", decryptAll<DesKey>, 8, kWholeKey, "3b16c1acd0303a5e78ac52d1bc22014e"},
    {"des-ede", decryptAll<TripleDesDecryptor>, 16, kWholeKey, "6d808a0d81da4129051e344c354e3550"},
    {"des-ede3", decryptAll<TripleDesDecryptor>, 24, kWholeKey, "0d8691518e22fea2d2946757de7fbe9c"},
    {"rc2", decryptAll<Rc2Decryptor>, 16, 128, "2bc0b0aa87e279fd5dd74587eb13b204"},
};

void expectKnownStreams() {
    for (const auto& [what, decrypt, keySize, bits, known] : kStreams)
        EXPECT_EQ(fingerprint(decrypt(makeKey(keySize), bits, makePattern(4000))), fromHex(known))
            << what;
}

TEST(CipherTest, DecryptsByTheBestCodeForThisProcessor) {
    expectKnownStreams();
}

TEST(CipherTest, DecryptsByPortableCode) {
    hideInstructions(true);
    expectKnownStreams();
    hideInstructions(false);
}

TEST(CipherTest, Rc2KeysMayHaveAnyNumberOfBits) {
    const auto decrypt = [](const char* key, std::size_t bits, const char* block) {
        return decryptAll<Rc2Decryptor>(fromHex(key), bits, fromHex(block));
    };
    EXPECT_EQ(decrypt("0000000000000000", 63, "ebb773f993278eff"), Bytes(8)) << "RFC 2268";
    EXPECT_EQ(decrypt("88bca90e90875a7f0f79c384627bafb216f80a6f85920584c42fceb0be255daf1e", 129,
                      "5b78d3a43dfff1f1"),
              Bytes(8));
}

TEST(CipherTest, Rc4DecryptsInPieces) {
    Rc4 cipher;
    for (int again = 0; again < 2; ++again) {
        Bytes bytes = makePattern(4000);
        ASSERT_TRUE(cipher.setKey(makeKey(5)));
        cipher.apply(ByteView(bytes).first(1), bytes);
        const std::span<unsigned char> rest = std::span(bytes).subspan(1);
        cipher.apply({}, rest);
        cipher.apply(rest, rest);
        // As above, with -rc4-40.
        EXPECT_EQ(fingerprint(bytes), fromHex("a5d81b66a6434b01f09d1a4374469f3e"));
    }
}

TEST(CipherTest, RefusesKeysOfWrongSize) {
    const auto takes = [](auto decrypt, std::size_t keySize, std::size_t bits = kWholeKey) {
        return !decrypt(makeKey(keySize), bits, Bytes(16)).empty();
    };
    for (const std::size_t size : {0u, 15u, 17u, 33u})
        EXPECT_FALSE(takes(decryptAll<AesDecryptor>, size)) << size;
    for (const std::size_t size : {0u, 7u, 9u})
        EXPECT_FALSE(takes(decryptAll<DesKey>, size)) << size;
    for (const std::size_t size : {8u, 15u, 23u, 25u})
        EXPECT_FALSE(takes(decryptAll<TripleDesDecryptor>, size)) << size;
    for (const auto& [size, bits] : {std::pair(0u, 64u), {129u, 64u}, {8u, 0u}, {8u, 1025u}})
        EXPECT_FALSE(takes(decryptAll<Rc2Decryptor>, size, bits)) << size << ", " << bits;
    EXPECT_TRUE(takes(decryptAll<Rc2Decryptor>, 128, 1024));
    EXPECT_FALSE(Rc4().setKey({}));
    EXPECT_FALSE(Rc4().setKey(makeKey(257)));
}

// "Secrets of twenty-one" under makeKey(), by `openssl enc -e` with -aes-256-cbc and so on.
constexpr char kAesFile[] = "eb143e117d63c2a3cec43984ff2296061a1a77537295e19501062f3a414d54a0";

TEST(CipherTest, DecryptsFilesInCbcMode) {
    const auto expectText = [](auto decrypt, std::size_t keySize, std::size_t bits,
                               const char* ciphertext) {
        DataBuffer plain;
        EXPECT_TRUE(decrypt(makeKey(keySize), bits, fromHex(ciphertext), plain)) << ciphertext;
        EXPECT_EQ(textOf(plain.view()), "Secrets of twenty-one") << ciphertext;
        EXPECT_TRUE(plain.m_secure);
    };
    expectText(decryptFile<AesDecryptor>, 32, kWholeKey, kAesFile);
    expectText(decryptFile<TripleDesDecryptor>, 24, kWholeKey,
               "1f740d05b50740140ca74be3c835c3cf6a80f4b1ce552c02");
    expectText(decryptFile<Rc2Decryptor>, 5, 40,
               "3477b537cc4821683032ea0b4ef1e617cb2a1bd725165906");
}

TEST(CipherTest, RefusesFilesOfWrongSize) {
    const Bytes whole = fromHex(kAesFile);
    const std::tuple<const char*, Bytes, Bytes> kRows[] = {
        {"one block: no padding", makePattern(16), Bytes(whole.begin(), whole.begin() + 16)},
        {"part of a block", makePattern(16), Bytes(whole.begin(), whole.end() - 1)},
        {"nothing", makePattern(16), {}},
        {"short IV", makePattern(15), whole},
        {"long IV", makePattern(17), whole},
    };
    AesDecryptor cipher;
    ASSERT_TRUE(cipher.setKey(makeKey(32)));
    for (const auto& [what, iv, ciphertext] : kRows) {
        DataBuffer plain;
        plain.append(bytesOf("what was there before"));
        EXPECT_FALSE(decryptCbc(cipher, iv, ciphertext, plain)) << what;
        EXPECT_EQ(plain.getSize(), 0u) << what;
    }
}

// The first 32 octets are a file; there are no more.
TEST(CipherTest, RefusesFilesThatBuffersCannotCount) {
    const Bytes whole = fromHex(kAesFile);
    AesDecryptor cipher;
    ASSERT_TRUE(cipher.setKey(makeKey(32)));
    DataBuffer plain;
    EXPECT_FALSE(decryptCbc(cipher, makePattern(16),
                            {whole.data(), (std::size_t{1} << 32) + whole.size()}, plain));
}

TEST(CipherTest, ChecksEveryOctetOfThePadding) {
    const std::pair<const char*, std::size_t> kRows[] = {
        {"4141414141410202", 2}, {"0808080808080808", 8}, {"4141414141414100", 0},
        {"4141414141410302", 0}, {"0908080808080808", 0}, {"41414141414141090909090909090909", 0},
    };
    for (const auto& [octets, size] : kRows)
        EXPECT_EQ(paddingSize(fromHex(octets), 8), size) << octets;
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
        AesDecryptor cipher;
        ASSERT_TRUE(cipher.setKey(hexOf(test, "key")));
        DataBuffer plain;
        const bool accepted = decryptCbc(cipher, hexOf(test, "iv"), hexOf(test, "ct"), plain);
        expectResult(test, accepted);
        EXPECT_TRUE(!accepted || equalBytes(plain.view(), hexOf(test, "msg"))) << test.at("tcId");
    });
}

}  // namespace
}  // namespace certstore
