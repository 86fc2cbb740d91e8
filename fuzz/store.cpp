#include "certstore/SystemCerts.h"

#include <map>
#include <set>
#include <sstream>

#include "fuzz/Fuzz.h"
#include "support/encoding/Hex.h"
#include "support/log/LogNull.h"
#include "support/settings/Settings.h"

// Two stores, driven by a list of operations of some bytes each, beside models that do what the
// stores promise with what the language brings. A model goes first: it looks at what the store may
// let go.

using Cert = X509Certificate*;
using fuzz::require, fuzz::textOf, testfiles::certOf;

namespace {

LogNull quiet;

// Serial number, ":" and the name of the issuer.
std::string keyOf(const X509Certificate& cert) {
    XString serial, name;
    cert.getSerialNumber(serial, quiet);
    if (!cert.getIssuerPart("CN", name, quiet))
        cert.getIssuerDN_noTags(name, quiet);
    return serial.getUtf8() + std::string(":") + name.getUtf8();
}

std::string emailOf(const X509Certificate& cert) {
    XString email;
    cert.getEmailAddress(email, quiet);
    email.toLowerCase();
    return email.getUtf8();
}

template <typename Value>
using Map = std::map<std::string, Value>;

// Nothing for the empty text, under which nothing may be found.
template <typename Value>
Value in(const Map<Value>& map, std::string_view text) {
    const auto row = map.find(std::string(text));
    return row == map.end() || text.empty() ? Value() : row->second;
}

// On copies, which remember no verdict.
bool verifies(const X509Certificate& cert, const X509Certificate& issuer) {
    const auto copy = testfiles::parseCert(cert.getX509Ptr()->der(), quiet),
               signer = testfiles::parseCert(issuer.getX509Ptr()->der(), quiet);
    return certOf(copy).verifyCertSignature(&certOf(signer), quiet);
}

struct Model {
    Map<Cert> stored, identified;
    Map<std::string> subjects, emails, issuers;  // the first two lead to keys of `stored`
    std::vector<std::string> order;

    void add(Cert cert) {
        const certstore::X509& x509 = *cert->getX509Ptr();
        const std::string key = keyOf(*cert);
        const Cert before = stored.try_emplace(key, cert).first->second;
        if (!fuzz::equalBytes(x509.spki(), before->getX509Ptr()->spki())) {
            stored[key] = cert;
            return;
        }
        identified[std::string(textOf(x509.subjectKeyId()))] = cert;
        subjects.emplace(x509.subjectText(), key);
        emails.emplace(emailOf(*cert), key);
        if (!x509.isSelfIssued())
            issuers.emplace(key, x509.issuerText());
        order.push_back(key);
    }

    Cert at(const std::string& key) const {
        const Cert found = in(stored, key);
        return found || !key.starts_with("00") ? found : in(stored, key.substr(2));
    }

    Cert issuerOf(const X509Certificate& cert) const {
        if (cert.isIssuerSelf(quiet))
            return nullptr;
        const Cert found = in(identified, textOf(cert.getX509Ptr()->authorityKeyId()));
        return found ? found : at(in(subjects, in(issuers, keyOf(cert))));
    }

