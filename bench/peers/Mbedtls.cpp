#include <mbedtls/asn1.h>
#include <mbedtls/oid.h>
#include <mbedtls/version.h>
#include <mbedtls/x509_crt.h>

#include "bench/peers/Peers.h"

namespace certbench {

namespace {

struct Deleter {
    void operator()(mbedtls_x509_crt* cert) const {
        mbedtls_x509_crt_free(cert);
        delete cert;
    }
};
// One certificate, or the first of a list.
using Certs = std::unique_ptr<mbedtls_x509_crt, Deleter>;

Certs makeEmpty() {
    Certs certs(new mbedtls_x509_crt);
    mbedtls_x509_crt_init(certs.get());
    return certs;
}

Certs parseDer(ByteView der) {
    Certs cert = makeEmpty();
    const int failure = mbedtls_x509_crt_parse_der(cert.get(), der.data(), der.size());
    return failure ? nullptr : std::move(cert);
}

ByteView viewOf(const mbedtls_x509_buf& bytes) {
    return {bytes.p, bytes.len};
}

bool equal(const mbedtls_x509_buf& a, const mbedtls_x509_buf& b) {
    return certstore::equalBytes(viewOf(a), viewOf(b));
}

// The library leaves key identifiers and rfc822Name to its callers and gives them the reader for
// it. The inside of the OCTET STRING of one extension; empty when there is none.
ByteView extensionOf(const mbedtls_x509_crt& cert, std::string_view wanted) {
    unsigned char* at = cert.v3_ext.p;
    const unsigned char* const end = at + cert.v3_ext.len;
    constexpr int kSequence = MBEDTLS_ASN1_CONSTRUCTED | MBEDTLS_ASN1_SEQUENCE;
    std::size_t size = 0;
    int critical = 0;
    if (mbedtls_asn1_get_tag(&at, end, &size, kSequence) != 0)
        return {};
    while (mbedtls_asn1_get_tag(&at, end, &size, kSequence) == 0) {
        unsigned char* const next = at + size;
        mbedtls_asn1_get_tag(&at, next, &size, MBEDTLS_ASN1_OID);
        const bool found = certstore::textOf({at, size}) == wanted;
        at += size;
        mbedtls_asn1_get_bool(&at, next, &critical);
        if (found && mbedtls_asn1_get_tag(&at, next, &size, MBEDTLS_ASN1_OCTET_STRING) == 0)
            return {at, size};
        at = next;
    }
    return {};
}

// The content of the first value of this tag, one level down where `inSequence`.
ByteView readValue(ByteView bytes, int tag, bool inSequence) {
    auto* at = const_cast<unsigned char*>(bytes.data());
    const unsigned char* const end = at + bytes.size();
    std::size_t size = 0;
    constexpr int kSequence = MBEDTLS_ASN1_CONSTRUCTED | MBEDTLS_ASN1_SEQUENCE;
    if (inSequence && mbedtls_asn1_get_tag(&at, end, &size, kSequence) != 0)
        return {};
    return mbedtls_asn1_get_tag(&at, end, &size, tag) == 0 ? ByteView(at, size) : ByteView();
}

ByteView subjectKeyIdOf(const mbedtls_x509_crt& cert) {
    return readValue(extensionOf(cert, MBEDTLS_OID_SUBJECT_KEY_IDENTIFIER),
                     MBEDTLS_ASN1_OCTET_STRING, false);
}

ByteView emailOf(const mbedtls_x509_crt& cert) {
    constexpr int kRfc822Name = MBEDTLS_ASN1_CONTEXT_SPECIFIC | 1;
    return readValue(extensionOf(cert, MBEDTLS_OID_SUBJECT_ALT_NAME), kRfc822Name, true);
}

void readFields(const mbedtls_x509_crt& cert, FieldSink& fields) {
    constexpr int kKeyIdentifier = MBEDTLS_ASN1_CONTEXT_SPECIFIC;
    char text[512];
    mbedtls_x509_dn_gets(text, sizeof text, &cert.subject);
    fields.take(Field::Subject, std::string_view(text));
    mbedtls_x509_dn_gets(text, sizeof text, &cert.issuer);
    fields.take(Field::Issuer, std::string_view(text));
    mbedtls_x509_serial_gets(text, sizeof text, &cert.serial);
    fields.take(Field::Serial, std::string_view(text));
    fields.take(Field::SubjectKeyId, subjectKeyIdOf(cert));
    fields.take(
        Field::AuthorityKeyId,
        readValue(extensionOf(cert, MBEDTLS_OID_AUTHORITY_KEY_IDENTIFIER), kKeyIdentifier, true));
    fields.take(Field::Email, emailOf(cert));
    fields.take(Field::PublicKey, viewOf(cert.pk_raw));
}

bool parse(ByteView der, FieldSink* fields) {
    const Certs cert = parseDer(der);
    if (cert && fields)
        readFields(*cert, *fields);
    return cert != nullptr;
}

int loadBundle(const char* path) {
    const Certs certs = makeEmpty();
    if (mbedtls_x509_crt_parse_file(certs.get(), path) != 0)
        return 0;
    int count = 0;
    for (const mbedtls_x509_crt* cert = certs.get(); cert; cert = cert->next)
        ++count;
    return count;
}

class MbedtlsStore : public Store {
public:
    bool add(ByteView der) override { return parseBehind(*m_certs, der); }

