// What is in memory when it is given back. A program of its own: it replaces operator new.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <span>
#include <string>
#include <vector>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/crypto/Pbkdf2.h"
#include "support/log/LogText.h"
#include "support/pkcs12/Pkcs12.h"
#include "tests/common/TestFiles.h"

namespace {

// A run of bytes that no block may hold when it is freed. Fixed arrays: what watches the allocator
// must not allocate.
constexpr std::size_t kSecretSize = 16;
std::array<unsigned char, kSecretSize> g_secrets[256];
std::size_t g_secretCount = 0;
std::size_t g_found = 0, g_scanned = 0;
bool g_watching = false;

constexpr std::size_t kHeader = 16;

void scan(const unsigned char* block, std::size_t size) noexcept {
    ++g_scanned;
    for (const auto& secret : std::span(g_secrets, g_secretCount))
        g_found += std::search(block, block + size, secret.begin(), secret.end()) != block + size;
}

void addSecret(certstore::ByteView bytes) {
    for (std::size_t at = 0; at + kSecretSize <= bytes.size(); at += 8)
        std::copy_n(&bytes[at], kSecretSize, g_secrets[g_secretCount++].begin());
}

// Not inline: the compiler would compare the two ends of a block that it must not know.
[[gnu::noinline]] void giveBack(void* place) noexcept {
    if (!place)
        return;
    auto* block = static_cast<unsigned char*>(place) - kHeader;
    if (g_watching)
        scan(block + kHeader, *reinterpret_cast<std::size_t*>(block));
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
    auto* block = static_cast<unsigned char*>(std::malloc(size + kHeader));
    if (!block)
        throw std::bad_alloc();
    *reinterpret_cast<std::size_t*>(block) = size;
    return block + kHeader;
}

// The forms for arrays too: under sanitizers they do not come through the above by themselves.
// clang-format off
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* place) noexcept { giveBack(place); }
void operator delete[](void* place) noexcept { giveBack(place); }
void operator delete[](void* place, std::size_t) noexcept { giveBack(place); }
void operator delete(void* place, std::size_t) noexcept { giveBack(place); }
// clang-format on

namespace {

// The bytes of the private key, the password in its two forms, and the keys derived from it.
void learnSecrets(certstore::ByteView pfx, const std::string& password) {
    DataBuffer pkcs8;
    testfiles::loadPemDer("leaf.key", pkcs8);
    // Behind 36 bytes that are the same in all EC keys of this kind.
    addSecret(pkcs8.view().subspan(36, 32));
    std::string wide;
    for (const char c : password)
        wide += std::string(1, '\0') + c;
    addSecret(certstore::bytesOf(wide));
    addSecret(certstore::bytesOf(password));
    constexpr certstore::OidBytes kPbkdf2("1.2.840.113549.1.5.12");
    for (auto at = pfx.begin();;) {
        const auto oid = kPbkdf2.view();
        at = std::search(at, pfx.end(), oid.begin(), oid.end());
        if (at == pfx.end())
            break;
        at += static_cast<std::ptrdiff_t>(oid.size());
        certstore::DerReader rest(pfx.subspan(static_cast<std::size_t>(at - pfx.begin())));
        certstore::DerReader parameters;
        certstore::ByteView salt;
        ASSERT_TRUE(rest.readSequence(parameters)
                    && parameters.read(certstore::DerTag::OctetString, salt));
        unsigned char key[32];
        ASSERT_TRUE(derivePbkdf2(certstore::DigestAlgorithm::Sha256, certstore::bytesOf(password),
                                 salt, 1, key));
        addSecret(key);
    }
}

TEST(LeftoverSecrets, NoBlockHoldsThemWhenItIsFreed) {
    const std::string password = "a password of some length";
    DataBuffer pfx;
    testfiles::loadFile("pfx-long-password.p12", pfx);
    learnSecrets(pfx.view(), password);
    ASSERT_GT(g_secretCount, 8U);

    // Whole; cut, so that it fails at every step; and with a byte changed near the end of each
    // part.
    for (unsigned int cut = 0; cut < pfx.getSize(); cut += cut < 1900 ? 53 : 1) {
        for (const bool changed : {false, true}) {
            DataBuffer damaged;
            damaged.append(pfx.getData2(), pfx.getSize() - (changed ? 0 : cut));
            if (changed) {
                damaged.shrink(cut);
                damaged.appendByte(static_cast<unsigned char>(pfx.getData2()[cut] ^ 1));
                damaged.append(pfx.getData2() + cut + 1, pfx.getSize() - cut - 1);
            }
            g_watching = true;
            {
                Pkcs12 container;
                LogText log;
                DataBuffer key;
                bool flag = false;
                if (container.pkcs12FromDb(damaged, password.c_str(), flag, log)
                    && container.get_NumCerts() != 0)
                    container.getPkcs12Cert(0, log)->getPrivateKeyAsDER(key, flag, log);
            }
            g_watching = false;
        }
    }
    EXPECT_EQ(g_found, 0U);
    EXPECT_GT(g_scanned, 1000U);

    // The watch itself sees what is not wiped.
    g_watching = true;
    {
        DataBuffer careless;
        careless.append(g_secrets[0]);
    }
    g_watching = false;
    EXPECT_EQ(g_found, 1U);
}

}  // namespace
