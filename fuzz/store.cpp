#include "certstore/SystemCerts.h"

#include <set>

#include "fuzz/Fuzz.h"
#include "support/encoding/Hex.h"
#include "support/settings/Settings.h"
#include "support/x509/KeyMatch.h"
#include "tests/common/TestFiles.h"

// Two stores, driven by a list of operations of some bytes each, beside models that do what the
// stores promise by walking lists. A model goes first: it looks at what the store may let go.

using Cert = X509Certificate*;
using fuzz::require, testfiles::certOf;

namespace {

LogNull quiet;

struct Facts {
    explicit Facts(const X509Certificate& cert)
        : x509(*cert.getX509Ptr()), subject(x509.subjectText()), issuer(x509.issuerText()) {
        XString text;
        cert.getSerialNumber(text, quiet);
        serial = text.getUtf8();
        name = cert.getIssuerPart("CN", text, quiet) ? text.getUtf8() : issuer;
        cert.getEmailAddress(text, quiet);
        text.toLowerCase();
        email = text.getUtf8();
    }

    const certstore::X509& x509;
    std::string subject, issuer, serial, name, email;
};

template <typename Value>
struct Rows : std::vector<std::pair<std::string, Value>> {
    // Of the first row with this text; nothing when there is none.
    Value find(std::string_view text) const {
        for (const auto& row : *this)
            if (row.first == text && !text.empty())
                return row.second;
        return {};
    }
    void replace(std::string_view text, Value value) {
        std::erase_if(*this, [&](const auto& row) { return row.first == text; });
        this->emplace_back(text, value);
    }
};

// On copies, which remember no verdict.
bool verifies(const X509Certificate& cert, const X509Certificate& issuer) {
    const auto copy = fuzz::parse(cert.getX509Ptr()->der(), quiet);
    return certOf(copy).verifyCertSignature(&certOf(fuzz::parse(issuer.getX509Ptr()->der(), quiet)),
                                            quiet);
}

struct Model {
    Rows<Cert> stored, identified;
    Rows<std::string> subjects, emails, issuers;  // the first two lead to keys of `stored`
    std::vector<std::string> order;

    void add(Cert cert) {
        const Facts facts(*cert);
        const std::string key = facts.serial + ":" + facts.name;
        const Cert before = stored.find(key);
        const bool isOther =
            before && !fuzz::equalBytes(facts.x509.spki(), before->getX509Ptr()->spki());
        if (!before || isOther)
            stored.replace(key, cert);
        if (isOther)
            return;
        identified.replace(fuzz::textOf(facts.x509.subjectKeyId()), cert);
        subjects.emplace_back(facts.subject, key);
        emails.emplace_back(facts.email, key);
        if (facts.subject != facts.issuer)
            issuers.emplace_back(key, facts.issuer);
        order.push_back(key);
    }

    Cert at(const std::string& key) const {
        const Cert found = stored.find(key);
        return found || !key.starts_with("00") ? found : stored.find(key.substr(2));
    }

    Cert issuerOf(const X509Certificate& cert) const {
        const Facts facts(cert);
        if (facts.subject == facts.issuer)
            return nullptr;
        const Cert found = identified.find(fuzz::textOf(facts.x509.authorityKeyId()));
        return found ? found : at(subjects.find(issuers.find(facts.serial + ":" + facts.name)));
    }

    bool chain(Cert cert, bool skipSigVerify, std::vector<Cert>& members, bool& reached) const {
        std::set<std::string> met;
        for (reached = false; met.size() < 32; cert = issuerOf(*cert)) {
            XString dn;
            cert->getSubjectDN(dn, quiet);
            if (!met.insert(dn.getUtf8()).second)
                return false;
            const bool isRoot = cert->getX509Ptr()->isSelfIssued();
            const Cert issuer = isRoot ? cert : issuerOf(*cert);
            if (issuer && !skipSigVerify && !verifies(*cert, *issuer))
                return false;
            members.push_back(cert);
            reached = isRoot;
            if (isRoot || !issuer)
                return true;
        }
        return false;
    }
};

// Of tests/data, in DER. The kept inputs mean them by their numbers.
std::vector<std::string> readPool() {
    std::vector<std::string> pool;
    for (const char* name : {"leaf",
                             "intermediate",
                             "root",
                             "same-serial-a",
                             "same-serial-b",
                             "renewed-a",
                             "renewed-b",
                             "same-ski-a",
                             "same-ski-b",
                             "serial-ca",
                             "serial-00",
                             "serial-zero",
                             "no-ki",
                             "no-cn",
                             "empty-subject",
                             "loop",
                             "loop-no-ki",
                             "same-dn",
                             "self-issued-bad-sig",
                             "tampered",
                             "string-types",
                             "email-attribute",
                             "v1",
                             "long-chain"})
        for (const auto& holder : testfiles::loadCerts(name + std::string(".pem")))
            pool.push_back(testfiles::derOf(certOf(holder)));
    return pool;
}

struct Run {
    fuzz::ByteView rest;
    testfiles::Certs certs = {};
    SystemCerts stores[2] = {};
    Model models[2] = {};

    unsigned char next() {
        const unsigned char byte = rest.empty() ? 0 : rest[0];
        rest = rest.subspan(rest.empty() ? 0 : 1);
        return byte;
    }