    // mbedtls_x509_crt_parse_der walks to the end of the list, from wherever it begins.
    bool addOneOfMany(ByteView der) override {
        if (m_last->next)
            m_last = m_last->next;
        return parseBehind(*m_last, der);
    }

    void prepare(Search search, const std::vector<std::string>& wanted) override {
        m_search = search;
        m_queries.clear();
        for (const std::string& der : wanted)
            m_queries.push_back(parseDer(certstore::bytesOf(der)));
    }

    bool find(std::size_t query, std::string* found) override {
        const mbedtls_x509_crt* const cert = findOne(*m_queries[query]);
        if (cert && found)
            *found = certstore::textOf(viewOf(cert->raw));
        return cert;
    }

private:
    static bool parseBehind(mbedtls_x509_crt& certs, ByteView der) {
        return mbedtls_x509_crt_parse_der(&certs, der.data(), der.size()) == 0;
    }

    const mbedtls_x509_crt* findOne(const mbedtls_x509_crt& wanted) const {
        using Cert = const mbedtls_x509_crt&;
        switch (m_search) {
            case Search::Subject:
                return findIf(
                    [&wanted](Cert cert) { return equal(cert.subject_raw, wanted.subject_raw); });
            case Search::SerialAndIssuer:
                return findIf([&wanted](Cert cert) {
                    return equal(cert.serial, wanted.serial)
                        && equal(cert.issuer_raw, wanted.issuer_raw);
                });
            case Search::SubjectKeyId:
                return findIf([keyId = subjectKeyIdOf(wanted)](Cert cert) {
                    return certstore::equalBytes(subjectKeyIdOf(cert), keyId);
                });
            case Search::Email:
                return findIf([email = emailOf(wanted)](Cert cert) {
                    return certstore::equalBytes(emailOf(cert), email);
                });
            case Search::Issuer:
                return findIssuer(wanted);
            case Search::Chain:
                return findRoot(wanted);
        }
        return nullptr;
    }

    template <typename Predicate>
    const mbedtls_x509_crt* findIf(Predicate fits) const {
        for (const mbedtls_x509_crt* cert = m_certs.get(); cert; cert = cert->next)
            if (fits(*cert))
                return cert;
        return nullptr;
    }

    const mbedtls_x509_crt* findIssuer(const mbedtls_x509_crt& wanted) const {
        return findIf([&wanted](const mbedtls_x509_crt& cert) {
            return equal(cert.subject_raw, wanted.issuer_raw);
        });
    }

    const mbedtls_x509_crt* findRoot(const mbedtls_x509_crt& leaf) const {
        std::vector<const mbedtls_x509_crt*> chain{&leaf};
        while (chain.back() && !equal(chain.back()->subject_raw, chain.back()->issuer_raw))
            chain.push_back(findIssuer(*chain.back()));
        return chain.back();
    }

    const Certs m_certs = makeEmpty();
    mbedtls_x509_crt* m_last = m_certs.get();
    Search m_search = Search::Subject;
    std::vector<Certs> m_queries;
};

std::string nameAndVersion() {
    char version[16];
    mbedtls_version_get_string(version);
    return std::string("mbedTLS ") + version;
}

}  // namespace

Peer mbedtlsPeer() {
    return {.name = nameAndVersion(),
            .parse = parse,
            .loadBundle = loadBundle,
            .makeStore = [](std::size_t) -> std::unique_ptr<Store> {
                return std::make_unique<MbedtlsStore>();
            },
            .way = [](Search) { return Way::Walk; },
            .largestStore = 100'000,
            .whyNotLarger = "not run: a walk each time"};
}

}  // namespace certbench
