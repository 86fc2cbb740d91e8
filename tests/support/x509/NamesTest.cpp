// Names as text, and the reading of names that people type.

#include <gtest/gtest.h>

#include <set>

#include "support/asn1/DerWriter.h"
#include "support/log/LogNull.h"
#include "support/x509/DistinguishedName.h"
#include "support/x509/NameAttributes.h"
#include "support/x509/NameText.h"
#include "tests/support/Cases.h"

namespace {

using testfiles::certOf;

// In the order of names.pem: the subject without tags, and its CN.
TEST(Names, AreEscapedExactly) {
    const auto certs = testfiles::loadCerts("names.pem");
    auto next = certs.begin();
    LogNull log;
    forEachCase("names.tsv", [&](const Row& row) {
        ASSERT_NE(next, certs.end());
        const X509Certificate& cert = certOf(*next++);
        const std::string& name = row.at("text");
        XString subject, issuer, cn;
        EXPECT_TRUE(cert.getSubjectDN_noTags(subject, log));
        EXPECT_TRUE(cert.getIssuerDN_noTags(issuer, log));
        EXPECT_TRUE(cert.getSubjectPart("cn", cn, log));
        EXPECT_EQ(subject.getUtf8(), name);
        EXPECT_EQ(issuer.getUtf8(), name);
        EXPECT_EQ(cn.getUtf8(), testfiles::textCell(row.at("CN")));
        EXPECT_TRUE(cert.isIssuerSelf(log));
        // What we write, we read: the CN comes back from the text.
        StringBuffer typed;
        EXPECT_TRUE(DistinguishedName::getDnPart(subject.getUtf8(), "CN", typed, log));
        EXPECT_STREQ(typed.getString(), cn.getUtf8());
    });
    EXPECT_EQ(next, certs.end());
}

TEST(Names, AreOneTextInEveryStringTypeAndToldApartWithTags) {
    const auto certs = testfiles::loadCerts("string-types.pem");
    ASSERT_EQ(certs.size(), 12U);
    LogNull log;
    std::set<std::string> plain, tagged;
    for (std::size_t i = 0; i < 10; ++i) {
        XString text, withTags;
        certOf(certs[i]).getSubjectDN_noTags(text, log);
        certOf(certs[i]).getSubjectDN(withTags, log);
        plain.insert(text.getUtf8());
        tagged.insert(withTags.getUtf8());
    }
    EXPECT_EQ(plain, (std::set<std::string>{"CN=Example Types, C=XX", "CN=Caf\xc3\xa9, C=XX"}));
    EXPECT_EQ(tagged.size(), 10U);
    EXPECT_EQ(tagged.count("CN=T61:Caf\xc3\xa9, C=PRINTABLE:XX"), 1U);

    XString issuer, subject;
    certOf(certs[11]).getIssuerDN_noTags(issuer, log);
    certOf(certs[10]).getSubjectDN_noTags(subject, log);
    EXPECT_TRUE(issuer.equalsX(subject)) << "a leaf that writes its issuer in another type";
}

TEST(Names, HoldAnyNumberOfAttributes) {
    using certstore::appendDer;
    // 2.5.4.0 to 2.5.4.39, of which some have names.
    DataBuffer name;
    std::string expected;
    for (unsigned char arc = 0; arc < 40; ++arc) {
        DataBuffer attribute, rdn;
        appendDer(attribute, 0x06, certstore::bytesOf(std::string("\x55\x04") + char(arc)));
        appendDer(attribute, 0x0c, certstore::bytesOf("v"));
        appendDer(rdn, 0x30, attribute.view());
        appendDer(name, 0x31, rdn.view());
        const std::string_view known =
            certstore::attributeShortName(attribute.view().subspan(2, 3));
        const std::string type =
            known.empty() ? "2.5.4." + std::to_string(arc) : std::string(known);
        expected.insert(0, type + "=v" + (arc == 0 ? "" : ", "));
        StringBuffer text;
        certstore::appendNameText(text, name.view(), certstore::NameForm::NoTags);
        ASSERT_EQ(text.view(), expected);
    }
    EXPECT_TRUE(expected.ends_with(
        "2.5.4.16=v, BUSINESSCATEGORY=v, 2.5.4.14=v, DESCRIPTION=v, TITLE=v, OU=v, "
        "O=v, STREET=v, ST=v, L=v, C=v, SERIALNUMBER=v, SN=v, CN=v, 2.5.4.2=v, 2.5.4.1=v, "
        "2.5.4.0=v"));
}

TEST(DistinguishedName, ReadsWhatPeopleType) {
    LogNull log;
    forEachCase("typed-names.tsv", [&](const Row& row) {
        const std::string name = testfiles::textCell(row.at("text")), &expected = row.at("value");
        StringBuffer value;
        EXPECT_EQ(DistinguishedName::getDnPart(name.c_str(), row.at("part").c_str(), value, log),
                  expected != "(none)");
        EXPECT_EQ(value.view(), expected == "(none)" ? "" : testfiles::textCell(expected));
    });
    StringBuffer value;
    EXPECT_FALSE(DistinguishedName::getDnPart(nullptr, "CN", value, log));
}

}  // namespace
