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
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

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

template <class Cipher>
bool decryptFile(const Row& row, DataBuffer& plain) {
    Cipher cipher;
    EXPECT_TRUE(setKey(cipher, hexOf(row, "key"), std::stoul(row.at("bits"))));
    return decryptCbc(cipher, hexOf(row, "IV"), hexOf(row, "ciphertext"), plain);
}

struct Cipher {
    Bytes (*decrypt)(const Bytes& key, std::size_t effectiveBits, Bytes blocks);
    bool (*decryptFile)(const Row& row, DataBuffer& plain);
};

const Cipher& cipherOf(const Row& row) {
    static const std::map<std::string, Cipher> kCiphers = {
        {"AES", {decryptAll<AesDecryptor>, decryptFile<AesDecryptor>}},
        {"DES", {decryptAll<DesKey>, nullptr}},
        {"3DES", {decryptAll<TripleDesDecryptor>, decryptFile<TripleDesDecryptor>}},
        {"RC2", {decryptAll<Rc2Decryptor>, decryptFile<Rc2Decryptor>}},
    };
    return kCiphers.at(row.at("cipher"));
}

Bytes makeKey(std::size_t size) {
    Bytes key(size);
    for (std::size_t i = 0; i < size; ++i)
        key[i] = static_cast<unsigned char>(0x0f + 7 * i);
    return key;
}

// 4000 octets of the pattern take every table through all of its entries.
void expectKnownStreams() {
    forEachCase("ciphers.tsv", [](const Row& row) {
        const Bytes plain =
            cipherOf(row).decrypt(hexOf(row, "key"), std::stoul(row.at("bits")), makePattern(4000));
        const bool refused = row.at("fingerprint") == "none";
        EXPECT_EQ(plain.empty(), refused);
        EXPECT_TRUE(refused || fingerprint(plain) == hexOf(row, "fingerprint"));
    });
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
        // By `openssl enc -d -rc4-40`.
        EXPECT_EQ(fingerprint(bytes), fromHex("a5d81b66a6434b01f09d1a4374469f3e"));
    }
}

// Those of other ciphers are among the streams.
TEST(CipherTest, RefusesKeysOfWrongSize) {
    EXPECT_TRUE(Rc2Decryptor().setKey(makeKey(128), 1024));
    EXPECT_FALSE(Rc4().setKey({}));
    EXPECT_FALSE(Rc4().setKey(makeKey(257)));
}

TEST(CipherTest, DecryptsFilesInCbcMode) {
    forEachCase("cbc.tsv", [](const Row& row) {
        const std::string text = row.at("text") == "none" ? "" : row.at("text");
        DataBuffer plain;
        plain.append(bytesOf("what was there before"));
        EXPECT_EQ(cipherOf(row).decryptFile(row, plain), !text.empty());
        EXPECT_EQ(textOf(plain.view()), text);
        EXPECT_TRUE(text.empty() || plain.m_secure);
    });
}

// The first 32 octets are a file, that of cbc.tsv; there are no more.
TEST(CipherTest, RefusesFilesThatBuffersCannotCount) {
    const Bytes file = fromHex("eb143e117d63c2a3cec43984ff2296061a1a77537295e19501062f3a414d54a0");
    AesDecryptor cipher;
    ASSERT_TRUE(cipher.setKey(makeKey(32)));
    DataBuffer plain;
    EXPECT_FALSE(
        decryptCbc(cipher, makePattern(16), {file.data(), (std::size_t{1} << 32) + 32}, plain));
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
