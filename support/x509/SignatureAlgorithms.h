#pragma once

#include "support/x509/SignatureSchemes.h"

namespace certstore {

// A signature algorithm that certificates name by OID.
struct SignatureAlgorithm {
    OidBytes oid;
    const char* name;
    SignatureScheme scheme;
    DigestAlgorithm digest = {};  // for the schemes that leave the choice to the algorithm
};

// Takes an AlgorithmIdentifier apart and returns the row of its algorithm; null, with the OID all
// the same, for one that is not known.
const SignatureAlgorithm* findSignatureAlgorithm(ByteView identifier, ByteView& oid,
                                                 ByteView& parameters) noexcept;

// Appends the name of a signature algorithm, given as a whole AlgorithmIdentifier, or its dotted
// OID.
void appendSignatureAlgorithmName(StringBuffer& out, ByteView identifier);

}  // namespace certstore
