// Certificates that others wrote, with the fields that another implementation reads in them.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <set>

#include "support/encoding/Hex.h"
#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "tests/common/TestFiles.h"

namespace {

using testfiles::certOf;
using testfiles::listCell;
using testfiles::Row;
using testfiles::textCell;

// One name as a set of attributes for each RDN, so that the order within an RDN does not count.
using Rdn = std::multiset<std::pair<std::string, std::string>>;

std::string canonicalType(std::string type) {
    std::transform(type.begin(), type.end(), type.begin(),
                   [](unsigned char c) { return std::toupper(c); });
    // The table's names for what we call otherwise, or by its OID.
    static const std::map<std::string, std::string> kOthers{
        {"EMAILADDRESS", "E"}, {"INN", "1.2.643.3.131.1.1"}, {"OGRN", "1.2.643.100.1"}};
    const auto other = kOthers.find(type);
    return other == kOthers.end() ? type : other->second;
}

// "#" and DER: the content of a string of at most 127 bytes.
std::string decodeHexValue(const std::string& value) {
    std::string bytes;
    for (std::size_t i = 1; i + 1 < value.size(); i += 2)
        bytes += static_cast<char>(certstore::hexValue(value[i]) * 16
                                   + certstore::hexValue(value[i + 1]));
    return bytes.size() < 2 ? bytes : bytes.substr(2);
}

// Reads a line in RFC 4514 form.
std::vector<Rdn> readName(const std::string& line) {
    std::vector<Rdn> name;
    std::string type, value;
    bool inValue = false, startsRdn = true, isHex = false;
    const auto finish = [&](bool endsRdn) {
        if (startsRdn)
            name.emplace_back();
        name.back().emplace(canonicalType(type), isHex ? decodeHexValue(value) : value);
        type.clear(), value.clear();
        inValue = isHex = false;
        startsRdn = endsRdn;
    };
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (!inValue) {
            if (c == '=')
                inValue = true, isHex = line[i + 1] == '#';
            else if (c != ' ')
                type += c;
        } else if (c == ',' || c == '+') {
            finish(c == ',');
        } else if (c == '\\' && certstore::hexValue(line[i + 1]) >= 0
                   && certstore::hexValue(line[i + 2]) >= 0) {
            value += static_cast<char>(certstore::hexValue(line[i + 1]) * 16
                                       + certstore::hexValue(line[i + 2]));
            i += 2;
        } else {
            value += c == '\\' ? line[++i] : c;
        }
    }
    if (inValue)
        finish(true);
    return name;
}

std::string lastOf(const std::string& cell) {
    std::string value = listCell(cell).back();
    for (std::size_t at; (at = value.find('\0')) != std::string::npos;)
        value.replace(at, 1, "\\00");
    return value;
}

struct Reader {
    X509Certificate& cert;
    LogNull quiet;

    std::string text(bool (X509Certificate::*getter)(XString&, LogBase&) const) {
        XString value;
        (cert.*getter)(value, quiet);
        return value.getUtf8();
    }
    std::string part(bool (X509Certificate::*getter)(const char*, XString&, LogBase&) const) {
        XString value;
        (cert.*getter)("CN", value, quiet);
        return value.getUtf8();
    }
    std::string subjectKeyId() {
        StringBuffer value;
        cert.getSubjectKeyIdentifier(value, quiet);
        return value.getString();
    }
    std::string authorityKeyId() {
        XString value;
        DataBuffer bytes;
        cert.getAuthorityKeyIdentifier(bytes, &value, quiet);
        return value.getUtf8();
    }
};

void compareFields(const Row& row, Reader reader) {
    EXPECT_EQ(readName(reader.text(&X509Certificate::getSubjectDN_noTags)),
              readName(textCell(row.at("subject_rfc2253"))));
    EXPECT_EQ(readName(reader.text(&X509Certificate::getIssuerDN_noTags)),
              readName(textCell(row.at("issuer_rfc2253"))));
    EXPECT_EQ(reader.part(&X509Certificate::getSubjectPart), lastOf(row.at("subject_cn")));
    EXPECT_EQ(reader.part(&X509Certificate::getIssuerPart), lastOf(row.at("issuer_cn")));
    EXPECT_EQ(reader.text(&X509Certificate::getSerialNumber), row.at("serial_der"));
    EXPECT_EQ(reader.subjectKeyId(), row.at("ski"));
    EXPECT_EQ(reader.authorityKeyId(), row.at("aki_keyid"));
    const bool fromSan = !listCell(row.at("email_san"))[0].empty();
    std::string email = listCell(row.at(fromSan ? "email_san" : "email_subject"))[0];
    if (const auto nul = email.find('\0'); nul != std::string::npos)
        email.replace(nul, 1, "\\00");
    EXPECT_EQ(reader.text(&X509Certificate::getEmailAddress), email);
    EXPECT_EQ(testfiles::sha256Of(reader.cert.getX509Ptr()->spki()), row.at("spki_sha256"));
    if (row.at("self_issued") == row.at("self_issued_exact")) {
        EXPECT_EQ(reader.cert.isIssuerSelf(reader.quiet), row.at("self_issued") == "1");
    }
}

