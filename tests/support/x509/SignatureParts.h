#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/x509/SignatureAlgorithms.h"
#include "tests/common/TestFiles.h"
#include "tests/support/crypto/Bytes.h"

// What a self-signed certificate gives to the scheme of its signature, to be spoilt.
struct SignatureParts {
    certstore::SignatureScheme scheme;
    certstore::DigestAlgorithm digest;
    Bytes parameters, tbs, signature, keyAlgorithm, keyParameters, keyBits;

    // Of the first certificate of a file of tests/data whose subject holds this text.
    explicit SignatureParts(const char* file, std::string_view inSubject = "") {
        const auto holder = testfiles::loadCert(file, inSubject);
        const certstore::X509& cert = *testfiles::certOf(holder).getX509Ptr();
        certstore::ByteView oid, encodedParameters;
        const auto& algorithm =
            *certstore::findSignatureAlgorithm(cert.signatureAlgorithm(), oid, encodedParameters);
        certstore::PublicKeyInfo key;
        EXPECT_TRUE(readPublicKeyInfo(cert.spki(), key));
        scheme = algorithm.scheme;
        digest = algorithm.digest;
        parameters = toBytes(encodedParameters);
        tbs = toBytes(cert.tbs());
        signature = toBytes(cert.signature());
        keyAlgorithm = toBytes(key.algorithm);
        keyParameters = toBytes(key.parameters);
        keyBits = toBytes(key.bits);
    }

    // Why it does not verify; empty when it does.
    std::string verify() const {
        const char* reason = scheme.verify(
            {digest, parameters, tbs, signature, {keyAlgorithm, keyParameters, keyBits}});
        return reason ? reason : "";
    }
};
