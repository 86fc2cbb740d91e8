#include <gtest/gtest.h>

#include "support/encoding/Base64.h"
#include "support/encoding/Pem.h"
#include "support/log/LogText.h"
#include "support/x509/KeyMatch.h"
#include "support/x509/PublicKey.h"
#include "tests/common/DerText.h"
#include "tests/common/TestFiles.h"

namespace {

using certstore::bytesOf;
using certstore::KeyMatch;
using certstore::OidBytes;
using namespace dertext;

struct KeyPair {
    Bytes pkcs8, spki;
};

Bytes decode(std::string_view base64) {
    DataBuffer der;
    EXPECT_TRUE(certstore::decodeBase64(base64, der));
    return Bytes(certstore::textOf(der.view()));
}

// Private keys of every kind without public half, several of a kind among them, and their public
// keys.
std::vector<KeyPair> readPairs() {
    const std::string text = testfiles::readFile(testfiles::data("key-pairs.pem"));
    certstore::PemWalker walker(text);
    certstore::PemBlock privateKey, publicKey;
    std::vector<KeyPair> pairs;
    while (walker.next(privateKey) && walker.next(publicKey))
        pairs.push_back({decode(privateKey.body), decode(publicKey.body)});
    return pairs;
}

// Empty when the key is loaded, else the error.
Bytes load(const Bytes& pkcs8, _zvPublicKey& key) {
    DataBuffer der, out;
    der.append(bytesOf(pkcs8));
    LogText log;
    bool notExportable = false;
    const bool loaded = key.loadPrivateKeyDer(der, log);
    EXPECT_EQ(loaded, log.getText().empty());
    EXPECT_EQ(key.getPrivateKeyDer(out, notExportable), loaded);
    EXPECT_EQ(out.equals(der), loaded) << "not handed out as it was loaded";
    return log.getText();
}

TEST(PublicHalf, OfEveryKindIsComputedAndFitsNoOtherKey) {
    const std::vector<KeyPair> pairs = readPairs();
    ASSERT_EQ(pairs.size(), 19U);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        _zvPublicKey key;
        EXPECT_EQ(load(pairs[i].pkcs8, key), "") << i;
        for (std::size_t j = 0; j < pairs.size(); ++j) {
            const _zvPublicKey publicKey(bytesOf(pairs[j].spki));
            EXPECT_EQ(publicKey.match(key), i == j ? KeyMatch::Same : KeyMatch::Different)
                << i << " and " << j;
        }
    }
}

// PKCS#8 of version 0, or of version 1 with a public half.
Bytes pkcs8(const Bytes& algorithm, const Bytes& key, const Bytes& publicHalf = "") {
    const Bytes tail = publicHalf.empty() ? "" : der(0x81, Bytes(1, '\0') + publicHalf);
    const Bytes version = der(0x02, {static_cast<char>(!tail.empty())});
    return sequence(version + sequence(algorithm) + octets(key) + tail);
}

// An ECPrivateKey; `tail` are its optional fields.
Bytes ecKey(const Bytes& scalar, const Bytes& tail = "") {
    return sequence(der(0x02, "\x01") + octets(scalar) + tail);
}

