#pragma once

#include <set>

#include "support/crypto/RsaPss.h"
#include "support/x509/SignatureSchemes.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {

inline SignatureScheme schemeOf(const std::string& type, ByteView keyAlgorithm) {
    for (const SignatureScheme& scheme :
         {kEd25519, kEd448, kMlDsa44Scheme, kMlDsa65Scheme, kMlDsa87Scheme})
        if (scheme.keys[0] == keyAlgorithm)
            return scheme;
    static const std::map<std::string, SignatureScheme> kSchemes = {
        {"EcdsaVerify", kEcdsa},
        {"DsaVerify", kDsa},
        {"RsassaPkcs1Verify", kRsaPkcs1},
        {"RsassaPssWithParametersVerify", kRsaPss},
    };
    return kSchemes.at(type);
}

// Verifies a signature, that of the test or another, under the key given.
inline bool verifyVector(const Json& group, const Json& test, const Bytes& signature,
                         const PublicKeyInfo& key) {
    const std::string type = group.at("type");
    const DigestAlgorithm digest = kVectorDigests.at(group.value("sha", "SHA-1"));
    const Bytes message = hexOf(test, "msg");
    if (type == "RsassaPssVerify") {
        RsaPublicKey rsaKey;
        return readRsaPublicKey(key.bits, rsaKey)
            && verifyRsaPss(rsaKey,
                            {digest, kVectorDigests.at(group.at("mgfSha")), group.at("sLen")},
                            computeDigest(digest, message).view(), signature);
    }
    const ByteView parameters =
        type == "RsassaPssWithParametersVerify" ? key.parameters : ByteView();
    const SignatureScheme scheme = schemeOf(type, key.algorithm);
    const auto takes = [&key](const OidBytes& oid) { return oid == key.algorithm; };
    return std::ranges::any_of(scheme.keys, takes)
        && !scheme.verify({digest, parameters, message, signature, key});
}

// Signatures as certificates have them: with a digest known here, and no context.
inline bool isSupported(const Json& group, const Json& test) {
    static const std::set<std::string> kTypes = {"DsaVerify",       "EcdsaVerify",
                                                 "EddsaVerify",     "RsassaPkcs1Verify",
                                                 "RsassaPssVerify", "RsassaPssWithParametersVerify",
                                                 "MlDsaVerify"};
    return kTypes.contains(group.at("type")) && kVectorDigests.contains(group.value("sha", "SHA-1"))
        && test.value("ctx", "").empty();
}

}  // namespace certstore
