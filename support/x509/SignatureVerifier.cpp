#include "support/x509/SignatureVerifier.h"

#include <algorithm>
#include <initializer_list>

#include "support/x509/SignatureAlgorithms.h"

namespace certstore {

namespace {

bool fail(LogBase& log, std::initializer_list<std::string_view> parts) {
    StringBuffer message;
    for (const std::string_view part : parts)
        message.append(part);
    log.LogError(message.getString());
    return false;
}

bool takesKey(const SignatureScheme& scheme, ByteView keyAlgorithm) noexcept {
    return std::ranges::any_of(scheme.keys,
                               [=](const OidBytes& oid) { return oid == keyAlgorithm; });
}

bool verifyWith(const SignatureAlgorithm& algorithm, ByteView parameters, const X509& cert,
                const PublicKeyInfo& key, LogBase& log) {
    if (!takesKey(algorithm.scheme, key.algorithm)) {
        StringBuffer keyText;
        appendKeyDescription(keyText, key);
        return fail(log,
                    {"The signature algorithm is ", algorithm.name,
                     ", which the issuer's key does not fit: ", keyText.view(), "."});
    }
    const char* reason =
        algorithm.scheme.verify({algorithm.digest, parameters, cert.tbs(), cert.signature(), key});
    return !reason || fail(log, {reason});
}

}  // namespace

bool verifySignature(const X509& cert, ByteView issuerSpki, LogBase& log) {
    ByteView oid, parameters;
    const SignatureAlgorithm* algorithm =
        findSignatureAlgorithm(cert.signatureAlgorithm(), oid, parameters);
    if (!algorithm) {
        StringBuffer dotted;
        appendDottedOid(dotted, oid);
        return fail(log, {"Unknown signature algorithm ", dotted.view(), "."});
    }
    if (!algorithm->scheme.verify)
        return fail(log,
                    {"The signature algorithm ", algorithm->name,
                     " is not accepted: collisions of its digest have forged CA "
                     "certificates."});
    if (!equalBytes(cert.signatureAlgorithm(), cert.tbsAlgorithm()))
        return fail(log, {"The certificate names two different signature algorithms."});
    if (cert.signatureHasUnusedBits())
        return fail(log, {"The signature is not a number of whole bytes."});
    PublicKeyInfo key;
    if (!readPublicKeyInfo(issuerSpki, key))
        return fail(log, {"The issuer's public key is malformed."});
    return verifyWith(*algorithm, parameters, cert, key, log);
}

}  // namespace certstore