TEST(PublicHalf, InTheEncodingIsNotBelieved) {
    const Bytes p256 = oid(OidBytes("1.2.840.10045.3.1.7")), p384 = oid(OidBytes("1.3.132.0.34"));
    const Bytes ec = oid(OidBytes("1.2.840.10045.2.1")), ed = oid(OidBytes("1.3.101.112"));
    const std::vector<KeyPair> pairs = readPairs();
    const KeyPair &ecPair = pairs[2], &edPair = pairs[12];
    const Bytes scalar = ecPair.pkcs8.substr(35), point = ecPair.spki.substr(26);
    const Bytes seed = edPair.pkcs8.substr(14), edPublic = edPair.spki.substr(12);
    const Bytes y = point.substr(33),
                compressed = Bytes(1, y.back() & 1 ? 3 : 2) + point.substr(1, 32);
    const auto bits = [](const Bytes& bytes) {
        return der(0xa1, der(0x03, Bytes(1, '\0') + bytes));
    };
    const auto changed = [](Bytes bytes) {
        bytes.back() ^= 1;
        return bytes;
    };
    constexpr const char* kWrong = "ERROR: The private key's public half does not belong to it.\n";
    constexpr const char* kRange = "ERROR: The private key is out of range for its kind.\n";
    constexpr const char* kMalformed = "ERROR: Not an unencrypted PKCS#8 private key.\n";
    const std::tuple<const char*, Bytes, const char*> kCases[] = {
        {"EC, the right one", pkcs8(ec + p256, ecKey(scalar, bits(point))), ""},
        {"EC, the right one compressed", pkcs8(ec + p256, ecKey(scalar, bits(compressed))), ""},
        {"EC, a wrong one", pkcs8(ec + p256, ecKey(scalar, bits(changed(point)))), kWrong},
        {"EC, behind the key", pkcs8(ec + p256, ecKey(scalar), changed(point)), kWrong},
        {"EC, a scalar too large", pkcs8(ec + p256, ecKey(Bytes(32, '\xff'))), kRange},
        {"EC, the curve inside", pkcs8(ec, ecKey(scalar, der(0xa0, p256))), ""},
        {"EC, two curves", pkcs8(ec + p384, ecKey(scalar, der(0xa0, p256))), kMalformed},
        {"Ed25519, the right one", pkcs8(ed, seed, edPublic), ""},
        {"Ed25519, a wrong one", pkcs8(ed, seed, changed(edPublic)), kWrong},
        {"Ed25519, too short", pkcs8(ed, octets(Bytes(31, 'x'))), kRange},
        {"Ed25519, not wrapped", pkcs8(ed, seed.substr(2)), kMalformed},
    };
    for (const auto& [sentence, pkcs8, error] : kCases) {
        _zvPublicKey key;
        EXPECT_EQ(load(pkcs8, key), error) << sentence;
        const _zvPublicKey publicKey(bytesOf(sentence[1] == 'C' ? ecPair.spki : edPair.spki));
        EXPECT_EQ(publicKey.match(key), *error ? KeyMatch::Unknown : KeyMatch::Same) << sentence;
    }
}

// Keys of no size that FIPS 204 and 205 know are carried, too.
TEST(PublicHalf, OfPostQuantumKeysIsTakenWhereTheyHoldIt) {
    const Bytes lattice = oid(OidBytes("2.16.840.1.101.3.4.3.17"));
    const Bytes hashes = oid(OidBytes("2.16.840.1.101.3.4.3.20"));
    const Bytes half(32, 'p'), other(32, 'o'), secret(32, 's'), seed = der(0x80, secret);
    const std::tuple<const char*, Bytes, Bytes, KeyMatch> kCases[] = {
        {"ML-DSA, the seed alone", lattice, pkcs8(lattice, seed), KeyMatch::Unknown},
        {"ML-DSA, with its public half", lattice, pkcs8(lattice, seed, half), KeyMatch::Same},
        {"ML-DSA, with another", lattice, pkcs8(lattice, seed, other), KeyMatch::Different},
        {"SLH-DSA", hashes, pkcs8(hashes, secret + half), KeyMatch::Same},
        {"SLH-DSA, twice the same", hashes, pkcs8(hashes, secret + half, half), KeyMatch::Same},
        {"SLH-DSA, wrapped", hashes, pkcs8(hashes, octets(secret + half)), KeyMatch::Unknown},
    };
    for (const auto& [sentence, algorithm, privateKey, match] : kCases) {
        const Bytes spki = sequence(sequence(algorithm) + der(0x03, Bytes(1, '\0') + half));
        _zvPublicKey key;
        EXPECT_EQ(load(privateKey, key), "") << sentence;
        EXPECT_EQ(_zvPublicKey(bytesOf(spki)).match(key), match) << sentence;
    }
    _zvPublicKey key;
    EXPECT_EQ(load(pkcs8(hashes, secret + half, other), key),
              "ERROR: The private key's public half does not belong to it.\n");
}

}  // namespace
