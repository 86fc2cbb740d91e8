#include <cert.h>
#include <certdb.h>
#include <nss.h>
#include <secitem.h>
#include <secoid.h>

#include "bench/peers/Peers.h"

namespace certbench {

namespace {

struct Deleter {
    void operator()(CERTCertificate* cert) const { CERT_DestroyCertificate(cert); }
};
using Cert = std::unique_ptr<CERTCertificate, Deleter>;

SECItem itemOf(std::string_view text) {
    const ByteView bytes = certstore::bytesOf(text);
    return {siBuffer, const_cast<unsigned char*>(bytes.data()),
            static_cast<unsigned int>(bytes.size())};
}

ByteView viewOf(const SECItem& item) {
    return {item.data, item.len};
}

// The library's database in memory, which holds a certificate as long as somebody refers to it.
CERTCertDBHandle* database() {
    static const bool initialised = NSS_NoDB_Init(nullptr) == SECSuccess;
    return initialised ? CERT_GetDefaultCertDB() : nullptr;
}

Cert parseDer(ByteView der) {
    SECItem item = itemOf(certstore::textOf(der));
    return Cert(CERT_NewTempCertificate(database(), &item, nullptr, PR_FALSE, PR_TRUE));
}

void readFields(CERTCertificate* cert, FieldSink& fields) {
    // As encoded: what takes it apart is not exported.
    SECItem authorityKeyId{};
    CERT_FindCertExtension(cert, SEC_OID_X509_AUTH_KEY_ID, &authorityKeyId);
    fields.take(Field::Subject, std::string_view(cert->subjectName));
    fields.take(Field::Issuer, std::string_view(cert->issuerName));
    fields.take(Field::Serial, viewOf(cert->serialNumber));
    fields.take(Field::SubjectKeyId, viewOf(cert->subjectKeyID));
    fields.take(Field::AuthorityKeyId, viewOf(authorityKeyId));
    fields.take(Field::Email, std::string_view(CERT_GetFirstEmailAddress(cert)));
    fields.take(Field::PublicKey, viewOf(cert->derPublicKey));
    SECITEM_FreeItem(&authorityKeyId, PR_FALSE);
}

bool parse(ByteView der, FieldSink* fields) {
    const Cert cert = parseDer(der);
    if (cert && fields)
        readFields(cert.get(), *fields);
    return cert != nullptr;
}

class NssStore : public Store {
public:
    bool add(ByteView der) override {
        m_certs.push_back(parseDer(der));
        return m_certs.back() != nullptr;
    }

    void prepare(Search search, const std::vector<std::string>& wanted) override {
        m_search = search;
        m_queries.clear();
        for (const std::string& der : wanted) {
            Query& query = m_queries.emplace_back();
            query.cert = parseDer(certstore::bytesOf(der));
            query.subject = certstore::textOf(viewOf(query.cert->derSubject));
            query.issuer = certstore::textOf(viewOf(query.cert->derIssuer));
            query.serial = certstore::textOf(viewOf(query.cert->serialNumber));
            query.subjectKeyId = certstore::textOf(viewOf(query.cert->subjectKeyID));
            query.email = CERT_GetFirstEmailAddress(query.cert.get());
            // It would be found itself.
            if (search != Search::Issuer && search != Search::Chain)
                query.cert.reset();
        }
    }

    bool find(std::size_t query, std::string* found) override {
        const Cert cert = findOne(m_queries[query]);
        if (cert && found)
            *found = certstore::textOf(viewOf(cert->derCert));
        return cert != nullptr;
    }

private:
    struct Query {
        Cert cert;
        std::string subject, issuer, serial, subjectKeyId, email;
    };

    Cert findOne(const Query& query) const {
        switch (m_search) {
            case Search::Subject: {
                SECItem subject = itemOf(query.subject);
                return Cert(CERT_FindCertByName(database(), &subject));
            }
            case Search::SerialAndIssuer: {
                CERTIssuerAndSN wanted{};
                wanted.derIssuer = itemOf(query.issuer);
                wanted.serialNumber = itemOf(query.serial);
                return Cert(CERT_FindCertByIssuerAndSN(database(), &wanted));
            }
            case Search::SubjectKeyId: {
                SECItem keyId = itemOf(query.subjectKeyId);
                return Cert(CERT_FindCertBySubjectKeyID(database(), &keyId));
            }
            case Search::Email:
                return Cert(CERT_FindCertByNicknameOrEmailAddr(database(), query.email.c_str()));
            case Search::Issuer:
                return findIssuer(query.cert.get());
            case Search::Chain:
                return findRoot(query.cert.get());
        }
        return nullptr;
    }

    static Cert findIssuer(CERTCertificate* cert) {
        return Cert(CERT_FindCertIssuer(cert, PR_Now(), certUsageAnyCA));
    }

    static Cert findRoot(CERTCertificate* leaf) {
        CERTCertList* chain = CERT_GetCertChainFromCert(leaf, PR_Now(), certUsageAnyCA);
        if (!chain)
            return nullptr;
        Cert last(CERT_DupCertificate(CERT_LIST_TAIL(chain)->cert));
        CERT_DestroyCertList(chain);
        return last->isRoot ? std::move(last) : nullptr;
    }

    Search m_search = Search::Subject;
    std::vector<Query> m_queries;
    std::vector<Cert> m_certs;
};

Way wayOf(Search search) {
    switch (search) {
        case Search::SubjectKeyId:
            return Way::None;
        case Search::Email:
            return Way::Walk;
        default:
            return Way::Index;
    }
}

}  // namespace

Peer nssPeer() {
    return {.name = std::string("NSS ") + NSS_GetVersion(),
            .parse = parse,
            .makeStore = [](std::size_t) -> std::unique_ptr<Store> {
                return std::make_unique<NssStore>();
            },
            .way = wayOf,
            .largestStore = 100'000,
            .whyNotLarger = "not run: needs 10 GB"};
}

}  // namespace certbench