ZorvenOwner<CertificateHolder> parseVector(const std::string& id, LogBase& log) {
    const std::string der = testfiles::readFile(testfiles::vectors() / "certs" / (id + ".der"));
    return testfiles::parseCert(certstore::bytesOf(der), log);
}

TEST(VectorCertificates, FieldsAgreeWithTheTable) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    int parsed = 0, refused = 0, free = 0;
    for (const Row& row : testfiles::readTable(testfiles::vectors() / "oracle.tsv")) {
        SCOPED_TRACE(row.at("id") + " " + row.at("flags") + " | " + row.at("pyca"));
        const bool lenient = row.at("parses") == "1", strict = row.at("pyca") == "ok";
        LogText log;
        const auto holder = parseVector(row.at("id"), log);
        if (lenient && strict) {
            ++parsed;
            ASSERT_TRUE(holder) << log.getText();
            compareFields(row, {certOf(holder), {}});
        } else if (!lenient && !strict) {
            ++refused;
            EXPECT_FALSE(holder);
            EXPECT_EQ(std::count(log.getText().begin(), log.getText().end(), '\n'), 1);
        } else {
            ++free;
        }
    }
    std::cout << parsed << " parsed, " << refused << " refused, " << free << " free\n";
    EXPECT_GT(parsed, 1000);
}

// Signatures that the table's implementation accepts and we do not:
bool isRefusedHere(const X509Certificate& child, const X509Certificate& issuer,
                   const std::string& algorithm) {
    constexpr unsigned char kMd5[] = {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x05};
    constexpr unsigned char kEcKey[] = {0x2a, 0x86, 0x48, 0xce, 0x3d, 0x02, 0x01, 0x30};
    // A salt of 2^62 + 32 octets, which it takes for 32.
    constexpr unsigned char kHugeSalt[] = {0xa2, 0x0a, 0x02, 0x08, 0x40, 0, 0, 0, 0, 0, 0, 0x20};
    const auto contains = [](certstore::ByteView bytes, certstore::ByteView part) {
        return !std::ranges::search(bytes, part).empty();
    };
    const certstore::ByteView identifier = child.getX509Ptr()->signatureAlgorithm();
    // Collisions of these digests have forged CA certificates.
    return algorithm.starts_with("md2") || algorithm.starts_with("md4")
        || algorithm.starts_with("md5") || contains(identifier, kMd5)
        || contains(identifier, kHugeSalt)
        // Curves are named, and not made by whoever makes the key.
        || contains(issuer.getX509Ptr()->spki(), kEcKey);
}

// Counts and checks the verdicts of one table.
class Verdicts {
public:
    ~Verdicts() { std::cout << m_good << " verify, " << m_bad << " do not\n"; }
    int good() const { return m_good; }

    // `verdict`: true, false, or why there is none.
    void check(X509Certificate& child, X509Certificate& issuer, const std::string& verdict,
               const std::string& algorithm) {
        if ((verdict != "true" && verdict != "false") || algorithm.starts_with("ML-DSA"))
            return;
        const bool expected = verdict == "true" && !isRefusedHere(child, issuer, algorithm);
        ++(expected ? m_good : m_bad);
        LogText log;
        EXPECT_EQ(child.verifyCertSignature(&issuer, log), expected) << log.getText();
        EXPECT_EQ(std::count(log.getText().begin(), log.getText().end(), '\n'), expected ? 0 : 1)
            << log.getText();
    }

private:
    int m_good = 0, m_bad = 0;
};

TEST(VectorCertificates, PairsVerifyAsTheTableSays) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    LogNull quiet;
    std::map<std::string, ZorvenOwner<CertificateHolder>> certs;
    const auto certWith = [&](const std::string& id) -> X509Certificate* {
        auto& holder = certs[id];
        if (!holder)
            holder = parseVector(id, quiet);
        return holder ? holder->getCertPtr(quiet) : nullptr;
    };
    Verdicts verdicts;
    for (const Row& row : testfiles::readTable(testfiles::vectors() / "pairs.tsv")) {
        X509Certificate* child = certWith(row.at("child"));
        X509Certificate* issuer = certWith(row.at("issuer"));
        if (!child || !issuer || row.at("oracle") == "disagree")
            continue;
        SCOPED_TRACE(row.at("child") + " " + row.at("issuer") + " " + row.at("sig_alg"));
        verdicts.check(*child, *issuer, row.at("expected"), row.at("sig_alg"));
    }
    EXPECT_GT(verdicts.good(), 500);
}

TEST(VectorCertificates, SelfSignaturesVerifyAsTheTableSays) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    Verdicts verdicts;
    for (const Row& row : testfiles::readTable(testfiles::vectors() / "oracle.tsv")) {
        SCOPED_TRACE(row.at("id") + " " + row.at("sig_alg") + " " + row.at("key_alg"));
        LogNull quiet;
        const auto holder = parseVector(row.at("id"), quiet);
        if (holder)
            verdicts.check(certOf(holder), certOf(holder), row.at("self_sig"), row.at("sig_alg"));
    }
    EXPECT_GT(verdicts.good(), 200);
}

}  // namespace
