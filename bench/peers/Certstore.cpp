#include <deque>
#include <fstream>
#include <iterator>

#include "bench/common/Bench.h"
#include "bench/peers/Peers.h"
#include "certstore/SystemCerts.h"
#include "support/log/LogNull.h"
#include "support/settings/Settings.h"
#include "support/vault/CertMgr.h"

namespace certbench {

namespace {

using Holder = ZorvenOwner<CertificateHolder>;

Holder parseDer(ByteView der, LogBase& log) {
    return Holder(CertificateHolder::createFromDer(
        der.data(), static_cast<unsigned int>(der.size()), nullptr, log));
}

void readFields(X509Certificate& cert, FieldSink& fields, LogBase& log) {
    XString subject, issuer, serial, authorityKeyIdText, email;
    StringBuffer subjectKeyId;
    DataBuffer authorityKeyId, publicKey;
    cert.getSubjectDN_noTags(subject, log);
    cert.getIssuerDN_noTags(issuer, log);
    cert.getSerialNumber(serial, log);
    cert.getSubjectKeyIdentifier(subjectKeyId, log);
    cert.getAuthorityKeyIdentifier(authorityKeyId, &authorityKeyIdText, log);
    cert.getEmailAddress(email, log);
    cert.getPublicKeyAsDER(publicKey, log);
    fields.take(Field::Subject, subject.getUtf8Sb().view());
    fields.take(Field::Issuer, issuer.getUtf8Sb().view());
    fields.take(Field::Serial, serial.getUtf8Sb().view());
    fields.take(Field::SubjectKeyId, subjectKeyId.view());
    fields.take(Field::AuthorityKeyId, authorityKeyIdText.getUtf8Sb().view());
    fields.take(Field::Email, email.getUtf8Sb().view());
    fields.take(Field::PublicKey, publicKey.view());
}

bool parse(ByteView der, FieldSink* fields) {
    LogNull log;
    const Holder holder = parseDer(der, log);
    if (holder && fields)
        readFields(*holder->getCertPtr(log), *fields, log);
    return holder != nullptr;
}

int loadBundle(const char* path) {
    LogNull log;
    std::ifstream file(path, std::ios::binary);
    const std::string pem{std::istreambuf_iterator<char>(file), {}};
    CertMgr vault;
    vault.addPem(pem, nullptr, log);
    SystemCerts store;
    store.addCertVault(vault, log);
    return vault.getNumCerts();
}

class CertstoreStore : public Store {
public:
    // The peers look nowhere else than in their stores; so does ours here.
    CertstoreStore() { _zvSettings::m_trustSystemCaRoots = false; }

    bool add(ByteView der) override {
        LogNull log;
        const Holder holder = parseDer(der, log);
        return holder && m_store.addCertificate(holder->getCertPtr(log), log);
    }

    void prepare(Search search, const std::vector<std::string>& wanted) override {
        LogNull log;
        m_search = search;
        m_queries.clear();
        for (const std::string& der : wanted) {
            Query& query = m_queries.emplace_back();
            query.cert = parseDer(certstore::bytesOf(der), log);
            X509Certificate& cert = *query.cert->getCertPtr(log);
            if (search == Search::Subject)
                cert.getSubjectDN_noTags(query.text, log);
            if (search == Search::SubjectKeyId)
                cert.getSubjectKeyIdentifier(query.text.getUtf8Sb_rw(), log);
            if (search == Search::Email)
                cert.getEmailAddress(query.text, log);
            if (search == Search::SerialAndIssuer) {
                cert.getSerialNumber(query.text, log);
                cert.getIssuerPart("CN", query.issuer, log);
            }
            if (search != Search::Issuer && search != Search::Chain)
                query.cert.reset();
        }
    }

    bool find(std::size_t number, std::string* found) override {
        LogNull log;
        Query& query = m_queries[number];
        if (m_search == Search::Chain)
            return findChain(*query.cert->getCertPtr(log), found, log);
        const X509Certificate* cert = findOne(query, log);
        if (cert && found)
            *found = certstore::textOf(cert->getX509Ptr()->der());
        return cert;
    }

private:
    struct Query {
        XString text, issuer;
        Holder cert;
    };

    X509Certificate* findOne(Query& query, LogBase& log) {
        const char* text = query.text.getUtf8();
        switch (m_search) {
            case Search::Subject:
                return m_store.findBySubjectDN2(query.text, query.issuer, false, log);
            case Search::SerialAndIssuer:
                return m_store.findCertificate(text, query.issuer.getUtf8(), nullptr, log);
            case Search::SubjectKeyId:
                return m_store.findBySubjectKeyId(text, log);
            case Search::Email:
                return m_store.findByEmailAddr(text, false, log);
            case Search::Issuer:
                return m_store.sysCertsFindIssuer(*query.cert->getCertPtr(log), false, log);
            case Search::Chain:
                break;
        }
        return nullptr;
    }

    bool findChain(X509Certificate& leaf, std::string* found, LogBase& log) {
        ExtPtrArray chain;
        bool reachedRoot = false;
        if (!m_store.buildCertChain(leaf, true, true, chain, reachedRoot, log) || !reachedRoot)
            return false;
        if (found) {
            auto* last = static_cast<CertificateHolder*>(chain.elementAt(chain.getSize() - 1));
            *found = certstore::textOf(last->getCertPtr(log)->getX509Ptr()->der());
        }
        return true;
    }

    SystemCerts m_store;
    Search m_search = Search::Subject;
    std::deque<Query> m_queries;  // texts do not move
};

}  // namespace

Peer certstorePeer() {
    return {.name = kOurs,
            .parse = parse,
            .loadBundle = loadBundle,
            .makeStore = [](std::size_t) -> std::unique_ptr<Store> {
                return std::make_unique<CertstoreStore>();
            },
            .way = [](Search) { return Way::Index; },
            .largestStore = 1'000'000,
            .searchesInThreads = true};
}

}  // namespace certbench
