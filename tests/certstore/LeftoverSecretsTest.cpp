// What secrets leave in memory: in blocks that are given back, and anywhere once a key is gone.

#include <gtest/gtest.h>

#include "certstore/SystemCerts.h"
#include "support/base/Wipe.h"
#include "support/crypto/Digest.h"
#include "support/encoding/Base64.h"
#include "support/log/LogNull.h"
#include "support/pkcs12/Pkcs12.h"
#include "support/vault/CertMgr.h"
#include "support/x509/PrivateKeyCodec.h"
#include "tests/common/TestFiles.h"
#include "tests/common/WatchedMemory.h"

using certstore::ByteView;

namespace {

constexpr std::string_view kPassword = "a password of some length";
LogNull g_quiet;

// What is secret in a key, of an RSA key all behind its public half; and what Ed25519 makes of it.
void learnKey(ByteView pkcs8) {
    certstore::PrivateKeyInfo info;
    ASSERT_TRUE(readPrivateKeyInfo(pkcs8, info));
    if (info.secret.empty())
        info.secret = {&info.rsa.exponent.back() + 1, &pkcs8.back() + 1};
    auto hash = computeDigest(certstore::DigestAlgorithm::Sha512, info.secret);
    watched::learnSecret(info.secret);
    watched::learnSecret(hash.view());
    certstore::wipe(&hash, sizeof hash);
}

// Who holds a key in the tests below.
struct Holders {
    _zvPublicKey key;
    CertMgr vault;
    SystemCerts store;
};

// Far below on the stack, where what stays there is not overwritten by the search.
[[gnu::noinline]] void callBelow(const std::function<void()>& operation) {
    unsigned char between[1 << 15];
    const certstore::WipeGuard guard(between, sizeof between);
    operation();
}

// `pkcs8` is a key, and is wiped. It is in memory while somebody holds it, and not afterwards.
void expectGone(DataBuffer& pkcs8, const std::function<void(Holders&)>& load) {
    watched::forgetSecrets();
    learnKey(pkcs8.view());
    watched::g_foundWhenFreed = 0;
    {
        Holders holders;
        callBelow([&] { load(holders); });
        pkcs8.secureClear();
        EXPECT_GT(watched::countInProcess(), 0U);
    }
    EXPECT_EQ(watched::countInProcess() + watched::g_foundWhenFreed, 0U);
}

TEST(LeftoverSecrets, NoneIsInMemoryOnceTheKeyIsGone) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer keeps more memory than can be searched";
#endif
    DataBuffer pkcs8;
    pkcs8.m_secure = true;
    constexpr const char* kRows[][3] = {
        {"leaf.key", "leaf.pem", "leaf.key"},
        {"key-ec-encrypted.key", "leaf.pem", "leaf.key"},
        {"key-rsa-traditional.key", "rsa-leaf.pem", "rsa-leaf.key"},
        {"key-rsa-encrypted.key", "rsa-leaf.pem", "rsa-leaf.key"},
        {"pfx-modern.p12", nullptr, "leaf.key"},
        {"pfx-legacy.p12", nullptr, "leaf.key"},
    };
    for (const auto& [source, cert, key] : kRows) {
        SCOPED_TRACE(source);
        DataBuffer file;
        testfiles::loadFile(source, file);
        const std::string pem = std::string(certstore::textOf(file.view()))
            + (cert ? testfiles::readFile(testfiles::data(cert)) : "");
        testfiles::loadPemDer(key, pkcs8);
        expectGone(pkcs8, [&, cert = cert](Holders& holders) {
            bool hidden = false;
            EXPECT_TRUE(cert ? holders.vault.addPem(pem, "password", g_quiet)
                             : holders.vault.addPfx(file, "password", g_quiet));
            holders.store.addCertVault(holders.vault, g_quiet);
            EXPECT_TRUE(holders.store.findFirstPrivateKeyInRepos(pkcs8, nullptr, hidden, g_quiet));
        });
    }
    const std::string pairs = testfiles::readFile(testfiles::data("key-pairs.pem"));
    certstore::PemWalker walker(pairs);
    for (certstore::PemBlock block; walker.next(block);) {
        if (block.label != "PRIVATE KEY")
            continue;
        SCOPED_TRACE(block.offset);
        ASSERT_TRUE(certstore::decodeBase64(block.body, pkcs8));
        expectGone(pkcs8, [&](Holders& holders) {
            EXPECT_TRUE(holders.key.loadPrivateKeyDer(pkcs8, g_quiet));
        });
    }
}

TEST(LeftoverSecrets, NoBlockHoldsThemWhenItIsFreed) {
    DataBuffer pkcs8;
    pkcs8.m_secure = true;
    testfiles::loadPemDer("leaf.key", pkcs8);
    watched::forgetSecrets();
    learnKey(pkcs8.view());
    const std::string pfx = testfiles::readFile(testfiles::data("pfx-long-password.p12"));
    std::string wide;  // as PKCS#12 takes the password
    for (const char c : kPassword)
        wide += std::string(1, '\0') + c;
    watched::learnSecret(certstore::bytesOf(wide));
    watched::learnSecret(certstore::bytesOf(kPassword));
    const auto read = [](const std::string& bytes) {
        DataBuffer file, key;
        Pkcs12 container;
        bool flag = false;
        file.append(certstore::bytesOf(bytes));
        if (container.pkcs12FromDb(file, kPassword.data(), flag, g_quiet)
            && container.get_NumCerts() != 0)
            container.getPkcs12Cert(0, g_quiet)->getPrivateKeyAsDER(key, flag, g_quiet);
    };
    watched::g_foundWhenFreed = 0;
    // With memory that ends at each step; cut, so that it fails at each step; and with a byte
    // changed near the end of each part.
    for (long n = 1; watched::runFailing(n, watched::Failing::Once, [&] { read(pfx); }) != 0; ++n) {
    }
    for (std::size_t at = 0; at < pfx.size(); at += at < 1900 ? 53 : 1) {
        read(pfx.substr(0, at));
        std::string changed = pfx;
        changed[at] = static_cast<char>(changed[at] ^ 1);
        read(changed);
    }
    EXPECT_EQ(watched::g_foundWhenFreed, 0U);

    // The watch itself sees what is not wiped.
    DataBuffer().append(pkcs8.view());
    EXPECT_GT(watched::g_foundWhenFreed, 0U);
}

}  // namespace
