#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include "bench/common/Bench.h"
#include "bench/peers/Peers.h"

namespace certbench {

namespace {

gnutls_datum_t datumOf(ByteView bytes) {
    return {const_cast<unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

ByteView viewOf(const gnutls_datum_t& datum) {
    return {datum.data, datum.size};
}

// Null when the bytes are no certificate.
gnutls_x509_crt_t parseDer(ByteView der) {
    gnutls_x509_crt_t cert = nullptr;
    const gnutls_datum_t data = datumOf(der);
    gnutls_x509_crt_init(&cert);
    if (gnutls_x509_crt_import(cert, &data, GNUTLS_X509_FMT_DER) == 0)
        return cert;
    gnutls_x509_crt_deinit(cert);
    return nullptr;
}

// Calls that fill a buffer of the caller.
constexpr std::size_t kLongestField = 256;
template <typename Getter>
std::string readBuffer(Getter get) {
    char buffer[kLongestField];
    std::size_t size = sizeof buffer;
    return get(buffer, &size) < 0 ? std::string() : std::string(buffer, size);
}

std::string serialOf(gnutls_x509_crt_t cert) {
    return readBuffer([cert](char* buffer, std::size_t* size) {
        return gnutls_x509_crt_get_serial(cert, buffer, size);
    });
}

std::string subjectKeyIdOf(gnutls_x509_crt_t cert) {
    return readBuffer([cert](char* buffer, std::size_t* size) {
        return gnutls_x509_crt_get_subject_key_id(cert, buffer, size, nullptr);
    });
}

std::string emailOf(gnutls_x509_crt_t cert) {
    return readBuffer([cert](char* buffer, std::size_t* size) {
        return gnutls_x509_crt_get_subject_alt_name(cert, 0, buffer, size, nullptr);
    });
}

// Calls that allocate the field.
template <typename Getter>
std::string readDatum(Getter get) {
    gnutls_datum_t datum{nullptr, 0};
    get(&datum);
    const std::string bytes(certstore::textOf(viewOf(datum)));
    gnutls_free(datum.data);
    return bytes;
}

std::string publicKeyOf(gnutls_x509_crt_t cert) {
    gnutls_pubkey_t key = nullptr;
    gnutls_pubkey_init(&key);
    gnutls_pubkey_import_x509(key, cert, 0);
    const std::string der = readDatum(
        [key](gnutls_datum_t* datum) { gnutls_pubkey_export2(key, GNUTLS_X509_FMT_DER, datum); });
    gnutls_pubkey_deinit(key);
    return der;
}

void readFields(gnutls_x509_crt_t cert, FieldSink& fields) {
    fields.take(Field::Subject, readDatum([cert](gnutls_datum_t* datum) {
                    gnutls_x509_crt_get_dn3(cert, datum, 0);
                }));
    fields.take(Field::Issuer, readDatum([cert](gnutls_datum_t* datum) {
                    gnutls_x509_crt_get_issuer_dn3(cert, datum, 0);
                }));
    fields.take(Field::Serial, serialOf(cert));
    fields.take(Field::SubjectKeyId, subjectKeyIdOf(cert));
    fields.take(Field::AuthorityKeyId, readBuffer([cert](char* buffer, std::size_t* size) {
                    return gnutls_x509_crt_get_authority_key_id(cert, buffer, size, nullptr);
                }));
    fields.take(Field::Email, emailOf(cert));
    fields.take(Field::PublicKey, publicKeyOf(cert));
}

bool parse(ByteView der, FieldSink* fields) {
    gnutls_x509_crt_t cert = parseDer(der);
    if (!cert)
        return false;
    if (fields)
        readFields(cert, *fields);
    gnutls_x509_crt_deinit(cert);
    return true;
}

int loadBundle(const char* path) {
    gnutls_x509_trust_list_t list = nullptr;
    gnutls_x509_trust_list_init(&list, 0);
    const int count =
        gnutls_x509_trust_list_add_trust_file(list, path, nullptr, GNUTLS_X509_FMT_PEM, 0, 0);
    gnutls_x509_trust_list_deinit(list, 1);
    return count;
}

class GnutlsStore : public Store {
public:
    explicit GnutlsStore(std::size_t size) {
        gnutls_x509_trust_list_init(&m_list, static_cast<unsigned int>(size));
    }
    ~GnutlsStore() override {
        gnutls_x509_trust_list_deinit(m_list, 1);
        clearQueries();
    }

    bool add(ByteView der) override {
        gnutls_x509_crt_t cert = parseDer(der);
        if (!cert || gnutls_x509_trust_list_add_cas(m_list, &cert, 1, 0) != 1)
            return false;
        m_certs.push_back(cert);
        return true;
    }

    void prepare(Search search, const std::vector<std::string>& wanted) override {
        m_search = search;
        clearQueries();
        for (const std::string& der : wanted) {
            Query query;
            query.cert = parseDer(certstore::bytesOf(der));
            gnutls_x509_crt_get_raw_dn(query.cert, &query.subject);
            gnutls_x509_crt_get_raw_issuer_dn(query.cert, &query.issuer);
            query.serial = serialOf(query.cert);
            query.subjectKeyId = subjectKeyIdOf(query.cert);
            query.email = emailOf(query.cert);
            m_queries.push_back(query);
        }
    }

    bool find(std::size_t query, std::string* found) override {
        gnutls_x509_crt_t cert = findOne(m_queries[query]);
        if (cert && found)
            *found = readDatum([cert](gnutls_datum_t* datum) {
                gnutls_x509_crt_export2(cert, GNUTLS_X509_FMT_DER, datum);
            });
        // These two searches give their caller a copy.
        if (cert && (m_search == Search::Subject || m_search == Search::SubjectKeyId))
            gnutls_x509_crt_deinit(cert);
        return cert;
    }

private:
    struct Query {
        gnutls_x509_crt_t cert;
        gnutls_datum_t subject, issuer;
        std::string serial, subjectKeyId, email;
    };

    void clearQueries() {
        for (Query& query : m_queries) {
            gnutls_free(query.subject.data);
            gnutls_free(query.issuer.data);
            gnutls_x509_crt_deinit(query.cert);
        }
        m_queries.clear();
    }

    gnutls_x509_crt_t findOne(const Query& query) {
        gnutls_x509_crt_t cert = nullptr;
        switch (m_search) {
            case Search::Subject:
                gnutls_x509_trust_list_get_issuer_by_dn(m_list, &query.subject, &cert, 0);
                return cert;
            case Search::SubjectKeyId: {
                const gnutls_datum_t keyId = datumOf(certstore::bytesOf(query.subjectKeyId));
                gnutls_x509_trust_list_get_issuer_by_subject_key_id(m_list, nullptr, &keyId, &cert,
                                                                    0);
                return cert;
            }
            case Search::SerialAndIssuer:
                return findIf([&query](gnutls_x509_crt_t candidate) {
                    return serialOf(candidate) == query.serial && isIssuedBy(candidate, query);
                });
            case Search::Email:
                return findIf([&query](gnutls_x509_crt_t candidate) {
                    return gnutls_x509_crt_check_email(candidate, query.email.c_str(), 0) != 0;
                });
            case Search::Issuer:
                return findIssuer(query.cert);
            case Search::Chain:
                return findRoot(query.cert);
        }
        return nullptr;
    }

    static bool isIssuedBy(gnutls_x509_crt_t cert, const Query& query) {
        return readDatum([cert](gnutls_datum_t* datum) {
                   gnutls_x509_crt_get_raw_issuer_dn(cert, datum);
               })
            == certstore::textOf(viewOf(query.issuer));
    }

    template <typename Predicate>
    gnutls_x509_crt_t findIf(Predicate fits) {
        for (gnutls_x509_crt_t cert : m_certs)
            if (fits(cert))
                return cert;
        return nullptr;
    }

    gnutls_x509_crt_t findIssuer(gnutls_x509_crt_t cert) {
        gnutls_x509_crt_t issuer = nullptr;
        gnutls_x509_trust_list_get_issuer(m_list, cert, &issuer, 0);
        return issuer;
    }

    gnutls_x509_crt_t findRoot(gnutls_x509_crt_t leaf) {
        std::vector<gnutls_x509_crt_t> chain{leaf};
        while (chain.back() && gnutls_x509_crt_check_issuer(chain.back(), chain.back()) == 0)
            chain.push_back(findIssuer(chain.back()));
        return chain.back();
    }

    gnutls_x509_trust_list_t m_list = nullptr;
    std::vector<gnutls_x509_crt_t> m_certs;  // the list's own
    Search m_search = Search::Subject;
    std::vector<Query> m_queries;
};

}  // namespace

Peer gnutlsPeer() {
    return {.name = gnutlsName(),
            .parse = parse,
            .loadBundle = loadBundle,
            .makeStore = [](std::size_t size) -> std::unique_ptr<Store> {
                return std::make_unique<GnutlsStore>(size);
            },
            .way =
                [](Search search) {
                    const bool byName = search == Search::Subject || search == Search::Issuer
                        || search == Search::Chain;
                    return byName ? Way::Index : Way::Walk;
                },
            .largestStore = 100'000,
            .whyNotLarger = "not run: needs 30 GB"};
}

}  // namespace certbench
