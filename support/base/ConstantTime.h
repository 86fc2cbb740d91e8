#pragma once

#include "support/base/ByteView.h"

namespace certstore {

// Whether both are the same bytes, in a time that depends on their sizes alone.
inline bool equalSecrets(ByteView a, ByteView b) noexcept {
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference = static_cast<unsigned char>(difference | (a[i] ^ b[i]));
    return difference == 0;
}

}  // namespace certstore
