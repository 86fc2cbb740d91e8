// One verification of the self-signature of each certificate of algorithms.pem, ml-dsa.pem and
// slh-dsa.pem, parsed beforehand, and digests. Each library by the calls that its users use, which
// verify anew each time. A cell without a time tells why that library does not verify it. The last
// certificates of algorithms.pem are signed with broken digests, where refusing is right.

#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>

#include "bench/common/Bench.h"
#include "support/crypto/Digest.h"
#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/x509/CertificateHolder.h"
#include "support/x509/SignatureVerifier.h"

#ifdef CERTSTORE_HAS_LIBCRYPTO
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#endif
#ifdef CERTSTORE_HAS_GNUTLS
#include <gnutls/abstract.h>
#include <gnutls/crypto.h>
#include <gnutls/x509.h>
#endif

using namespace certbench;

namespace {

constexpr const char* kNote =
    "Certificates are parsed beforehand. Where a library does not verify one, its cell says why; "
    "refusing MD5 and MD4 is right.";

// Long enough that starting and ending a digest do not count.
constexpr std::size_t kDigestedBytes = 16384;

using Cert = std::shared_ptr<const X509Certificate>;

// A missing certificate ends the program: the table would lack a row that nobody misses.
Cert parse(const std::string& der) {
    LogText log;
    const std::shared_ptr<CertificateHolder> holder(CertificateHolder::createFromDer(
        certstore::bytesOf(der).data(), static_cast<unsigned int>(der.size()), nullptr, log));
    if (!holder) {
        std::cerr << "A test certificate: " << log.getText();
        std::exit(1);
    }
    return {holder, holder->getCertPtr(log)};
}

std::string commonName(const Cert& cert) {
    LogNull log;
    XString name;
    cert->getSubjectPart("CN", name, log);
    return name.getUtf8();
}

// Beneath X509Certificate, which may remember what it verified.
bool verifySelf(const Cert& cert, LogBase& log) {
    const certstore::X509& fields = *cert->getX509Ptr();
    return certstore::verifySignature(fields, fields.spki(), log);
}

void measureCertstore(const std::string& workload, const Cert& cert) {
    const auto verify = [cert] {
        LogNull log;
        return verifySelf(cert, log);
    };
    const auto reason = [cert] {
        LogText log;
        verifySelf(cert, log);
        const std::string text = log.getText();
        const std::size_t start = text.find(' ') + 1;  // behind "ERROR:"
        return text.substr(start, text.find('\n') - start);
    };
    measure(workload, kOurs, verify, reason);
}

void measureCertstoreDigest(const std::string& workload, const std::string& data,
                            certstore::DigestAlgorithm algorithm) {
    const auto digest = [=] {
        benchmark::DoNotOptimize(certstore::computeDigest(algorithm, certstore::bytesOf(data)));
        return true;
    };
    measure(workload, kOurs, digest, [] { return ""; });
}

#ifdef CERTSTORE_HAS_LIBCRYPTO
std::string libcryptoReason() {
    const char* reason = ERR_reason_error_string(ERR_peek_error());
    ERR_clear_error();
    return reason ? reason : "does not verify";
}

void measureLibcrypto(const std::string& workload, const std::string& der) {
    const unsigned char* at = certstore::bytesOf(der).data();
    const std::shared_ptr<X509> cert(d2i_X509(nullptr, &at, static_cast<long>(der.size())),
                                     X509_free);
    const auto verify = [cert] {
        return cert && X509_verify(cert.get(), X509_get0_pubkey(cert.get())) == 1;
    };
    measure(workload, libcryptoName(), verify, libcryptoReason);
}

void measureLibcryptoDigest(const std::string& workload, const std::string& data,
                            const char* name) {
    const std::shared_ptr<EVP_MD> algorithm(EVP_MD_fetch(nullptr, name, nullptr), EVP_MD_free);
    const auto digest = [=] {
        unsigned char value[EVP_MAX_MD_SIZE];
        benchmark::DoNotOptimize(value);
        return EVP_Digest(data.data(), data.size(), value, nullptr, algorithm.get(), nullptr) == 1;
    };
    measure(workload, libcryptoName(), digest, libcryptoReason);
}
#endif

#ifdef CERTSTORE_HAS_GNUTLS
gnutls_datum_t datumOf(certstore::ByteView bytes) {
    return {const_cast<unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

// GnuTLS has no call for the signature of a certificate alone, so that its signed bytes are
// verified like any others, with the key and the algorithm that GnuTLS reads in it.
class GnutlsSignature {
public:
    GnutlsSignature(const std::string& der, Cert cert) : m_cert(std::move(cert)) {
        gnutls_x509_crt_t read = nullptr;
        gnutls_x509_crt_init(&read);
        gnutls_pubkey_init(&m_key);
        const gnutls_datum_t data = datumOf(certstore::bytesOf(der));
        m_readable = gnutls_x509_crt_import(read, &data, GNUTLS_X509_FMT_DER);
        if (m_readable == 0)
            m_readable = gnutls_pubkey_import_x509(m_key, read, 0);
        if (m_readable == 0)
            m_algorithm =
                static_cast<gnutls_sign_algorithm_t>(gnutls_x509_crt_get_signature_algorithm(read));
        gnutls_x509_crt_deinit(read);
    }
    GnutlsSignature(const GnutlsSignature&) = delete;
    GnutlsSignature& operator=(const GnutlsSignature&) = delete;
    ~GnutlsSignature() { gnutls_pubkey_deinit(m_key); }

    int verify() const {
        const gnutls_datum_t data = datumOf(m_cert->getX509Ptr()->tbs());
        const gnutls_datum_t signature = datumOf(m_cert->getX509Ptr()->signature());
        return m_readable != 0
            ? m_readable
            : gnutls_pubkey_verify_data2(m_key, m_algorithm, GNUTLS_VERIFY_ALLOW_SIGN_WITH_SHA1,
                                         &data, &signature);
    }

private:
    Cert m_cert;
    gnutls_pubkey_t m_key = nullptr;
    gnutls_sign_algorithm_t m_algorithm = GNUTLS_SIGN_UNKNOWN;
    int m_readable = 0;
};

void measureGnutls(const std::string& workload, const std::string& der, const Cert& cert) {
    const auto signature = std::make_shared<const GnutlsSignature>(der, cert);
    measure(
        workload, gnutlsName(), [signature] { return signature->verify() >= 0; },
        [signature] { return gnutls_strerror(signature->verify()); });
}

void measureGnutlsDigest(const std::string& workload, const std::string& data, const char* name) {
    const gnutls_digest_algorithm_t algorithm = gnutls_digest_get_id(name);
    const auto digest = [=] {
        unsigned char value[certstore::kMaxDigestSize];
        benchmark::DoNotOptimize(value);
        return gnutls_hash_fast(algorithm, data.data(), data.size(), value) == 0;
    };
    measure(workload, gnutlsName(), digest, [] { return "unknown digest"; });
}
#endif

void measureSignatures(const std::string& file) {
    for (const std::string& der : readTestCerts(file)) {
        const Cert cert = parse(der);
        const std::string workload = "verify " + commonName(cert);
        measureCertstore(workload, cert);
#ifdef CERTSTORE_HAS_LIBCRYPTO
        measureLibcrypto(workload, der);
#endif
#ifdef CERTSTORE_HAS_GNUTLS
        measureGnutls(workload, der, cert);
#endif
    }
}

void measureDigests() {
    using certstore::DigestAlgorithm;
    constexpr std::pair<const char*, DigestAlgorithm> kDigests[] = {
        {"SHA1", DigestAlgorithm::Sha1},
        {"SHA256", DigestAlgorithm::Sha256},
        {"SHA512", DigestAlgorithm::Sha512},
        {"SHA3-256", DigestAlgorithm::Sha3_256},
    };
    const std::string data(kDigestedBytes, 'x');
    for (const auto& [name, algorithm] : kDigests) {
        const std::string workload = std::string("digest of 16 KB, ") + name;
        measureCertstoreDigest(workload, data, algorithm);
#ifdef CERTSTORE_HAS_LIBCRYPTO
        measureLibcryptoDigest(workload, data, name);
#endif
#ifdef CERTSTORE_HAS_GNUTLS
        measureGnutlsDigest(workload, data, name);
#endif
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const char* file : {"algorithms.pem", "ml-dsa.pem", "slh-dsa.pem"})
        measureSignatures(file);
    measureDigests();
    return runBenchmarks(argc, argv, kNote);
}
