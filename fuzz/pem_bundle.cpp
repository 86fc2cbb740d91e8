#include <set>

#include "fuzz/Fuzz.h"
#include "support/vault/CertMgr.h"
#include "support/x509/PemCertificates.h"

// A PEM text, read as a vault and as a bundle of roots.

using Certificates = std::multiset<std::string>;
using fuzz::require;

namespace {

Certificates certificatesOf(std::string_view text) {
    LogNull log;
    certstore::PemCertificates blocks(text);
    Certificates found;
    for (DataBuffer der; blocks.next(der);)
        if (const auto holder = fuzz::parse(der.view(), log)) {
            fuzz::examine(*holder->getCertPtr(log), der.view());
            found.emplace(fuzz::textOf(der.view()));
        }
    return found;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::textOf({data, size});
    fuzz::Log log;
    CertMgr vault(fuzz::kLimits);
    const bool good = vault.addPem(text, fuzz::kPassword, log);
    require(good == (log.errors == 0), "an error says why a block is not read");
    Certificates found;
    for (int i = 0; i < vault.getNumCerts(); ++i) {
        const ZorvenOwner<CertificateHolder> holder(vault.getNthCert(i, log));
        found.emplace(fuzz::textOf(holder->getCertPtr(log)->getX509Ptr()->der()));
    }
    require(!good || found == certificatesOf(text), "both ways give the same certificates");
    return 0;
}