    // The root included.
    bool chain(Cert cert, bool skipSigVerify, std::vector<Cert>& members, bool& reached) const {
        std::set<std::string> met;
        for (reached = false; met.size() < 32; cert = issuerOf(*cert)) {
            XString dn;
            cert->getSubjectDN(dn, quiet);
            if (!met.insert(dn.getUtf8()).second)
                return false;
            const Cert issuer = cert->isIssuerSelf(quiet) ? cert : issuerOf(*cert);
            if (issuer && !skipSigVerify && !verifies(*cert, *issuer))
                return false;
            members.push_back(cert);
            reached = cert->isIssuerSelf(quiet);
            if (reached || !issuer)
                return true;
        }
        return false;
    }
};

void find(SystemCerts& store, const Model& model, const X509Certificate& like, bool zeros) {
    const certstore::X509& x509 = *like.getX509Ptr();
    const std::string key = (zeros ? "00" : "") + keyOf(like), email = emailOf(like);
    const std::string serial = key.substr(0, key.find(':')), name = key.substr(serial.size() + 1);
    const Cert exact = model.at(key);
    XString dn, unused;
    StringBuffer ski;
    dn.appendUtf8(x509.subjectText().data());
    certstore::appendHex(ski, x509.subjectKeyId());
    require(store.findBySubjectDN2(dn, unused, false, quiet)
                    == model.at(in(model.subjects, x509.subjectText()))
                && store.findBySubjectKeyId(ski.getString(), quiet)
                    == in(model.identified, textOf(x509.subjectKeyId()))
                && store.findByEmailAddr(email.c_str(), false, quiet)
                    == model.at(in(model.emails, email))
                && store.findCertificate(serial.c_str(), name.c_str(), nullptr, quiet)
                    == (exact ? exact : model.at("00" + key)),
            "the certificates that should be are found");
}

void follow(SystemCerts& store, const Model& model, Cert start, bool skip, bool withRoot) {
    require(store.sysCertsFindIssuer(*start, false, quiet) == model.issuerOf(*start), "its issuer");
    ExtPtrArray members;
    std::vector<Cert> expected, found;
    bool reached = true, expectReached = true;
    const bool good = store.buildCertChain(*start, withRoot, skip, members, reached, quiet);
    require(good == model.chain(start, skip, expected, expectReached) && reached == expectReached,
            "a chain ends where it should");
    for (int i = 0; i < members.getSize(); ++i)
        found.push_back(static_cast<CertificateHolder*>(members.elementAt(i))->getCertPtr(quiet));
    expected.resize(expected.size() - (reached && !withRoot));
    require(found == expected, "a chain has the members that it should");
}

// Of tests/data, in DER. The kept inputs mean them by their numbers.
std::vector<std::string> readPool() {
    std::istringstream names(
        "leaf intermediate root same-serial-a same-serial-b renewed-a renewed-b same-ski-a "
        "same-ski-b serial-ca serial-00 serial-zero no-ki no-cn empty-subject loop loop-no-ki "
        "same-dn self-issued-bad-sig tampered string-types email-attribute v1 long-chain");
    std::vector<std::string> pool;
    for (std::string name; names >> name;)
        for (const auto& holder : testfiles::loadCerts(name + ".pem"))
            pool.push_back(testfiles::derOf(certOf(holder)));
    return pool;
}

struct Side {
    SystemCerts store = {};
    Model model = {};

    void add(Cert cert) {
        model.add(cert);
        require(store.addCertificate(cert, quiet), "a certificate can be added");
    }

    void merge(Side& other) {
        if (other.model.order.size() > 100)
            return;
        for (const std::string& key : other.model.order)
            model.add(other.model.at(key));
        require(store.mergeSysCerts(other.store, quiet), "stores merge");
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::string> pool = readPool();
    _zvSettings::m_trustSystemCaRoots = false;
    Side sides[2];
    testfiles::Certs certs;  // all that were parsed so far
    // An operation is its code, the number of a certificate, and the place and value of a byte.
    for (std::size_t i = 0; i + 4 < size; i += 5) {
        const unsigned int code = data[i], what = code % 8, number = data[i + 1];
        if (what < 2) {
            std::string der = pool[number % pool.size()];
            if (what == 1)
                der[(data[i + 2] * 256U + data[i + 3]) % der.size()] =
                    static_cast<char>(data[i + 4]);
            if (auto holder = testfiles::parseCert(fuzz::bytesOf(der), quiet))
                certs.push_back(std::move(holder));
        }
        if (certs.empty())
            continue;
        Side& side = sides[code >> 7];
        const std::size_t back = what < 2 ? 0 : number % certs.size();
        const Cert cert = &certOf(certs[certs.size() - 1 - back]);
        if (what < 3)
            side.add(cert);
        if (what == 3)
            side.merge(sides[1 - (code >> 7)]);
        if (what == 4)  // whoever else has it must keep it
            certs.erase(certs.begin());
        if (what == 5)
            find(side.store, side.model, *cert, code & 8);
        if (what > 5)
            follow(side.store, side.model, cert, code & 8, code & 16);
    }
    return 0;
}
