#include <gtest/gtest.h>

#include "support/encoding/Base64.h"
#include "support/encoding/Pem.h"
#include "support/log/LogText.h"
#include "support/x509/KeyMatch.h"
#include "support/x509/PublicKey.h"
#include "tests/support/Cases.h"

namespace {

using certstore::KeyMatch;

struct KeyPair {
    Bytes pkcs8, spki;
};

Bytes decode(std::string_view base64) {
    DataBuffer der;
    EXPECT_TRUE(certstore::decodeBase64(base64, der));
    return toBytes(der.view());
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
std::string load(const Bytes& pkcs8, _zvPublicKey& key) {
    DataBuffer der, out;
    der.append(pkcs8);
    LogText log;
    bool notExportable = false;
    const bool loaded = key.loadPrivateKeyDer(der, log);
    EXPECT_EQ(loaded, log.getText().empty());
    EXPECT_EQ(key.getPrivateKeyDer(out, notExportable), loaded);
    EXPECT_EQ(out.equals(der), loaded) << "not handed out as it was loaded";
    const std::string errors = testfiles::errorsIn(log.getText());
    EXPECT_EQ(_zvPublicKey().takePrivateKeyFrom(key, log), loaded);
    return errors;
}

TEST(PublicHalf, OfEveryKindIsComputedAndFitsNoOtherKey) {
    const std::vector<KeyPair> pairs = readPairs();
    ASSERT_EQ(pairs.size(), 19U);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        _zvPublicKey key;
        EXPECT_EQ(load(pairs[i].pkcs8, key), "") << i;
        for (std::size_t j = 0; j < pairs.size(); ++j) {
            const _zvPublicKey publicKey(pairs[j].spki);
            EXPECT_EQ(publicKey.match(key), i == j ? KeyMatch::Same : KeyMatch::Different)
                << i << " and " << j;
        }
    }
}

// A public half in the encoding of a private key is not believed, but where nothing is computed:
// that of SLH-DSA. Keys of no size that FIPS 204 and 205 know are carried, too.
TEST(PublicHalf, InTheEncodingIsChecked) {
    const std::map<std::string, KeyMatch> kMatches = {{"Same", KeyMatch::Same},
                                                      {"Different", KeyMatch::Different},
                                                      {"Unknown", KeyMatch::Unknown}};
    forEachCase("public-halves.tsv", [&](const Row& row) {
        _zvPublicKey key;
        EXPECT_EQ(load(hexOf(row, "private key"), key), row.at("errors"));
        const Bytes publicKey = hexOf(row, "public key");
        EXPECT_EQ(_zvPublicKey(publicKey).match(key), kMatches.at(row.at("match")));
    });
}

}  // namespace
