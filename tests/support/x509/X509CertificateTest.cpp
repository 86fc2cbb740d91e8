#include "support/x509/X509Certificate.h"

#include <gtest/gtest.h>

#include <thread>

#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/x509/KeyCodec.h"
#include "tests/common/TestFiles.h"

namespace {

using testfiles::certOf;
using testfiles::loadCert;

struct FieldCase {
    const char* sentence;
    const char* file;
    const char* serial;  // null: not compared
    const char* email;
    bool hasSubjectKeyId, hasAuthorityKeyId;
};

TEST(X509Certificate, GivesWhatIsThereAndNothingElse) {
    const FieldCase cases[] = {
        {"ordinary; the first of two e-mail names", "leaf.pem", nullptr,
         "Alice.Example@Example.ORG", true, true},
        {"e-mail in the subject", "email-attribute.pem", nullptr, "Bob@Example.org", true, true},
        {"no subject", "empty-subject.pem", nullptr, "nobody@example.org", true, true},
        {"no key identifiers", "no-ki.pem", nullptr, "", false, false},
        {"version 1", "v1.pem", nullptr, "", false, false},
        {"a key identifier of no bytes is none", "empty-ski.pem", nullptr, "", false, true},
        {"AKI without key identifier", "aki-issuer-serial.pem", nullptr, "", true, false},
        {"serial with its sign octet", "serial-00.pem", "00A1B2C3", "", true, true},
        {"serial with a small first digit", "serial-plain.pem", "0A1B", "", true, true},
        {"serial zero", "serial-zero.pem", "00", "", true, true},
        {"negative serial", "serial-negative.pem", "F00D", "", true, true},
        {"long serial", "serial-long.pem", "0102030405060708090A0B0C0D0E0F10111213141516171819", "",
         true, true},
    };
    for (const FieldCase& c : cases) {
        SCOPED_TRACE(c.sentence);
        const auto holder = loadCert(c.file);
        const X509Certificate& cert = certOf(holder);
        LogText log;
        log.m_verboseLogging = true;
        XString serial, email, akiText;
        StringBuffer ski;
        DataBuffer aki;
        EXPECT_TRUE(cert.getSerialNumber(serial, log));
        if (c.serial) {
            EXPECT_STREQ(serial.getUtf8(), c.serial);
        }
        email.appendUtf8("before");
        EXPECT_TRUE(cert.getEmailAddress(email, log));
        EXPECT_STREQ(email.getUtf8(), c.email);
        EXPECT_EQ(cert.getSubjectKeyIdentifier(ski, log), c.hasSubjectKeyId);
        EXPECT_EQ(ski.getSize() != 0, c.hasSubjectKeyId);
        EXPECT_EQ(cert.getAuthorityKeyIdentifier(aki, &akiText, log), c.hasAuthorityKeyId);
        EXPECT_EQ(akiText.isEmpty(), !c.hasAuthorityKeyId);
        EXPECT_EQ(aki.getSize(), akiText.getUtf8Sb().getSize() / 2);
        EXPECT_EQ(log.getText(), "") << "what is absent leaves no trace";
    }
}

TEST(X509Certificate, EveryCutAndEveryTailIsRefusedWithOneEntry) {
    DataBuffer der;
    testfiles::loadPemDer("leaf.pem", der);
    for (unsigned int size = 0; size < der.getSize(); ++size) {
        LogText log;
        // A copy of its own, so that the address sanitizer sees a read beyond the cut.
        const std::vector<unsigned char> cut(der.getData2(), der.getData2() + size);
        ASSERT_EQ(CertificateHolder::createFromDer(cut.data(), size, nullptr, log), nullptr);
        ASSERT_TRUE(log.getText().starts_with("ERROR: Not a certificate: cannot read "));
        ASSERT_EQ(log.getText().find('\n'), log.getText().size() - 1);
    }
    der.appendByte(0);
    LogText log;
    EXPECT_EQ(CertificateHolder::createFromDer(der.getData2(), der.getSize(), nullptr, log),
              nullptr);
    EXPECT_EQ(log.getText(),
              "ERROR: Not a certificate: cannot read end of certificate at byte "
                  + std::to_string(der.getSize() - 1) + ".\n");
}

// A changed byte gives a clean refusal, or a certificate whose every field can be read and whose
// signature no longer verifies.
TEST(X509Certificate, EveryChangedByteIsNoticed) {
    const auto issuer = loadCert("intermediate.pem");
    DataBuffer der;
    testfiles::loadPemDer("leaf.pem", der);
    LogNull log;
    std::vector<unsigned char> bytes(der.getData2(), der.getData2() + der.getSize());
    for (unsigned char& byte : bytes) {
        const unsigned char good = byte;
        for (const unsigned int change : {0x01U, 0x80U}) {
            byte = static_cast<unsigned char>(good ^ change);
            const ZorvenOwner<CertificateHolder> holder(CertificateHolder::createFromDer(
                bytes.data(), static_cast<unsigned int>(bytes.size()), nullptr, log));
            if (!holder)
                continue;
            X509Certificate& cert = certOf(holder);
            XString text;
            StringBuffer type;
            DataBuffer out;
            cert.getSubjectDN(text, log);
            cert.getIssuerPart("CN", text, log);
            cert.getEmailAddress(text, log);
            cert.getAuthorityKeyIdentifier(out, &text, log);
            cert.appendCertKeyType(type, log);
            EXPECT_FALSE(cert.verifyCertSignature(&certOf(issuer), log)) << &byte - bytes.data();
        }
        byte = good;
    }
}

TEST(CertificateHolder, SharesOneCertificateUntilTheLastHolderGoes) {
    LogNull log;
    auto first = loadCert("root.pem");
    auto other = loadCert("v1.pem");
    X509Certificate* cert = first->getCertPtr(log);
    ZorvenOwner<CertificateHolder> second(CertificateHolder::createFromCert(cert, log));
    EXPECT_EQ(second->getCertPtr(log), cert);
    second->setCert(cert);
    first.reset();
    EXPECT_TRUE(second->getCertPtr(log)->isIssuerSelf(log));
    second->setCert(other->getCertPtr(log));  // the root ends here
    EXPECT_EQ(second->getCertPtr(log), other->getCertPtr(log));
    EXPECT_EQ(CertificateHolder::createFromCert(nullptr, log), nullptr);
}

struct KeyCase {
    const char* sentence;
    const char* cert;
    const char* key;
    bool fits;
};

TEST(PrivateKeys, FitOnlyTheirCertificate) {
    const KeyCase cases[] = {
        {"EC", "leaf.pem", "leaf.key", true},
        {"RSA", "rsa-leaf.pem", "rsa-leaf.key", true},
        {"another EC key", "leaf.pem", "leaf-other.key", false},
        {"another RSA key", "rsa-root.pem", "rsa-leaf.key", false},
        {"a key of another kind", "rsa-leaf.pem", "leaf.key", false},
        {"EC key, certificate with an unknown kind", "ed25519.pem", "leaf.key", false},
    };
    for (const KeyCase& c : cases) {
        const auto holder = loadCert(c.cert);
        X509Certificate& cert = certOf(holder);
        DataBuffer pkcs8, out;
        testfiles::loadPemDer(c.key, pkcs8);
        LogText log;
        _zvPublicKey key;
        EXPECT_TRUE(key.isEmpty());
        ASSERT_TRUE(key.loadPrivateKeyDer(pkcs8, log));
        EXPECT_FALSE(cert.hasPrivateKey(false, log));
        EXPECT_EQ(cert.setPrivateKeyFromObj(key, log), c.fits) << c.sentence;
        EXPECT_EQ(cert.hasPrivateKey(false, log), c.fits) << c.sentence;
        EXPECT_EQ(log.getText(),
                  c.fits ? "" : "ERROR: The private key does not belong to the public key.\n");
        bool notExportable = true;
        EXPECT_EQ(cert.getPrivateKeyAsDER(out, notExportable, log), c.fits) << c.sentence;
        EXPECT_FALSE(notExportable);
        EXPECT_TRUE(out.m_secure);
        EXPECT_EQ(out.equals(pkcs8), c.fits) << c.sentence;
    }
}

TEST(PrivateKeys, TheMarkTravelsWithTheKeyAndTheFirstKeyStays) {
    const auto a = loadCert("renewed-a.pem"), b = loadCert("renewed-b.pem");
    DataBuffer pkcs8, out;
    testfiles::loadPemDer("renewed.key", pkcs8);
    LogText log;
    _zvPublicKey key;
    ASSERT_TRUE(key.loadPrivateKeyDer(pkcs8, log));
    ASSERT_TRUE(certOf(a).setPrivateKeyFromObj(key, log));
    ASSERT_TRUE(certOf(b).setPrivateKeyFromObj(certOf(a).m_certKey, log));
    certOf(a).m_certKey.setNotExportable();
    bool notExportable = false;
    EXPECT_FALSE(certOf(b).getPrivateKeyAsDER(out, notExportable, log));
    EXPECT_TRUE(notExportable);
    EXPECT_TRUE(certOf(b).hasPrivateKey(false, log));
    EXPECT_FALSE(certOf(b).hasPrivateKey(true, log));
    EXPECT_EQ(log.getText(), "");
    EXPECT_FALSE(certOf(b).setPrivateKeyFromObj(key, log));
    EXPECT_FALSE(key.loadPrivateKeyDer(pkcs8, log));
    EXPECT_EQ(log.getText(),
              "ERROR: A private key is held already.\nERROR: A private key is held already.\n");
}

TEST(PrivateKeys, OneOfManyThreadsAttachesItsKey) {
    const auto holder = loadCert("leaf.pem");
    DataBuffer pkcs8;
    testfiles::loadPemDer("leaf.key", pkcs8);
    std::atomic<int> attached{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            LogNull log;
            _zvPublicKey key;
            DataBuffer out;
            bool notExportable = false;
            ASSERT_TRUE(key.loadPrivateKeyDer(pkcs8, log));
            attached += certOf(holder).setPrivateKeyFromObj(key, log);
            ASSERT_TRUE(certOf(holder).getPrivateKeyAsDER(out, notExportable, log));
            ASSERT_TRUE(out.equals(pkcs8));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(attached, 1);
}

TEST(PrivateKeys, EveryCutIsRefused) {
    for (const char* name : {"leaf.key", "rsa-leaf.key"}) {
        DataBuffer pkcs8;
        testfiles::loadPemDer(name, pkcs8);
        for (unsigned int size = 0; size < pkcs8.getSize(); ++size) {
            DataBuffer cut;
            cut.append(pkcs8.getData2(), size);
            LogText log;
            _zvPublicKey key;
            ASSERT_FALSE(key.loadPrivateKeyDer(cut, log));
            ASSERT_EQ(log.getText(), "ERROR: Not an unencrypted PKCS#8 private key.\n");
        }
    }
}

struct SignatureCase {
    const char* sentence;
    const char* cert;
    const char* issuer;
    const char* error;  // empty: verifies
};

TEST(Signatures, VerifyOrSayWhyNot) {
    const char* kNoMatch = "ERROR: The signature does not match.\n";
    const SignatureCase cases[] = {
        {"ECDSA P-256, SHA-256", "intermediate.pem", "root.pem", ""},
        {"RSA SHA-1", "rsa-leaf-sha1.pem", "rsa-root.pem", ""},
        {"RSA SHA-224", "rsa-leaf-sha224.pem", "rsa-root.pem", ""},
        {"RSA SHA-256", "rsa-leaf.pem", "rsa-root.pem", ""},
        {"RSA SHA-384", "rsa-leaf-sha384.pem", "rsa-root.pem", ""},
        {"RSA SHA-512", "rsa-leaf-sha512.pem", "rsa-root.pem", ""},
        {"ECDSA P-384, SHA-1", "p384-leaf-sha1.pem", "p384-root.pem", ""},
        {"ECDSA P-384, SHA-224", "p384-leaf-sha224.pem", "p384-root.pem", ""},
        {"ECDSA P-384, SHA-256", "p384-leaf-sha256.pem", "p384-root.pem", ""},
        {"ECDSA P-384, SHA-384", "p384-leaf-sha384.pem", "p384-root.pem", ""},
        {"ECDSA P-384, SHA-512", "p384-leaf-sha512.pem", "p384-root.pem", ""},
        {"the key of another curve", "p384-leaf-sha256.pem", "root.pem",
         "ERROR: The ECDSA signature is out of range.\n"},
        {"a signed byte changed", "tampered.pem", "root.pem", kNoMatch},
        {"self-issued, signed by another", "self-issued-bad-sig.pem", "self-issued-bad-sig.pem",
         kNoMatch},
        {"RSA signature, EC key", "ec-below-rsa.pem", "root.pem",
         "ERROR: The signature algorithm is sha256WithRSAEncryption, which the issuer's key does "
         "not fit: EC P-256.\n"},
        {"ECDSA signature, RSA key", "rsa-below-ec.pem", "rsa-root.pem",
         "ERROR: The signature algorithm is ecdsa-with-SHA256, which the issuer's key does not "
         "fit: RSA 2048.\n"},
        {"two algorithms", "sigalg-mismatch.pem", "root.pem",
         "ERROR: The certificate names two different signature algorithms.\n"},
        {"an algorithm not known", "ed25519.pem", "ed25519.pem",
         "ERROR: Unknown signature algorithm 1.3.101.112.\n"},
    };
    for (const SignatureCase& c : cases) {
        const auto cert = loadCert(c.cert), issuer = loadCert(c.issuer);
        LogText log;
        EXPECT_EQ(certOf(cert).verifyCertSignature(&certOf(issuer), log), *c.error == '\0')
            << c.sentence;
        EXPECT_EQ(log.getText(), c.error) << c.sentence;
    }
}

TEST(SignatureMemory, HoldsTheWholeOfOneKeyWhoeverAsksFirst) {
    using certstore::bytesOf;
    certstore::SignatureMemory memory;
    EXPECT_FALSE(memory.isGoodUnder(bytesOf("")));
    EXPECT_FALSE(memory.isGoodUnder(bytesOf("key")));
    const auto remember = [&](const char* key) { memory.rememberGood(bytesOf(key)); };
    std::thread threads[] = {std::thread(remember, "key"), std::thread(remember, "key")};
    for (std::thread& thread : threads)
        thread.join();
    memory.rememberGood(bytesOf("other"));
    const std::string elsewhere = "keys";
    EXPECT_TRUE(memory.isGoodUnder(bytesOf(elsewhere.substr(0, 3))));
    for (const char* key : {"", "ke", "kex", "keys", "other"})
        EXPECT_FALSE(memory.isGoodUnder(bytesOf(key))) << key;
}

// A verdict of yes under one key says nothing about another, nor one of no about the right key.
TEST(Signatures, AreJudgedForEachKeyAnew) {
    const auto leaf = loadCert("rsa-leaf.pem"), root = loadCert("rsa-root.pem");
    LogNull log;
    for (const bool again : {false, true}) {
        EXPECT_FALSE(certOf(leaf).verifyCertSignature(&certOf(leaf), log)) << again;
        EXPECT_TRUE(certOf(leaf).verifyCertSignature(&certOf(root), log)) << again;
    }
}

TEST(KeyTypes, HaveShortNames) {
    const std::pair<const char*, const char*> cases[] = {
        {"leaf.pem", "EC P-256"},
        {"p384-root.pem", "EC P-384"},
        {"rsa-root.pem", "RSA 2048"},
        {"ed25519.pem", "Ed25519"},
    };
    for (const auto& [file, description] : cases) {
        const auto holder = loadCert(file);
        LogNull log;
        StringBuffer type, described;
        certstore::PublicKeyInfo info;
        certOf(holder).appendCertKeyType(type, log);
        ASSERT_TRUE(readPublicKeyInfo(certOf(holder).getX509Ptr()->spki(), info));
        appendKeyDescription(described, info);
        EXPECT_STREQ(described.getString(), description);
        EXPECT_TRUE(described.beginsWith(type.getString()));
    }
}

}  // namespace
