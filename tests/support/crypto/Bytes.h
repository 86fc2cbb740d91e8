#pragma once

#include <string_view>
#include <vector>

#include "support/encoding/Hex.h"

using Bytes = std::vector<unsigned char>;

inline Bytes fromHex(std::string_view digits) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(certstore::hexValue(digits[i]) * 16
                                                   + certstore::hexValue(digits[i + 1])));
    return bytes;
}

// The bytes with zeros in front, as many as it takes to reach `size`.
inline Bytes padded(Bytes bytes, std::size_t size) {
    if (bytes.size() < size)
        bytes.insert(bytes.begin(), size - bytes.size(), 0);
    return bytes;
}
