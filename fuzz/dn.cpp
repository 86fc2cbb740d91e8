#include "fuzz/Fuzz.h"
#include "support/x509/NameText.h"
#include "tests/common/DerText.h"

// Names. The bytes are read as the text of a DN, as a person types it; and as the subject of a
// certificate and, from the place that the first byte tells, its issuer.

using namespace dertext;
using fuzz::require;

namespace {

void readText(const Bytes& dn) {
    LogNull log;
    for (const auto& [part, same] : {std::pair{"CN", "commonname"}, {"2.5.4.10", "Oid.2.5.4.10"}}) {
        StringBuffer value, again;
        require(DistinguishedName::getDnPart(dn.c_str(), part, value, log)
                        == DistinguishedName::getDnPart(dn.c_str(), same, again, log)
                    && value.view() == again.view(),
                "one attribute may be named in many ways");
    }
}

Bytes taggedText(fuzz::ByteView name) {
    StringBuffer text;
    certstore::appendNameText(text, name, certstore::NameForm::Tagged);
    return text.getString();
}

void readNames(const Bytes& subject, const Bytes& issuer) {
    const Bytes algorithm = sequence(der(0x06, "\x2b\x65\x70")), bits = der(0x03, Bytes(33, '\0'));
    const Bytes dates = sequence(der(0x17, "200101000000Z") + der(0x17, "300101000000Z"));
    const Bytes tbs = sequence(der(0x02, "1") + algorithm + sequence(issuer) + dates
                               + sequence(subject) + sequence(algorithm + bits));
    const Bytes whole = sequence(tbs + algorithm + bits);
    LogNull log;
    const auto holder = fuzz::parse(fuzz::bytesOf(whole), log);
    if (!holder)
        return;
    const X509Certificate& cert = *holder->getCertPtr(log);
    fuzz::examine(cert, fuzz::bytesOf(whole));
    const certstore::X509& x509 = *cert.getX509Ptr();
    require((taggedText(x509.subject()) == taggedText(x509.issuer())) == (subject == issuer),
            "different names have different texts");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const Bytes bytes(data + 1, data + size);
    const std::size_t cut = bytes.size() * data[0] / 255;
    readText(bytes);
    readNames(bytes.substr(0, cut), bytes.substr(cut));
    return 0;
}
