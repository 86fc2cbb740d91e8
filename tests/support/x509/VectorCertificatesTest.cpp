// Certificates that others wrote, with the fields that another implementation reads in them.

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <set>

#include "support/encoding/Hex.h"
#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"

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
    const Bytes der = fromHex(std::string_view(value).substr(1));
    return std::string(der.begin() + 2, der.end());
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

std::string withoutNul(std::string value) {
    for (std::size_t at; (at = value.find('\0')) != std::string::npos;)
        value.replace(at, 1, "\\00");
    return value;
}

void compareFields(const Row& row, const X509Certificate& cert) {
    LogNull quiet;
    XString subject, issuer, subjectCN, issuerCN, serial, authorityKeyId, email;
    StringBuffer subjectKeyId;
    DataBuffer bytes;
    cert.getSubjectDN_noTags(subject, quiet);
    cert.getIssuerDN_noTags(issuer, quiet);
    cert.getSubjectPart("CN", subjectCN, quiet);
    cert.getIssuerPart("CN", issuerCN, quiet);
    cert.getSerialNumber(serial, quiet);
    cert.getSubjectKeyIdentifier(subjectKeyId, quiet);
    cert.getAuthorityKeyIdentifier(bytes, &authorityKeyId, quiet);
    cert.getEmailAddress(email, quiet);
    EXPECT_EQ(readName(subject.getUtf8()), readName(textCell(row.at("subject_rfc2253"))));
    EXPECT_EQ(readName(issuer.getUtf8()), readName(textCell(row.at("issuer_rfc2253"))));
    EXPECT_EQ(subjectCN.getUtf8(), withoutNul(listCell(row.at("subject_cn")).back()));
    EXPECT_EQ(issuerCN.getUtf8(), withoutNul(listCell(row.at("issuer_cn")).back()));
    EXPECT_EQ(serial.getUtf8(), row.at("serial_der"));
    EXPECT_EQ(subjectKeyId.getString(), row.at("ski"));
    EXPECT_EQ(authorityKeyId.getUtf8(), row.at("aki_keyid"));
    const std::string fromSan = listCell(row.at("email_san")).front();
    EXPECT_EQ(email.getUtf8(),
              withoutNul(fromSan.empty() ? listCell(row.at("email_subject")).front() : fromSan));
    EXPECT_EQ(testfiles::sha256Of(cert.getX509Ptr()->spki()), row.at("spki_sha256"));
    EXPECT_TRUE(row.at("self_issued") != row.at("self_issued_exact")
                || cert.isIssuerSelf(quiet) == (row.at("self_issued") == "1"));
}

ZorvenOwner<CertificateHolder> parseVector(const std::string& id, LogBase& log) {
    const std::string der = testfiles::readFile(testfiles::vectors() / "certs" / (id + ".der"));
    return testfiles::parseCert(certstore::bytesOf(der), log);
}

TEST(VectorCertificates, FieldsAgreeWithTheTable) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    int parsed = 0;
    for (const Row& row : testfiles::readTable(testfiles::vectors() / "oracle.tsv")) {
        SCOPED_TRACE(row.at("id") + " " + row.at("flags") + " | " + row.at("pyca"));
        const bool lenient = row.at("parses") == "1", strict = row.at("pyca") == "ok";
        LogText log;
        const auto holder = parseVector(row.at("id"), log);
        if (lenient && strict) {
            ++parsed;
            ASSERT_TRUE(holder) << log.getText();
            compareFields(row, certOf(holder));
        } else if (!lenient && !strict) {
            EXPECT_FALSE(holder);
            EXPECT_EQ(std::count(log.getText().begin(), log.getText().end(), '\n'), 1);
        }
    }
    std::cout << parsed << " parsed\n";
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
        return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
    };
    const certstore::ByteView identifier = child.getX509Ptr()->signatureAlgorithm();
    // Collisions of these digests have forged CA certificates.
    return algorithm.starts_with("md2") || algorithm.starts_with("md4")
        || algorithm.starts_with("md5") || contains(identifier, kMd5)
        || contains(identifier, kHugeSalt)
        // Curves are named, and not made by whoever makes the key.
        || contains(issuer.getX509Ptr()->spki(), kEcKey);
}

TEST(VectorCertificates, SignaturesVerifyAsTheTablesSay) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    const std::tuple<const char*, const char*, const char*, const char*, int> kTables[] = {
        {"pairs.tsv", "child", "issuer", "expected", 500},
        {"oracle.tsv", "id", "id", "self_sig", 200},
    };
    for (const auto& [table, childId, issuerId, verdictCell, fewest] : kTables) {
        int good = 0, bad = 0;
        for (const Row& row : testfiles::readTable(testfiles::vectors() / table)) {
            const std::string &algorithm = row.at("sig_alg"), &verdict = row.at(verdictCell);
            LogText log;
            const auto child = parseVector(row.at(childId), log);
            const auto issuer = parseVector(row.at(issuerId), log);
            // Other texts say why there is no verdict.
            if (!child || !issuer || (verdict != "true" && verdict != "false")
                || (row.contains("oracle") && row.at("oracle") == "disagree"))
                continue;
            SCOPED_TRACE(row.at(childId) + " " + row.at(issuerId) + " " + algorithm);
            const bool expected =
                verdict == "true" && !isRefusedHere(certOf(child), certOf(issuer), algorithm);
            ++(expected ? good : bad);
            EXPECT_EQ(certOf(child).verifyCertSignature(&certOf(issuer), log), expected);
            EXPECT_EQ(std::ranges::count(log.getText(), '\n'), expected ? 0 : 1) << log.getText();
        }
        std::cout << good << " verify, " << bad << " do not\n";
        EXPECT_GT(good, fewest);
    }
}

// Each octet changed at the end, where the encoding has room, and some of the others.
TEST(VectorCertificates, OfMlDsaFailWithAnyOctetChanged) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    std::set<std::string> seen;
    for (const Row& row : testfiles::readTable(testfiles::vectors() / "oracle.tsv")) {
        const std::string& algorithm = row.at("sig_alg");
        if (!algorithm.starts_with("ML-DSA") || row.at("self_sig") != "true"
            || !seen.insert(algorithm).second)
            continue;
        LogText log;
        const auto issuer = parseVector(row.at("id"), log);
        std::string bytes = testfiles::derOf(certOf(issuer));
        for (std::size_t at = 4; at < bytes.size(); at += at + 100 < bytes.size() ? 13 : 1) {
            bytes[at] ^= 1;
            const auto changed = testfiles::parseCert(certstore::bytesOf(bytes), log);
            bytes[at] ^= 1;
            EXPECT_FALSE(changed && certOf(changed).verifyCertSignature(&certOf(issuer), log))
                << row.at("id") << " at " << at;
        }
    }
    EXPECT_EQ(seen.size(), 3u);
}

}  // namespace
