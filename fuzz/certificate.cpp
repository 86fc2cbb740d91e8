#include "certstore/SystemCerts.h"
#include "fuzz/Fuzz.h"

// One certificate: parsed, read, verified against itself, and found again by what it says.

using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Log log;
    const auto holder = testfiles::parseCert({data, size}, log);
    require(log.errors == (holder ? 0 : 1), "one error says why bytes are no certificate");
    if (!holder)
        return 0;
    X509Certificate& cert = testfiles::certOf(holder);
    DataBuffer der;
    require(cert.getDEREncodedCert(der) && fuzz::equalBytes(der.view(), {data, size}), "kept");
    fuzz::examine(cert);
    const bool good = cert.verifyCertSignature(&cert, log);
    require(log.errors == (good ? 0 : 1), "one error says why a signature does not verify");
    require(cert.verifyCertSignature(&cert, log) == good, "a signature keeps its verdict");

    SystemCerts store;
    require(store.addCertDer(der, log), "a certificate can be added");
    XString serial, issuer;
    cert.getSerialNumber(serial, log);
    if (!cert.getIssuerPart("CN", issuer, log))
        cert.getIssuerDN_noTags(issuer, log);
    require(store.findX509(serial.getUtf8(), issuer.getUtf8(), nullptr, log), "and found");
    return 0;
}
