#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/encoding/Hex.h"
#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/roots/CaBundlePath.h"
#include "support/roots/ClsTrustedRoots.h"
#include "support/roots/SysTrustedRoots.h"
#include "support/roots/TrustedRoots.h"
#include "support/settings/Settings.h"
#include "tests/common/TestFiles.h"

// What the tests of the repository and of the store share.
namespace certtools {

using Certs = std::vector<X509Certificate*>;

// What the tests do not look at goes here.
inline LogNull g_quiet;

// Adds certificates to a repository or a store.
template <typename Store>
void add(Store& store, const Certs& certs) {
    for (X509Certificate* cert : certs)
        ASSERT_TRUE(store.addCertificate(cert, g_quiet));
}

// Makes certificates roots that the application trusts.
inline void trust(const Certs& roots) {
    ClsTrustedRoots* const set = ClsTrustedRoots::createNewCls();
    for (X509Certificate* root : roots) {
        DataBuffer der;
        EXPECT_TRUE(root->getDEREncodedCert(der) && set->addCertDer(der, g_quiet));
    }
    EXPECT_TRUE(set->activate(g_quiet));
    set->deleteSelf();
}

inline std::string hex(certstore::ByteView bytes) {
    StringBuffer text;
    certstore::appendHex(text, bytes);
    return text.getString();
}
inline std::string serialOf(X509Certificate& cert) {
    return hex(cert.getX509Ptr()->serial());
}
inline std::string keyIdOf(X509Certificate& c) {
    return hex(c.getX509Ptr()->subjectKeyId());
}
inline std::string dnOf(X509Certificate& c) {
    return std::string(c.getX509Ptr()->subjectText());
}

// Starts every test without roots, and without reading those of the machine that it runs on.
class StoreTest : public testing::Test {
protected:
    StoreTest() {
        TrustedRoots::removeAll();
        SysTrustedRoots::removeAll();
        _zvSettings::m_trustSystemCaRoots = _zvSettings::m_autoSearchOsCertStores = true;
        certstore::setCaBundlePath("");
    }

    // The certificates of a file of tests/data, kept to the end of the test.
    Certs certs(const std::string& file) {
        Certs all;
        for (auto& holder : testfiles::loadCerts(file)) {
            all.push_back(&testfiles::certOf(holder));
            m_kept.push_back(std::move(holder));
        }
        return all;
    }
    X509Certificate& cert(const std::string& file) { return *certs(file).at(0); }

    // A certificate that has `to` wherever `from`, as long, stands in the encoding of this one. Its
    // signature no longer verifies.
    X509Certificate& edited(X509Certificate& cert, std::string_view from, std::string_view to) {
        return keep(testfiles::edited(testfiles::derOf(cert), from, to));
    }
    X509Certificate& keep(const std::string& der) {
        m_kept.push_back(testfiles::parseCert(certstore::bytesOf(der), g_quiet));
        return testfiles::certOf(m_kept.back());
    }
    X509Certificate& withSerialOf(X509Certificate& other, X509Certificate& cert) {
        return edited(cert, certstore::textOf(cert.getX509Ptr()->serial()),
                      certstore::textOf(other.getX509Ptr()->serial()));
    }

    static void attachKey(X509Certificate& cert, const std::string& file) {
        DataBuffer der;
        testfiles::loadPemDer(file, der);
        ASSERT_TRUE(cert.m_certKey.loadPrivateKeyDer(der, g_quiet));
    }

    testfiles::Certs m_kept;
};

}  // namespace certtools
