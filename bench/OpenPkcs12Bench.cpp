// Opening a PKCS#12 file: bytes in, certificates and private key out, the MAC checked. Each library
// by the calls that its users use. "key derivation" is its share in ours: the same derivations
// alone.

#include "bench/common/Bench.h"
#include "support/crypto/Pbkdf2.h"
#include "support/crypto/Pkcs12Kdf.h"
#include "support/log/LogNull.h"
#include "support/pkcs12/Pkcs12.h"

#ifdef CERTSTORE_HAS_LIBCRYPTO
#include <openssl/pkcs12.h>
#include <openssl/provider.h>
#endif
#ifdef CERTSTORE_HAS_GNUTLS
#include <gnutls/gnutls.h>
#include <gnutls/pkcs12.h>
#endif

using namespace certbench;

namespace {

constexpr const char* kPassword = "password";

enum Defaults { Modern, Legacy };

bool openWithCertstore(const std::string& bytes) {
    DataBuffer pfx;
    pfx.append(certstore::bytesOf(bytes));
    LogNull log;
    Pkcs12 container;
    bool macVerified = false;
    return container.pkcs12FromDb(pfx, kPassword, macVerified, log)
        && container.get_NumPrivateKeys() == 1 && container.get_NumCerts() == 3;
}

// The derivations of the two files: a MAC key of 32 or 20 bytes, and for the safe and the key
// either 32 bytes by PBKDF2 or 5 and 24 bytes and two IVs by PKCS#12's own.
bool deriveKeys(Defaults defaults) {
    using certstore::DigestAlgorithm;
    using certstore::Pkcs12Purpose;
    const unsigned char wide[18] = {0, 'p', 0, 'a', 0, 's', 0, 's', 0, 'w', 0, 'o', 0, 'r', 0, 'd'};
    const auto salt = certstore::bytesOf("saltsalt");
    unsigned char key[32];
    const std::span<unsigned char> all(key);
    const auto derive = [&](DigestAlgorithm digest, Pkcs12Purpose purpose, std::size_t size) {
        return derivePkcs12(digest, purpose, wide, salt, 2048, all.first(size));
    };
    bool good = true;
    if (defaults == Modern) {
        good = derive(DigestAlgorithm::Sha256, Pkcs12Purpose::MacKey, 32);
        for (int part = 0; part < 2; ++part)
            good = good
                && derivePbkdf2(DigestAlgorithm::Sha256, certstore::bytesOf(kPassword), salt, 2048,
                                all);
    } else {
        good = derive(DigestAlgorithm::Sha1, Pkcs12Purpose::MacKey, 20)
            && derive(DigestAlgorithm::Sha1, Pkcs12Purpose::Key, 5)
            && derive(DigestAlgorithm::Sha1, Pkcs12Purpose::Iv, 8)
            && derive(DigestAlgorithm::Sha1, Pkcs12Purpose::Key, 24)
            && derive(DigestAlgorithm::Sha1, Pkcs12Purpose::Iv, 8);
    }
    benchmark::DoNotOptimize(key);
    return good;
}

#ifdef CERTSTORE_HAS_LIBCRYPTO
bool openWithLibcrypto(const std::string& bytes) {
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    PKCS12* pfx = d2i_PKCS12(nullptr, &at, static_cast<long>(bytes.size()));
    EVP_PKEY* key = nullptr;
    X509* cert = nullptr;
    STACK_OF(X509)* others = nullptr;
    const bool good = PKCS12_parse(pfx, kPassword, &key, &cert, &others) == 1;
    sk_X509_pop_free(others, X509_free);
    X509_free(cert);
    EVP_PKEY_free(key);
    PKCS12_free(pfx);
    return good;
}
#endif

#ifdef CERTSTORE_HAS_GNUTLS
bool openWithGnutls(const std::string& bytes) {
    gnutls_datum_t data{reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())),
                        static_cast<unsigned int>(bytes.size())};
    gnutls_pkcs12_t pfx = nullptr;
    gnutls_x509_privkey_t key = nullptr;
    gnutls_x509_crt_t* chain = nullptr;
    unsigned int count = 0;
    gnutls_pkcs12_init(&pfx);
    const bool good = gnutls_pkcs12_import(pfx, &data, GNUTLS_X509_FMT_DER, 0) == 0
        && gnutls_pkcs12_verify_mac(pfx, kPassword) == 0
        && gnutls_pkcs12_simple_parse(pfx, kPassword, &key, &chain, &count, nullptr, nullptr,
                                      nullptr, 0)
            == 0;
    for (unsigned int i = 0; i < count; ++i)
        gnutls_x509_crt_deinit(chain[i]);
    gnutls_free(chain);
    gnutls_x509_privkey_deinit(key);
    gnutls_pkcs12_deinit(pfx);
    return good;
}
#endif

void measureFile(const std::string& kind, const std::string& file, Defaults defaults) {
    const std::string workload = "open PKCS#12, " + kind, bytes = readTestFile(file);
    const auto failed = [] { return "does not open"; };
    measure(
        workload, kOurs, [=] { return openWithCertstore(bytes); }, failed);
#ifdef CERTSTORE_HAS_LIBCRYPTO
    measure(
        workload, libcryptoName(), [=] { return openWithLibcrypto(bytes); }, failed);
#endif
#ifdef CERTSTORE_HAS_GNUTLS
    measure(
        workload, gnutlsName(), [=] { return openWithGnutls(bytes); }, failed);
#endif
    measure(
        "its key derivation, " + kind, kOurs, [=] { return deriveKeys(defaults); }, failed);
}

}  // namespace

int main(int argc, char** argv) {
#ifdef CERTSTORE_HAS_LIBCRYPTO
    // Earlier defaults need RC2, which libcrypto 3 keeps apart.
    OSSL_PROVIDER_load(nullptr, "legacy");
    OSSL_PROVIDER_load(nullptr, "default");
#endif
    measureFile("AES-256 and SHA-256", "pfx-modern.p12", Modern);
    measureFile("3DES, RC2 and SHA-1", "pfx-legacy-2048.p12", Legacy);
    return runBenchmarks(
        argc, argv,
        "Bytes in, certificates and private key out, the MAC checked. Most of it is "
        "the key derivation that the file asks for.");
}
