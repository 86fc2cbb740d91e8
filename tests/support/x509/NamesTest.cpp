// Names as text, and the reading of names that people type.

#include <gtest/gtest.h>

#include <set>

#include "support/asn1/DerWriter.h"
#include "support/log/LogNull.h"
#include "support/x509/DistinguishedName.h"
#include "support/x509/NameAttributes.h"
#include "support/x509/NameText.h"
#include "tests/common/TestFiles.h"

namespace {

using testfiles::certOf;

// In the order of names.pem: what the name is about, the subject without tags, its CN.
const std::tuple<const char*, const char*, const char*> kNames[] = {
    {"blank in front", "CN=\\ leading, C=XX", " leading"},
    {"blank behind", "CN=trailing\\ , C=XX", "trailing "},
    {"number sign in front", "CN=\\#hash, C=XX", "#hash"},
    {"comma", "CN=comma\\, inside, O=Example\\, Inc., C=XX", "comma, inside"},
    {"plus", "CN=one\\+two, C=XX", "one+two"},
    {"quotation marks", "CN=the \\\"quoted\\\" name, C=XX", "the \"quoted\" name"},
    {"backslash", "CN=back\\\\slash, C=XX", "back\\slash"},
    {"semicolon", "CN=semi\\;colon, C=XX", "semi;colon"},
    {"angle brackets", "CN=\\<angle\\>, C=XX", "<angle>"},
    {"a value that looks like attributes", "CN=x\\, O=Other, C=XX", "x, O=Other"},
    {"slash", "CN=a/CN=b, C=XX", "a/CN=b"},
    {"control characters", "CN=tab\\09here\\0Aline, C=XX", "tab\there\nline"},
    {"NUL inside", "CN=www.example.org\\00.example.net, C=XX", "www.example.org\\00.example.net"},
    {"only a blank", "CN=\\ , C=XX", " "},
    {"empty", "CN=, C=XX", ""},
    {"two attributes in one RDN", "CN=Multi+SERIALNUMBER=42, C=XX", "Multi"},
    {"of several the last encoded", "CN=Third, CN=Second, CN=First, C=XX", "Third"},
    {"domain components", "CN=Directory, DC=example, DC=org", "Directory"},
    {"an attribute without a name", "1.2.3.4.5=what?, CN=Unknown, C=XX", "Unknown"},
    {"beyond ASCII", "CN=Zo\xc3\xab, O=\xe6\x97\xa5\xe6\x9c\xac, C=XX", "Zo\xc3\xab"},
    {"beyond 16 bits", "CN=\xf0\x9f\x94\x91 key, C=XX", "\xf0\x9f\x94\x91 key"},
};

TEST(Names, AreEscapedExactly) {
    const auto certs = testfiles::loadCerts("names.pem");
    ASSERT_EQ(certs.size(), std::size(kNames));
    LogNull log;
    for (std::size_t i = 0; i < certs.size(); ++i) {
        const auto& [sentence, name, expectedCN] = kNames[i];
        XString subject, issuer, cn;
        EXPECT_TRUE(certOf(certs[i]).getSubjectDN_noTags(subject, log));
        EXPECT_TRUE(certOf(certs[i]).getIssuerDN_noTags(issuer, log));
        EXPECT_TRUE(certOf(certs[i]).getSubjectPart("cn", cn, log));
        EXPECT_STREQ(subject.getUtf8(), name) << sentence;
        EXPECT_STREQ(issuer.getUtf8(), name) << sentence;
        EXPECT_STREQ(cn.getUtf8(), expectedCN) << sentence;
        EXPECT_TRUE(certOf(certs[i]).isIssuerSelf(log));
        // What we write, we read: the CN comes back from the text.
        StringBuffer typed;
        EXPECT_TRUE(DistinguishedName::getDnPart(subject.getUtf8(), "CN", typed, log));
        EXPECT_STREQ(typed.getString(), expectedCN) << sentence;
    }
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
    // The last is null where there is no value.
    const std::tuple<const char*, const char*, const char*, const char*> kCases[] = {
        {"as certificates write it", "CN=Example CA, O=Example", "CN", "Example CA"},
        {"blanks around the signs", "O = Example ,  CN = Example CA  ", "CN", "Example CA"},
        {"names in any case", "cn=Example CA", "CN", "Example CA"},
        {"dotted OID in the text", "2.5.4.3=Example CA", "CN", "Example CA"},
        {"with its old prefix", "oid.2.5.4.3=Example CA", "cn", "Example CA"},
        {"dotted OID in the question", "CN=Example CA", "2.5.4.3", "Example CA"},
        {"an attribute of no name", "1.2.3.4=x, CN=y", "1.2.3.4", "x"},
        {"synonyms", "emailAddress=a@example.org", "E", "a@example.org"},
        {"semicolons", "O=Example;CN=Example CA", "CN", "Example CA"},
        {"plus", "SERIALNUMBER=1+CN=Example CA, O=x", "CN", "Example CA"},
        {"escaped comma", "CN=Example\\, Inc., O=x", "CN", "Example, Inc."},
        {"quoted comma", "CN=\"Example, Inc.\", O=x", "CN", "Example, Inc."},
        {"quote within quotes", "CN=\"a\\\"b\" , O=x", "CN", "a\"b"},
        {"escaped blanks at the ends", "CN=\\ a\\ , O=x", "CN", " a "},
        {"a blank inside", "CN=a  b ,O=x", "CN", "a  b"},
        {"escaped bytes", "CN=Zo\\C3\\ABx", "CN", "Zo\xc3\xabx"},
        {"a byte that is no text", "CN=\\FF", "CN", "\\FF"},
        {"NUL", "CN=a\\00b", "CN", "a\\00b"},
        {"DER in hexadecimal", "CN=#0C024869, O=x", "CN", "Hi"},
        {"broken hexadecimal stays as typed", "CN=#0C0248, O=x", "CN", "#0C0248"},
        {"of several the first in the text", "CN=one, CN=two", "CN", "one"},
        {"an attribute within a value is none", "O=\"CN=x\"", "CN", nullptr},
        {"nor behind an escaped comma", "O=a\\, CN=x", "CN", nullptr},
        {"empty value", "CN=, O=x", "CN", ""},
        {"no attribute at all", "Example CA", "CN", nullptr},
        {"quote never closed", "O=x, CN=\"open, O=y", "CN", "open, O=y"},
        {"escape at the end", "CN=a\\", "CN", "a\\"},
        {"null", nullptr, "CN", nullptr},
    };
    LogNull log;
    for (const auto& [sentence, dn, part, expected] : kCases) {
        StringBuffer value;
        EXPECT_EQ(DistinguishedName::getDnPart(dn, part, value, log), expected != nullptr)
            << sentence;
        EXPECT_STREQ(value.getString(), expected ? expected : "") << sentence;
    }
}

}  // namespace
