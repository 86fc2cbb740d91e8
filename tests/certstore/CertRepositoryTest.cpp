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

// The rest is seen through the store.
TEST_F(CertRepositoryTest, AnswersAlsoWhatTheStoreDoesNotAsk) {
    X509Certificate &root = cert("root.pem"), &leaf = cert("leaf.pem");
    CertRepository repository;
    add(repository, {&root, &leaf, &root});
    EXPECT_EQ(repository.getNumCerts(), 3);
    EXPECT_EQ(repository.getNthRepositoryCert(1, g_quiet), &leaf);
    EXPECT_EQ(repository.getNthRepositoryCert(3, g_quiet), nullptr);
    EXPECT_EQ(repository.getNthRepositoryCert(0x80000000U, g_quiet), nullptr);
    LogText log;
    EXPECT_EQ(repository.crpFindIssuer0(root, log), nullptr) << "self-issued";
    EXPECT_EQ(log.getText(), "certReposFindIssuer:\n");
    XString subject, key, email;
    EXPECT_FALSE(repository.constructSerialIssuerHashKey(nullptr, subject, key, g_quiet));
    email.appendUtf8("Alice.EXAMPLE@Example.ORG");
    EXPECT_EQ(repository.crpFindByEmailAddr(email, g_quiet), &leaf);
    EXPECT_STREQ(email.getUtf8(), "alice.example@example.org");
}

}  // namespace
