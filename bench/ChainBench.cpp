// Building the chain of a leaf: leaf, intermediate, root. Parsing and filling the store are not
// timed.
//
// The first build is that of certificates and a store never used before, the second and later ones
// have the same objects again: what a library keeps of the first helps it there. "Unchecked" walks
// the chain without looking at a signature.
//
// The peers answer another question, whether to trust the leaf now: they look at purposes, dates,
// name constraints and policies too, which ours leaves to the caller. In exchange they take the
// root's own signature for granted, so that they check two signatures where ours checks three;
// libcrypto can be told to check all three.

#include <memory>

#include "bench/common/Bench.h"
#include "certstore/SystemCerts.h"
#include "support/log/LogNull.h"

#ifdef CERTSTORE_HAS_LIBCRYPTO
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#endif
#ifdef CERTSTORE_HAS_GNUTLS
#include <gnutls/x509.h>
#endif

using namespace certbench;

namespace {

constexpr const char* kNote =
    "Parsing and filling the store are not timed. A later build has the same objects again: a "
    "library that remembers good signatures does not check them anew. The peers also look at "
    "purposes, dates, names and policies; certstore only links the certificates and checks all "
    "three signatures. `chain only` of libcrypto is X509_build_chain; GnuTLS has no such call.";

// Leaf, intermediate and root as DER.
using Chain = std::vector<std::string>;

constexpr int kMembers = 3;

std::string failure() {
    return "does not build";
}

// Registers first and later builds by a library's `Store`, which is made of a Chain.
template <typename Store, typename Build>
void measureBuilds(const std::string& workload, const std::string& library, const Chain& chain,
                   Build build) {
    measureFresh(
        workload + ", first build", library, [=] { return std::make_unique<Store>(chain); },
        [=](const std::unique_ptr<Store>& store) { return build(*store); }, failure);
    const auto used = std::make_shared<Store>(chain);
    build(*used);
    measure(
        workload + ", later build", library, [=] { return build(*used); }, failure);
}

class CertstoreStore {
public:
    explicit CertstoreStore(const Chain& chain) {
        for (const std::string& der : chain) {
            m_certs.emplace_back(CertificateHolder::createFromDer(
                certstore::bytesOf(der).data(), static_cast<unsigned int>(der.size()), nullptr,
                m_log));
            m_store.addCertificate(m_certs.back()->getCertPtr(m_log), m_log);
        }
    }

    bool build(bool skipSignatures) {
        ExtPtrArray members;
        bool reachedRoot = false;
        return m_store.buildCertChain(*m_certs[0]->getCertPtr(m_log), true, skipSignatures, members,
                                      reachedRoot, m_log)
            && reachedRoot && members.getSize() == kMembers;
    }

private:
    LogNull m_log;
    std::vector<std::unique_ptr<CertificateHolder>> m_certs;
    SystemCerts m_store;
};

void measureCertstore(const std::string& workload, const Chain& chain) {
    measureBuilds<CertstoreStore>(workload, kOurs, chain,
                                  [](CertstoreStore& store) { return store.build(false); });
    const auto store = std::make_shared<CertstoreStore>(chain);
    measure(
        workload + ", unchecked", kOurs, [=] { return store->build(true); }, failure);
}

#ifdef CERTSTORE_HAS_LIBCRYPTO
class LibcryptoStore {
public:
    explicit LibcryptoStore(const Chain& chain) {
        for (const std::string& der : chain) {
            const unsigned char* at = certstore::bytesOf(der).data();
            m_certs.emplace_back(d2i_X509(nullptr, &at, static_cast<long>(der.size())), X509_free);
        }
        X509_STORE_add_cert(m_store.get(), m_certs[2].get());
        sk_X509_push(m_untrusted.get(), m_certs[1].get());
    }

    // `flags` are those of X509_VERIFY_PARAM.
    bool verify(unsigned long flags) {
        const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> context(
            X509_STORE_CTX_new(), X509_STORE_CTX_free);
        if (X509_STORE_CTX_init(context.get(), m_store.get(), m_certs[0].get(), m_untrusted.get())
            != 1)
            return false;
        X509_STORE_CTX_set_flags(context.get(), flags);
        return X509_verify_cert(context.get()) == 1
            && sk_X509_num(X509_STORE_CTX_get0_chain(context.get())) == kMembers;
    }

