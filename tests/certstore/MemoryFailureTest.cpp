// Every allocation of an operation fails once: the operation says so, lets its locks go, and does
// its work when it is asked again.

#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <new>

#include "certstore/SystemCerts.h"
#include "tests/certstore/CertTools.h"

namespace {

// Allocations that still succeed while a test counts; negative when none does.
thread_local long g_left = -1;

}  // namespace

// Not inlined, so that the compiler takes them for what they replace.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (g_left > 0)
        --g_left;
    else if (g_left == 0)
        throw std::bad_alloc();
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
// clang-format off
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }
// clang-format on

using namespace certtools;

namespace {

using MemoryFailureTest = StoreTest;

// What another thread finds by a key identifier: it must get both locks.
X509Certificate* findElsewhere(SystemCerts& store, const std::string& keyId) {
    auto found = std::async(std::launch::async,
                            [&] { return store.findBySubjectKeyId(keyId.c_str(), g_quiet); });
    if (found.wait_for(std::chrono::seconds(20)) == std::future_status::ready)
        return found.get();
    ADD_FAILURE() << "a lock is still held";
    std::_Exit(EXIT_FAILURE);
}

TEST_F(MemoryFailureTest, OperationsFailCleanlyAndWorkTheNextTime) {
    X509Certificate &leaf = cert("leaf.pem"), &middle = cert("intermediate.pem");
    trust({&cert("root.pem")});
    DataBuffer der;
    leaf.getDEREncodedCert(der);
    XString root;
    root.appendUtf8("CN=Example Root, O=Example Org, C=XX");
    const std::function<bool(SystemCerts&)> kOperations[] = {
        [](SystemCerts&) { return SystemCertsHolder().getSystemCertsPtr() != nullptr; },
        [&](SystemCerts& store) { return store.addCertificate(&leaf, g_quiet); },
        [&](SystemCerts& store) { return store.addCertDer(der, g_quiet); },
        [&](SystemCerts& store) {
            return store.findBySubjectDN2(root, root, false, g_quiet) != nullptr;
        },
        [&](SystemCerts& store) {
            ExtPtrArray chain;
            bool reachedRoot = false;
            return store.buildCertChain(middle, true, false, chain, reachedRoot, g_quiet)
                && reachedRoot;
        },
    };
    for (const auto& operation : kOperations) {
        SCOPED_TRACE(&operation - kOperations);
        long allowed = -1;
        for (bool exhausted = true; exhausted;) {
            SystemCertsHolder holder;
            SystemCerts& store = *holder.getSystemCertsPtr();
            add(store, {&middle});
            bool done = false;
            g_left = ++allowed;
            try {
                done = operation(store);
            } catch (const std::bad_alloc&) {
            }
            exhausted = g_left == 0;
            g_left = -1;
            findElsewhere(store, "");
            EXPECT_TRUE(done || operation(store)) << "after " << allowed << " allocations";
            add(store, {&leaf});
            EXPECT_NE(findElsewhere(store, keyIdOf(leaf)), nullptr);
        }
        EXPECT_GT(allowed, 1) << "nothing has failed";
    }
}

}  // namespace
