#include "certstore/CertRepository.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

struct CertRepositoryFindTest : StoreTest {
    CertRepository repository;
};

TEST_F(CertRepositoryFindTest, KeysAreTakenAsTheyAreAddressesInAnyCase) {
    X509Certificate &leaf = cert("leaf.pem"), &lower = cert("empty-subject.pem");
    add(repository, {&leaf, &lower});
    EXPECT_EQ(repository.crpFindBySubjectDN((dnOf(leaf) + " ").c_str(), g_quiet), nullptr);
    EXPECT_EQ(repository.crpFindBySubjectKeyId((keyIdOf(leaf) + " ").c_str(), g_quiet), nullptr);
    const auto byEmail = [&](const char* address, const char* afterwards) {
        XString email;
        email.appendUtf8(address);
        X509Certificate* found = repository.crpFindByEmailAddr(email, g_quiet);
        EXPECT_STREQ(email.getUtf8(), afterwards);
        return found;
    };
    EXPECT_EQ(byEmail("Alice.EXAMPLE@Example.ORG", "alice.example@example.org"), &leaf);
    EXPECT_EQ(byEmail("NOBODY@EXAMPLE.ORG", "nobody@example.org"), &lower);
    EXPECT_EQ(byEmail("Alice.Second@example.org", "alice.second@example.org"), nullptr);
}

TEST_F(CertRepositoryFindTest, SerialNumberAndIssuerInAFixedOrder) {
    // One serial number from three issuers: two have a CN, one has only a DN.
    X509Certificate &inner = cert("leaf.pem"),
                    &outer = withSerialOf(inner, cert("intermediate.pem")),
                    &nameless = withSerialOf(inner, *certs("no-cn.pem")[1]),
                    &plain = cert("serial-plain.pem"), &zeros = cert("serial-00.pem"),
                    &blank = edited(plain, "Example CA", "Example C ");
    add(repository, {&inner, &outer, &nameless, &plain, &zeros, &blank});
    const std::string serial = serialOf(inner);
    constexpr const char* kNameless = "O=Example Org without Common Name, C=XX";
    constexpr const char* kPadded = " O=Example Org without Common Name, C=XX";
    using Text = const char*;
    const std::tuple<Text, std::string, Text, Text, X509Certificate*, Text> kRows[] = {
        {"no issuer at all", serial, nullptr, nullptr, nullptr, nullptr},
        {"the CN comes before the DN", serial, "Example Root", kNameless, &outer, nullptr},
        {"then the DN as given", serial, "Wrong", kNameless, &nameless, nullptr},
        {"which is not trimmed", serial, "", kPadded, nullptr, nullptr},
        {"then its CN", serial, "Wrong", "C=XX, CN=Example Root", &outer, "Example Root"},
        {"which is", serial, nullptr, "CN=\"Example Root \"", &outer, "Example Root"},
        {"a CN that is given is not", "0a1b", "Example C ", "CN=Example CA", &blank, nullptr},
        {"names keep their case", "0a1b", "EXAMPLE CA", nullptr, nullptr, nullptr},
        {"a serial number is upper-cased", "0a1b", "Example CA", nullptr, &plain, nullptr},
        {"it may lack the zero byte", "a1b2c3", "Example CA", nullptr, &zeros, nullptr},
        {"with the DN too", "a1b2c3", nullptr, "CN=Example CA, O=Other", &zeros, "Example CA"},
        {"or have one too many", "000a1b", "Example CA", nullptr, &plain, nullptr},
        {"but not two", "00000a1b", "Example CA", nullptr, nullptr, nullptr},
        {"a blank DN is none", "0a1b", nullptr, " \t ", nullptr, nullptr},
        {"a DN without CN", "0a1b", nullptr, "O=Example", nullptr, nullptr},
    };
    for (const auto& [sentence, wanted, cn, dn, found, triedCN] : kRows) {
        SCOPED_TRACE(sentence);
        LogText log;
        EXPECT_EQ(repository.crpFindCert(wanted.c_str(), cn, dn, log), found);
        const std::string sbCN = triedCN ? "    sbCN: " + std::string(triedCN) + "\n" : "";
        EXPECT_EQ(log.getText(), "findCertB:\n" + sbCN);
    }
}

TEST_F(CertRepositoryFindTest, AnIssuerIsFoundByTheDnRecordedAtAddition) {
    const Certs twins = certs("same-dn.pem");
    X509Certificate &root = cert("root.pem"), &rsa = cert("rsa-below-ec.pem");
    add(repository, {&rsa, &root, twins[3], twins[0], twins[1]});
    EXPECT_EQ(repository.crpFindIssuer0(rsa, g_quiet), &root) << "added later, another kind of key";
    EXPECT_EQ(repository.crpFindIssuer0(*twins[3], g_quiet), twins[0]) << "the first of that name";
    EXPECT_EQ(repository.crpFindIssuer0(cert("no-ki.pem"), g_quiet), nullptr) << "never added";
    expectLog("certReposFindIssuer:\n", {}, [&](LogBase& log) {
        EXPECT_EQ(repository.crpFindIssuer0(root, log), nullptr) << "self-issued";
    });
}

}  // namespace