    // A certificate of the pool, with a byte changed or as it is; or one parsed before.
    Cert take(bool isNew, bool isChanged) {
        static const std::vector<std::string> pool = readPool();
        const unsigned char number = next();
        if (!isNew && !certs.empty())
            return &certOf(certs[certs.size() - 1 - number % certs.size()]);
        std::string der = pool[number % pool.size()];
        const std::size_t at = isChanged ? next() * 256U + next() : 0;
        der[at % der.size()] = isChanged ? static_cast<char>(next()) : der[0];
        if (auto holder = fuzz::parse(fuzz::bytesOf(der), quiet))
            certs.push_back(std::move(holder));
        return certs.empty() ? nullptr : &certOf(certs.back());
    }

    void attachKey(X509Certificate& cert) {
        static _zvPublicKey key;
        DataBuffer der;
        testfiles::loadPemDer("renewed.key", der);
        require(key.isPrivateKey() || key.loadPrivateKeyDer(der, quiet), "a good key loads");
        const bool fits = !cert.hasPrivateKey(false, quiet)
            && cert.m_certKey.match(key) != certstore::KeyMatch::Different;
        require(cert.setPrivateKeyFromObj(key, quiet) == fits, "a key is attached once");
    }

    void add(SystemCerts& store, Model& model, Cert cert) {
        model.add(cert);
        require(store.addCertificate(cert, quiet), "a certificate can be added");
        const Facts facts(*cert);
        require(model.stored.find(facts.serial + ":" + facts.name)->hasPrivateKey(true, quiet)
                    >= cert->hasPrivateKey(true, quiet),
                "a stored certificate takes over a private key");
    }

    void find(SystemCerts& store, const Model& model, const Facts& like, bool zeros) {
        XString dn, unused;
        StringBuffer ski;
        dn.appendUtf8(like.subject.c_str());
        certstore::appendHex(ski, like.x509.subjectKeyId());
        require(store.findBySubjectDN2(dn, unused, false, quiet)
                        == model.at(model.subjects.find(like.subject))
                    && store.findBySubjectKeyId(ski.getString(), quiet)
                        == model.identified.find(fuzz::textOf(like.x509.subjectKeyId()))
                    && store.findByEmailAddr(like.email.c_str(), false, quiet)
                        == model.at(model.emails.find(like.email)),
                "found by subject, key identifier and e-mail address");
        const std::string serial = zeros ? "00" + like.serial : like.serial;
        Cert expected = model.at(serial + ":" + like.name);
        expected = expected ? expected : model.at("00" + serial + ":" + like.name);
        const char* const name = like.name.c_str();
        DataBuffer key, der;
        bool locked = true;
        require(store.findCertificate(serial.c_str(), name, nullptr, quiet) == expected
                    && store.findPrivateKey(serial.c_str(), name, nullptr, key, &der, locked, quiet)
                        == (expected && expected->hasPrivateKey(true, quiet)),
                "found by serial number and issuer");
    }

    void follow(SystemCerts& store, const Model& model, Cert start, bool skip, bool withRoot) {
        require(store.sysCertsFindIssuer(*start, false, quiet) == model.issuerOf(*start), "issuer");
        ExtPtrArray members;
        std::vector<Cert> expected, found;
        bool reached = true, expectReached = true;
        const bool good = store.buildCertChain(*start, withRoot, skip, members, reached, quiet);
        require(
            good == model.chain(start, skip, expected, expectReached) && reached == expectReached,
            "a chain ends where it should");
        for (int i = 0; i < members.getSize(); ++i)
            found.push_back(
                static_cast<CertificateHolder*>(members.elementAt(i))->getCertPtr(quiet));
        expected.resize(expected.size() - (reached && !withRoot));
        require(found == expected, "a chain has the members that it should");
    }

    void step() {
        const unsigned char code = next(), what = code % 8;
        SystemCerts &store = stores[code >> 7], &other = stores[1 - (code >> 7)];
        Model &model = models[code >> 7], &otherModel = models[1 - (code >> 7)];
        const Cert cert = take(what < 2, what == 1);
        if (!cert)
            return;
        if (what < 3)
            add(store, model, cert);
        if (what == 3 && otherModel.order.size() < 100) {
            for (const std::string& key : otherModel.order)
                model.add(otherModel.at(key));
            require(store.mergeSysCerts(other, quiet), "stores merge");
        }
        if (what == 4)
            attachKey(*cert);
        if (what == 5)
            find(store, model, Facts(*cert), code & 8);
        if (what == 6)
            follow(store, model, cert, code & 8, code & 16);
        if (what == 7)  // whoever else has it must keep it
            certs.erase(certs.begin());
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    _zvSettings::m_trustSystemCaRoots = false;
    Run run{{data, size}};
    while (!run.rest.empty())
        run.step();
    for (int side = 0; side < 2; ++side) {
        fuzz::Log log;
        run.stores[side].logInMemoryRepository(log);
        std::string expected = run.models[side].order.empty() ? "empty" : "";
        for (const std::string& key : run.models[side].order)
            expected += "cert" + key;
        require(log.text == "certRepository" + expected, "every accepted addition is listed");
    }
    return 0;
}
