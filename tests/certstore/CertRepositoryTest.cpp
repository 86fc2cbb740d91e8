#include "certstore/CertRepository.h"

#include <new>

#include "certstore/SystemCerts.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using CertRepositoryTest = StoreTest;

template <typename Object>
void expectMarkOnlyWhileAlive() {
    alignas(Object) unsigned char memory[sizeof(Object)];
    Object* object = new (memory) Object;
    EXPECT_EQ(object->m_magic, Object::kMagic);
    const auto* mark = reinterpret_cast<const volatile unsigned char*>(&object->m_magic);
    object->~Object();
    for (std::size_t i = 0; i < sizeof object->m_magic; ++i)
        EXPECT_EQ(mark[i], 0);
}

TEST_F(CertRepositoryTest, ValidityMarksAreGoneFromTheMemoryOfDestroyedObjects) {
    expectMarkOnlyWhileAlive<CertRepository>();
    expectMarkOnlyWhileAlive<SystemCerts>();
}

TEST_F(CertRepositoryTest, KeysNameTheIssuerInOrderOfAddition) {
    const Certs names = certs("names.pem"), nameless = certs("no-cn.pem");
    X509Certificate &zeros = cert("serial-00.pem"), &plain = cert("serial-plain.pem");
    // Several CNs, an empty one, none; issued by one without CN, and by one with.
    const Certs added = {names[16], names[14], nameless[0], nameless[1], &zeros, &plain, &zeros};
    expectLog(
        "constructSerialIssuerHashKey:\n+   using subjectCN for self-issued certificate.\n"
        "constructSerialIssuerHashKey:\n+   using subjectCN for self-issued certificate.\n"
        "constructSerialIssuerHashKey:\n+   using issuerDN for self-issued certificate.\n"
        "constructSerialIssuerHashKey:\n"
        "+   using issuerDN because no issuerCN exists. (this is not an error)\n"
        "constructSerialIssuerHashKey:\nconstructSerialIssuerHashKey:\n"
        "constructSerialIssuerHashKey:\nconstructSerialIssuerHashKey:\n"
        "certRepository:\n    empty\n"
        "certRepository:\n    cert: $0:Third\n    cert: $1:\n    cert: $2:$dn\n    cert: $3:$dn\n"
        "    cert: 00A1B2C3:Example CA\n    cert: 0A1B:Example CA\n    cert: 00A1B2C3:Example CA\n",
        {{"$0", serialOf(*added[0])},
         {"$1", serialOf(*added[1])},
         {"$2", serialOf(*added[2])},
         {"$3", serialOf(*added[3])},
         {"$dn", "O=Example Org without Common Name, C=XX"}},
        [&](LogBase& log) {
            CertRepository repository;
            XString subject, key;
            for (X509Certificate* one : added)
                EXPECT_TRUE(repository.constructSerialIssuerHashKey(one, subject, key, log));
            EXPECT_FALSE(repository.constructSerialIssuerHashKey(nullptr, subject, key, log));
            EXPECT_TRUE(key.isEmpty());
            repository.logCertRepository(log);
            EXPECT_EQ(repository.getNthRepositoryCert(0, log), nullptr);
            add(repository, added);
            repository.logCertRepository(log);
            EXPECT_EQ(repository.getNumCerts(), 7) << "an addition counts, also of what is there";
            EXPECT_EQ(repository.getNthRepositoryCert(6, log), &zeros);
            EXPECT_EQ(repository.getNthRepositoryCert(7, log), nullptr);
            EXPECT_EQ(repository.getNthRepositoryCert(0x80000000U, log), nullptr);
        });
}

TEST_F(CertRepositoryTest, OneLeadingZeroByteOfAKeyMayBeTooMany) {
    X509Certificate &plain = cert("serial-plain.pem"), &zeros = cert("serial-00.pem"),
                    &other = cert("root.pem");
    const struct {
        const char *sentence, *key;
        X509Certificate* found;
    } kRows[] = {
        {"the key as stored", "0A1B:Example CA", &plain},
        {"one 00 too many", "000A1B:Example CA", &plain},
        {"two are too many", "00000A1B:Example CA", nullptr},
        {"stored with 00, asked with another", "0000A1B2C3:Example CA", &zeros},
        {"stored with 00, asked without", "A1B2C3:Example CA", nullptr},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.sentence);
        CertRepository repository;
        add(repository, {&plain, &zeros});
        const CritSecExitor lock(repository);
        EXPECT_FALSE(repository.replaceCert(row.key, nullptr, g_quiet));
        EXPECT_EQ(repository.crpFindBySerialIssuerHashKey(row.key, g_quiet), row.found);
        EXPECT_EQ(repository.replaceCert(row.key, &other, g_quiet), row.found != nullptr);
        EXPECT_EQ(repository.crpFindBySerialIssuerHashKey(row.key, g_quiet),
                  row.found ? &other : nullptr);
    }
}

}  // namespace
