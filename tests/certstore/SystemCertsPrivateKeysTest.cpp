#include "certstore/SystemCerts.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using SystemCertsPrivateKeysTest = StoreTest;

enum Find { ByKeyId, BySerial, First };
constexpr const char* kContexts[] = {
    "findPrivateKeyBySubjectKeyId:\n    findBySubjectKeyId:\n"
    "        crpFindBySubjectKeyId:\n+           keyId: SubjectKeyId:$ski\n",
    "findPrivateKey:\n    findCertificate:\n        serialNum: [2ee3]\n"
    "        issuerCN: [Example Root]\n        findCertB:\n",
    "findFirstPrivateKeyInRepos:\n    crpFindFirstHavingPrivateKey:\n"};
enum State { NoCert, NoKey, WithKey, NotExportable };
constexpr struct {
    const char* sentence;
    State state;
    const char *log, *logOfFirst;
} kRows[] = {
    {"no certificate", NoCert, "", ""},
    {"a certificate alone", NoKey, "+   gotPrivKeyDer: false\n+   keyNotExporable: false\n", ""},
    {"a key", WithKey, "+   gotPrivKeyDer: true\n", ""},
    {"a key that may not be handed out, before one that may", NotExportable,
     "+   gotPrivKeyDer: false\n+   keyNotExporable: true\n", "    No private key available.\n"},
};

TEST_F(SystemCertsPrivateKeysTest, AreHandedOutUnlessMarkedIntoAWipedBuffer) {
    DataBuffer keyFile;
    testfiles::loadPemDer("renewed.key", keyFile);
    for (const auto& row : kRows) {
        X509Certificate &renewed = cert("renewed-a.pem"), &later = cert("leaf.pem");
        if (row.state >= WithKey) {
            attachKey(renewed, "renewed.key");
            attachKey(later, "leaf.key");
        }
        if (row.state == NotExportable)
            renewed.m_certKey.setNotExportable();
        SystemCerts store;
        if (row.state != NoCert)
            add(store, {&renewed, &later});
        for (const Find find : {ByKeyId, BySerial, First}) {
            SCOPED_TRACE(std::string(kContexts[find]) + row.sentence);
            const auto run = [&](DataBuffer& key, DataBuffer* der, bool& marked, LogBase& log) {
                if (find == First)
                    return store.findFirstPrivateKeyInRepos(key, der, marked, log);
                if (find == BySerial)
                    return store.findPrivateKey("2ee3", "Example Root", nullptr, key, der, marked,
                                                log);
                return store.findPrivateKeyBySubjectKeyId(keyIdOf(renewed).c_str(), key, der,
                                                          marked, log);
            };
            DataBuffer key, der;
            key.append("old secret", 10);
            der.append("old", 3);
            bool marked = row.state != NotExportable;
            const unsigned char* storage = key.getData2();
            EXPECT_EQ(run(key, nullptr, marked, g_quiet), row.state == WithKey);
            EXPECT_EQ(marked, row.state == NotExportable);
            EXPECT_TRUE(key.m_secure);
            EXPECT_TRUE(row.state == WithKey ? key.equals(keyFile)
                                             : key.getSize() == 0 && storage[0] == 0);
            expectLog(std::string(kContexts[find]) + (find == First ? row.logOfFirst : row.log),
                      {{"$ski", keyIdOf(renewed)}}, [&](LogBase& log) {
                          EXPECT_EQ(run(key, &der, marked, log), row.state == WithKey);
                      });
            EXPECT_EQ(certstore::textOf(der.view()),
                      certstore::textOf(row.state == WithKey ? renewed.getX509Ptr()->der()
                                                             : certstore::ByteView()));
        }
    }
}

}  // namespace
