// Every file of tests/data and of the foreign vectors, whole, cut and spoilt, through every reader:
// nothing crashes, leaks or takes long, and what fails says so.

#include <gtest/gtest.h>

#include <ctime>
#include <iostream>

#include "certstore/SystemCerts.h"
#include "support/encoding/Base64.h"
#include "support/encoding/Pem.h"
#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/pkcs12/Pkcs12.h"
#include "support/vault/CertMgr.h"
#include "tests/common/DerText.h"
#include "tests/hostile/Inputs.h"
#include "tests/hostile/Mutator.h"
#include "tests/support/x509/SignatureVectors.h"

namespace {

using certstore::bytesOf;
using certstore::textOf;

struct Seed {
    std::string bytes;
    std::string detail = "password";  // or the label of a PEM block
};

// In a block of just their size, so that the address sanitizer sees a read beyond.
struct Block : DataBuffer {
    explicit Block(const std::string& bytes) { append(bytesOf(bytes)); }
};

double secondsOf(auto work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Gives the seeds, two of them cut at every length, and so many mutations of them to
// read(bytes, seed, log), which tells whether it took them.
template <class Read>
void throwAt(const std::vector<Seed>& seeds, Read read, int mutations = hostile::g_mutations,
             double mostSeconds = 2) {
    Mutator mutator(2);
    double slowest = 0;
    int count = 0, taken = 0;
    const auto run = [&](const std::string& bytes, const Seed& seed) {
        LogText log;
        bool good = false;
        const double seconds = secondsOf([&] {
            Block block(bytes);
            good = read(block, seed, log);
        });
        slowest = std::max(slowest, seconds);
        ++count, taken += good;
        const bool asExpected =
            good == (log.getText().find("ERROR: ") == std::string::npos) && seconds < mostSeconds;
        if (!asExpected)
            ADD_FAILURE() << good << " after " << seconds << " s: " << log.getText()
                          << testing::PrintToString(bytes) << seed.detail;
    };
    for (const Seed& seed : seeds)
        run(seed.bytes, seed);
    for (const Seed* seed : {&seeds.front(), &seeds.back()})
        for (std::size_t size = 0; size < seed->bytes.size(); ++size)
            run(seed->bytes.substr(0, size), *seed);
    for (int i = 0; i < mutations && !testing::Test::HasFailure(); ++i) {
        const Seed& seed = seeds[static_cast<std::size_t>(i) % seeds.size()];
        const bool cut = mutator.below(8) == 0;
        run(cut ? seed.bytes.substr(0, mutator.below(seed.bytes.size()))
                : mutator.mutate(seed.bytes),
            seed);
    }
    std::cout << seeds.size() << " seeds, " << count << " inputs, " << taken
              << " taken, the slowest in " << slowest << " s\n";
}

std::vector<Seed> seedsOf(const std::vector<std::string>& files) {
    std::vector<Seed> seeds;
    for (const std::string& file : files)
        seeds.push_back({file});
    return seeds;
}

// A certificate that is taken can be read, and its signature verifies only if it was not changed.
TEST(HostileFiles, Certificates) {
    SystemCertsHolder store;
    throwAt(seedsOf(hostile::certificates()),
            [&](DataBuffer& bytes, const Seed& seed, LogText& log) {
                LogNull quiet;
                const auto holder = testfiles::parseCert(bytes.view(), log);
                const auto original = testfiles::parseCert(bytesOf(seed.bytes), quiet);
                EXPECT_EQ(store.getSystemCertsPtr()->addCertDer(bytes, quiet), holder != nullptr);
                EXPECT_EQ(std::ranges::count(log.getText(), '\n'), holder ? 0 : 1) << log.getText();
                if (!holder || !original)
                    return holder != nullptr;
                XString text;
                testfiles::certOf(holder).getSubjectDN(text, quiet);
                testfiles::certOf(holder).getSubjectPart("CN", text, quiet);
                testfiles::certOf(holder).getEmailAddress(text, quiet);
                const bool changed = textOf(bytes.view()) != seed.bytes;
                EXPECT_FALSE(changed
                             && testfiles::certOf(holder).verifyCertSignature(
                                 &testfiles::certOf(original), quiet));
                return true;
            });
}

// Enough for the 2048 iterations that most tools write, and soon done.
certstore::Pkcs12Limits smallLimits() {
    certstore::Pkcs12Limits limits;
    limits.kdfWork = 30'000;
    limits.scryptMemory = 1 << 20;
    return limits;
}

bool readPem(std::string_view pem, LogText& log) {
    CertMgr vault(smallLimits());
    return vault.addPem(pem, "password", log);
}

TEST(HostileFiles, PemTexts) {
    std::vector<std::string> files = hostile::filesOf(testfiles::vectors() / "bundles");
    std::ranges::copy(hostile::filesOf(testfiles::data("")), std::back_inserter(files));
    throwAt(seedsOf(files), [](const DataBuffer& bytes, const Seed&, LogText& log) {
        return readPem(textOf(bytes.view()), log);
    });
}

// With a MAC, changes are seen before anything else is read.
std::string withoutMac(const std::string& pfx) {
    certstore::DerReader reader(bytesOf(pfx)), inner;
    certstore::ByteView version, content, safes;
    unsigned char tag;
    if (!reader.readSequence(inner) || !inner.readInteger(version)
        || !inner.readAny(tag, content, safes))
        return pfx;
    return dertext::sequence(dertext::der(2, std::string(textOf(version)))
                             + std::string(textOf(safes)));
}

std::vector<Seed> containers() {
    std::vector<Seed> seeds = seedsOf(hostile::filesOf(testfiles::data(""), ".p12"));
    if (!testfiles::vectors().empty())
        for (const auto& row : testfiles::readTable(testfiles::vectors() / "p12.tsv"))
            seeds.push_back({testfiles::readFile(testfiles::vectors() / "p12" / row.at("file")),
                             testfiles::textCell(row.at("password"))});
    return seeds;
}

bool readPfx(const DataBuffer& pfx, const Seed& seed, const certstore::Pkcs12Limits& limits,
             LogText& log) {
    Pkcs12 container(limits);
    bool macVerified = false;
    const bool good = container.pkcs12FromDb(
        pfx, seed.detail == "(null)" ? nullptr : seed.detail.c_str(), macVerified, log);
    EXPECT_EQ(testfiles::errorsIn(log.getText()).find('|'), std::string::npos) << log.getText();
    EXPECT_TRUE(good || container.get_NumCerts() + container.get_NumPrivateKeys() == 0);
    return good;
}

TEST(HostileFiles, Pkcs12) {
    std::vector<Seed> seeds = containers();
    for (std::size_t i = 0, size = seeds.size(); i < size; ++i)
        seeds.push_back({withoutMac(seeds[i].bytes), seeds[i].detail});
    throwAt(seeds, [](const DataBuffer& bytes, const Seed& seed, LogText& log) {
        return readPfx(bytes, seed, smallLimits(), log);
    });
    // Some also within the limits that users have: bombs are refused, or tame.
    std::vector<Seed> few;
    for (std::size_t i = 0; i < seeds.size(); i += 16)
        few.push_back(seeds[i]);
    throwAt(
        few,
        [](const DataBuffer& bytes, const Seed& seed, LogText& log) {
            return readPfx(bytes, seed, {}, log);
        },
        hostile::g_mutations / 10, 60);
}

TEST(HostileFiles, PrivateKeys) {
    std::vector<Seed> seeds;
    for (const std::string& text : hostile::filesOf(testfiles::data(""))) {
        certstore::PemWalker blocks(text);
        certstore::PemBlock block;
        for (DataBuffer der; blocks.next(block); der.clear())
            if (block.label.ends_with("PRIVATE KEY") && certstore::decodeBase64(block.body, der))
                seeds.push_back({std::string(textOf(der.view())), std::string(block.label)});
    }
    throwAt(seeds, [](const DataBuffer& bytes, const Seed& seed, LogText& log) {
        StringBuffer base64;
        certstore::appendBase64(base64, bytes.view());
        return readPem("-----BEGIN " + seed.detail + "-----\n" + base64.getString() + "\n-----END "
                           + seed.detail + "-----\n",
                       log);
    });
}

Bytes mutated(Mutator& mutator, const Bytes& bytes) {
    const std::string changed = mutator.mutate(std::string(bytes.begin(), bytes.end()));
    return Bytes(changed.begin(), changed.end());
}

TEST(HostileFiles, Signatures) {
    constexpr std::size_t kValidVectors = 2000;  // or so
    Mutator mutator(3);
    int count = 0;
    double slowest = 0;
    const auto attack = [&](const Json& group, const Json& test) {
        certstore::PublicKeyInfo key, otherKey;
        const Bytes spki = hexOf(group, "publicKeyDer"), signature = hexOf(test, "sig");
        const Bytes badKey = mutated(mutator, spki), bad = mutated(mutator, signature);
        ASSERT_TRUE(readPublicKeyInfo(spki, key));
        // Under a key made to give an r of one byte, a second s is good, or each.
        const bool isMade = signature[0] == 0x30 && signature[3] == 1;
        EXPECT_TRUE(!verifyVector(group, test, bad, key) || bad == signature || isMade)
            << test << testing::PrintToString(bad);
        if (readPublicKeyInfo(badKey, otherKey))
            verifyVector(group, test, signature, otherKey);
        ++count;
    };
    for (const char* prefix : {"dsa_", "ecdsa_", "ed", "mldsa_", "rsa_"})
        forEachVector(prefix, [&](const Json& group, const Json& test) {
            if (!certstore::isSupported(group, test) || test.at("result") != "valid")
                return;
            std::size_t times =
                (static_cast<std::size_t>(hostile::g_mutations) + mutator.below(kValidVectors))
                / kValidVectors;
            for (; times > 0; --times)
                slowest = std::max(slowest, secondsOf([&] { attack(group, test); }));
        });
    std::cout << count << " signatures and keys, the slowest in " << slowest << " s\n";
    EXPECT_LT(slowest, 2);
}

}  // namespace
