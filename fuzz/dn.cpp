#include "fuzz/Fuzz.h"
#include "support/x509/NameText.h"

// Names. The bytes are read as the text of a DN, as a person types it; and as the subject of a
// certificate and, from the place that the first byte tells, its issuer.

using namespace dertext;

namespace {

Bytes taggedText(const Bytes& name) {
    StringBuffer text;
    certstore::appendNameText(text, fuzz::bytesOf(name), certstore::NameForm::Tagged);
    return text.getString();
}

void readNames(const Bytes& subject, const Bytes& issuer) {
    const Bytes algorithm = sequence(der(0x06, "\x2b\x65\x70")), bits = der(0x03, Bytes(33, '\0'));
    const Bytes dates = sequence(der(0x17, "200101000000Z") + der(0x17, "300101000000Z"));
    const Bytes tbs = sequence(der(0x02, "1") + algorithm + sequence(issuer) + dates
                               + sequence(subject) + sequence(algorithm + bits));
    fuzz::Log log;
    const auto holder = testfiles::parseCert(fuzz::bytesOf(sequence(tbs + algorithm + bits)), log);
    if (!holder)
        return;
    fuzz::examine(testfiles::certOf(holder));
    fuzz::require((taggedText(subject) == taggedText(issuer)) == (subject == issuer),
                  "different names have different texts");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes(data, data + size);
    const std::size_t cut = size < 2 ? size : 1 + (size - 1) * data[0] / 255;
    fuzz::Log log;
    StringBuffer value;
    for (const char* part : {"CN", "2.5.4.10", "Oid.1.2.3"})
        DistinguishedName::getDnPart(bytes.c_str(), part, value, log);
    readNames(bytes.substr(size != 0, cut - 1), bytes.substr(cut));
    return 0;
}