    bool buildUnchecked() {
        STACK_OF(X509)* members = X509_build_chain(m_certs[0].get(), m_untrusted.get(),
                                                   m_store.get(), 1, nullptr, nullptr);
        const bool good = members && sk_X509_num(members) == kMembers;
        sk_X509_pop_free(members, X509_free);
        return good;
    }

private:
    static void freeStack(STACK_OF(X509) * stack) { sk_X509_free(stack); }

    std::vector<std::shared_ptr<X509>> m_certs;
    std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> m_store{X509_STORE_new(),
                                                                    X509_STORE_free};
    std::unique_ptr<STACK_OF(X509), decltype(&freeStack)> m_untrusted{sk_X509_new_null(),
                                                                      freeStack};
};

void measureLibcrypto(const std::string& workload, const Chain& chain) {
    const std::string name = libcryptoName();
    measureBuilds<LibcryptoStore>(
        workload, name + ", 3 signatures", chain,
        [](LibcryptoStore& store) { return store.verify(X509_V_FLAG_CHECK_SS_SIGNATURE); });
    measureBuilds<LibcryptoStore>(workload, name + ", 2 signatures", chain,
                                  [](LibcryptoStore& store) { return store.verify(0); });
    const auto store = std::make_shared<LibcryptoStore>(chain);
    measure(
        workload + ", unchecked", name + ", chain only", [=] { return store->buildUnchecked(); },
        failure);
}
#endif

#ifdef CERTSTORE_HAS_GNUTLS
class GnutlsStore {
public:
    explicit GnutlsStore(const Chain& chain) {
        for (std::size_t i = 0; i < kMembers; ++i) {
            const gnutls_datum_t data{
                const_cast<unsigned char*>(certstore::bytesOf(chain[i]).data()),
                static_cast<unsigned int>(chain[i].size())};
            gnutls_x509_crt_init(&m_certs[i]);
            gnutls_x509_crt_import(m_certs[i], &data, GNUTLS_X509_FMT_DER);
        }
        gnutls_x509_trust_list_init(&m_store, 0);
        gnutls_x509_trust_list_add_cas(m_store, &m_certs[2], 1, 0);
    }
    GnutlsStore(const GnutlsStore&) = delete;
    GnutlsStore& operator=(const GnutlsStore&) = delete;
    ~GnutlsStore() {
        gnutls_x509_trust_list_deinit(m_store, 0);
        for (gnutls_x509_crt_t cert : m_certs)
            gnutls_x509_crt_deinit(cert);
    }

    bool verify() {
        unsigned int verdict = 0;
        return gnutls_x509_trust_list_verify_crt2(m_store, m_certs, 2, nullptr, 0, 0, &verdict,
                                                  nullptr)
            == 0
            && verdict == 0;
    }

private:
    gnutls_x509_crt_t m_certs[kMembers] = {};
    gnutls_x509_trust_list_t m_store = nullptr;
};
#endif

void measureChain(const std::string& workload, const Chain& chain) {
    measureCertstore(workload, chain);
#ifdef CERTSTORE_HAS_LIBCRYPTO
    measureLibcrypto(workload, chain);
#endif
#ifdef CERTSTORE_HAS_GNUTLS
    measureBuilds<GnutlsStore>(workload, gnutlsName() + ", 2 signatures", chain,
                               [](GnutlsStore& store) { return store.verify(); });
#endif
}

}  // namespace

int main(int argc, char** argv) {
    Chain ec;
    for (const char* file : {"leaf.pem", "intermediate.pem", "root.pem"})
        ec.push_back(readTestCerts(file).at(0));
    measureChain("chain RSA-2048", readTestCerts("chain-rsa.pem"));
    measureChain("chain P-256", ec);
    return runBenchmarks(argc, argv, kNote);
}
