#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

#include "support/crypto/Digest.h"
#include "support/encoding/Hex.h"

using Bytes = std::vector<unsigned char>;

inline Bytes fromHex(std::string_view digits) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(certstore::hexValue(digits[i]) * 16
                                                   + certstore::hexValue(digits[i + 1])));
    return bytes;
}

inline Bytes toBytes(certstore::ByteView bytes) {
    return {bytes.begin(), bytes.end()};
}

// The bytes with zeros in front, as many as it takes to reach `size`.
inline Bytes padded(Bytes bytes, std::size_t size) {
    if (bytes.size() < size)
        bytes.insert(bytes.begin(), size - bytes.size(), 0);
    return bytes;
}

// The sum of two numbers, as long as the longer: a carry out of it is lost.
inline Bytes sum(const Bytes& a, const Bytes& b) {
    Bytes result = padded(a, b.size());
    const Bytes addend = padded(b, a.size());
    unsigned int carry = 0;
    for (std::size_t i = result.size(); i-- > 0; carry >>= 8) {
        carry += 0U + result[i] + addend[i];
        result[i] = static_cast<unsigned char>(carry);
    }
    return result;
}

// 0, 1 .. 250 again and again: a message without a period that any block size shares.
inline Bytes makePattern(std::size_t size) {
    Bytes pattern(size);
    for (std::size_t i = 0; i < size; ++i)
        pattern[i] = static_cast<unsigned char>(i % 251);
    return pattern;
}

// The first 16 octets of the SHA-256.
inline Bytes fingerprint(const Bytes& bytes) {
    const auto digest = certstore::computeDigest(certstore::DigestAlgorithm::Sha256, bytes);
    return toBytes(digest.view().first(16));
}
