#pragma once

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"

namespace certstore {

enum class BerResult {
    Good,
    Malformed,
    TooDeep,
};

// Reads the first value of `ber` as tools write it into PKCS#12 files (X.690 section 8: indefinite
// lengths, lengths longer than they need be, OCTET STRINGs in pieces) and appends it to `der` as
// the DER that DerReader reads. What OCTET STRINGs hold is copied as it is. Multi-byte tags are
// refused.
//
// `maxDepth` bounds how deep values nest. Time and memory grow with the size of the input, whatever
// it is. `der` is marked secure by the caller if need be; it is as it was unless the result is
// Good. Throws std::bad_alloc.
[[nodiscard]] BerResult readBer(ByteView ber, unsigned int maxDepth, DataBuffer& der);

}  // namespace certstore
