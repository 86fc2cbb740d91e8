#include <set>

#include "fuzz/Fuzz.h"
#include "support/vault/CertMgr.h"
#include "support/x509/PemCertificates.h"

// A PEM text, read as a vault and as a bundle of roots.

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::textOf({data, size});
    fuzz::Log log, unread;
    std::multiset<std::string> inVault, inBundle;
    CertMgr vault(fuzz::g_limits);
    const bool good = vault.addPem(text, fuzz::kPassword, log);
    require(good == (log.errors == 0), "an error says why a block is not read");
    for (int i = 0; i < vault.getNumCerts(); ++i) {
        const ZorvenOwner<CertificateHolder> holder(vault.getNthCert(i, log));
        fuzz::examine(testfiles::certOf(holder));
        inVault.insert(testfiles::derOf(testfiles::certOf(holder)));
    }
    certstore::PemCertificates blocks(text);
    for (DataBuffer der; blocks.next(der);)
        if (const auto holder = testfiles::parseCert(der.view(), unread))
            inBundle.insert(testfiles::derOf(testfiles::certOf(holder)));
    require(!good || inVault == inBundle, "both ways give the same certificates");
    return 0;
}
