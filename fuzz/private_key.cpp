#include "fuzz/Fuzz.h"
#include "support/encoding/Base64.h"
#include "support/vault/PemKeys.h"
#include "support/x509/PublicKey.h"

// One private key. The first byte tells the label of the PEM block that holds the rest; the last
// choice takes the rest for the body of a block as it is.

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr const char* kLabels[] = {"PRIVATE KEY", "ENCRYPTED PRIVATE KEY", "RSA PRIVATE KEY",
                                       "EC PRIVATE KEY"};
    if (size == 0)
        return 0;
    const fuzz::ByteView rest(data + 1, size - 1);
    StringBuffer body;
    if (data[0] % 5 == 4)
        body.append(fuzz::textOf(rest));
    else
        certstore::appendBase64(body, rest);
    certstore::PemKeys keys(fuzz::kPassword, fuzz::g_limits);
    DataBuffer pkcs8, copy;
    const bool read = keys.read({kLabels[data[0] % 5 % 4], body.view(), 0}, pkcs8);
    require(read == keys.problem().empty(), "there is a reason why a key is not read");
    if (!read)
        return 0;
    fuzz::Log log;
    _zvPublicKey key, again;
    bool notExportable = true;
    const bool loaded = key.loadPrivateKeyDer(pkcs8, log);
    require(log.errors == (loaded ? 0 : 1), "one error says why a key is refused");
    require(key.getPrivateKeyDer(copy, notExportable) == loaded, "a loaded key comes back");
    require(!loaded || (copy.equals(pkcs8) && again.loadPrivateKeyDer(copy, log)), "as it was");
    return 0;
}
