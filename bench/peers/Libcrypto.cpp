#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include "bench/common/Bench.h"
#include "bench/peers/Peers.h"

namespace certbench {

namespace {

template <auto destroy>
struct Deleter {
    template <typename T>
    void operator()(T* object) const noexcept {
        destroy(object);
    }
};
using Cert = std::unique_ptr<X509, Deleter<X509_free>>;

Cert parseDer(ByteView der) {
    const unsigned char* at = der.data();
    return Cert(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
}

std::string derOf(X509* cert) {
    unsigned char* der = nullptr;
    const int size = i2d_X509(cert, &der);
    const std::string bytes(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
    OPENSSL_free(der);
    return bytes;
}

ByteView bytesOf(const ASN1_STRING* text) {
    return {ASN1_STRING_get0_data(text), static_cast<std::size_t>(ASN1_STRING_length(text))};
}

void readFields(X509* cert, FieldSink& fields) {
    const auto takeName = [&fields](Field field, const X509_NAME* name) {
        char* line = X509_NAME_oneline(name, nullptr, 0);
        fields.take(field, std::string_view(line));
        OPENSSL_free(line);
    };
    takeName(Field::Subject, X509_get_subject_name(cert));
    takeName(Field::Issuer, X509_get_issuer_name(cert));
    fields.take(Field::Serial, bytesOf(X509_get0_serialNumber(cert)));
    fields.take(Field::SubjectKeyId, bytesOf(X509_get0_subject_key_id(cert)));
    fields.take(Field::AuthorityKeyId, bytesOf(X509_get0_authority_key_id(cert)));
    STACK_OF(OPENSSL_STRING)* emails = X509_get1_email(cert);
    fields.take(Field::Email, std::string_view(sk_OPENSSL_STRING_value(emails, 0)));
    X509_email_free(emails);
    unsigned char* publicKey = nullptr;
    const int size = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(cert), &publicKey);
    fields.take(Field::PublicKey, ByteView(publicKey, static_cast<std::size_t>(size)));
    OPENSSL_free(publicKey);
}

bool parse(ByteView der, FieldSink* fields) {
    const Cert cert = parseDer(der);
    if (cert && fields)
        readFields(cert.get(), *fields);
    return cert != nullptr;
}

int loadBundle(const char* path) {
    const std::unique_ptr<X509_STORE, Deleter<X509_STORE_free>> store(X509_STORE_new());
    if (X509_STORE_load_file(store.get(), path) != 1)
        return 0;
    return sk_X509_OBJECT_num(X509_STORE_get0_objects(store.get()));
}

// X509_STORE for what it has an index for, a STACK_OF(X509) for the rest.
class LibcryptoStore : public Store {
public:
    ~LibcryptoStore() override {
        X509_STORE_CTX_free(m_context);
        X509_STORE_free(m_store);
        sk_X509_pop_free(m_stack, X509_free);
    }

    bool add(ByteView der) override {
        Cert cert = parseDer(der);
        return cert && X509_STORE_add_cert(m_store, cert.get()) == 1
            && sk_X509_push(m_stack, cert.release()) > 0;
    }

    // X509_STORE_add_cert sorts the store each time, which takes days for many. Entered like this
    // they are sorted once, by the first search.
    bool addOneOfMany(ByteView der) override {
        Cert cert = parseDer(der);
        X509_OBJECT* object = X509_OBJECT_new();
        return cert && X509_OBJECT_set1_X509(object, cert.get()) == 1
            && sk_X509_OBJECT_push(X509_STORE_get0_objects(m_store), object) > 0
            && sk_X509_push(m_stack, cert.release()) > 0;
    }

    void prepare(Search search, const std::vector<std::string>& wanted) override {
        m_search = search;
        m_queries.clear();
        for (const std::string& der : wanted) {
            Cert cert = parseDer(certstore::bytesOf(der));
            STACK_OF(OPENSSL_STRING)* emails = X509_get1_email(cert.get());
            m_queries.push_back({std::move(cert), sk_OPENSSL_STRING_value(emails, 0)});
            X509_email_free(emails);
        }
        X509_STORE_CTX_init(m_context, m_store, nullptr, nullptr);
    }

    bool find(std::size_t query, std::string* found) override {
        const Cert cert = findOne(m_queries[query]);
        if (cert && found)
            *found = derOf(cert.get());
        return cert != nullptr;
    }

private:
    struct Query {
        Cert cert;
        std::string email;
    };

    Cert findOne(const Query& query) {
        X509* const cert = query.cert.get();
        switch (m_search) {
            case Search::Subject:
                return findBySubject(X509_get_subject_name(cert));
            case Search::SerialAndIssuer:
                return share(X509_find_by_issuer_and_serial(m_stack, X509_get_issuer_name(cert),
                                                            X509_get_serialNumber(cert)));
            case Search::SubjectKeyId:
                return findIf([wanted = X509_get0_subject_key_id(cert)](X509* candidate) {
                    return ASN1_OCTET_STRING_cmp(X509_get0_subject_key_id(candidate), wanted) == 0;
                });
            case Search::Email:
                return findIf([&query](X509* candidate) {
                    return X509_check_email(candidate, query.email.data(), query.email.size(), 0)
                        == 1;
                });
            case Search::Issuer:
                return findIssuer(cert);
            case Search::Chain:
                return findRoot(cert);
        }
        return nullptr;
    }

    static Cert share(X509* cert) {
        if (cert)
            X509_up_ref(cert);
        return Cert(cert);
    }

    Cert findBySubject(const X509_NAME* name) {
        const std::unique_ptr<X509_OBJECT, Deleter<X509_OBJECT_free>> object(
            X509_STORE_CTX_get_obj_by_subject(m_context, X509_LU_X509, name));
        return object ? share(X509_OBJECT_get0_X509(object.get())) : nullptr;
    }

    template <typename Predicate>
    Cert findIf(Predicate fits) {
        for (int i = 0; i < sk_X509_num(m_stack); ++i)
            if (fits(sk_X509_value(m_stack, i)))
                return share(sk_X509_value(m_stack, i));
        return nullptr;
    }

    Cert findIssuer(X509* cert) {
        X509* issuer = nullptr;
        return Cert(X509_STORE_CTX_get1_issuer(&issuer, m_context, cert) == 1 ? issuer : nullptr);
    }

    Cert findRoot(X509* leaf) {
        STACK_OF(X509)* chain = sk_X509_new_null();
        Cert current = share(leaf);
        while (current && X509_self_signed(current.get(), 0) == 0) {
            Cert issuer = findIssuer(current.get());
            sk_X509_push(chain, current.release());
            current = std::move(issuer);
        }
        sk_X509_pop_free(chain, X509_free);
        return current;
    }

    X509_STORE* const m_store = X509_STORE_new();
    X509_STORE_CTX* const m_context = X509_STORE_CTX_new();
    STACK_OF(X509) * const m_stack = sk_X509_new_null();
    Search m_search = Search::Subject;
    std::vector<Query> m_queries;
};

}  // namespace

Peer libcryptoPeer() {
    return {.name = libcryptoName(),
            .parse = parse,
            .loadBundle = loadBundle,
            .makeStore = [](std::size_t) -> std::unique_ptr<Store> {
                return std::make_unique<LibcryptoStore>();
            },
            .way =
                [](Search search) {
                    const bool byName = search == Search::Subject || search == Search::Issuer
                        || search == Search::Chain;
                    return byName ? Way::Index : Way::Walk;
                },
            .largestStore = 100'000,
            .whyNotLarger = "not run: parsing takes minutes",
            .searchesInThreads = true};
}

}  // namespace certbench
