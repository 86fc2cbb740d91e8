#pragma once

#include <algorithm>
#include <span>
#include <string_view>

namespace certstore {

// Bytes owned by somebody else. Valid for as long as their owner keeps them.
using ByteView = std::span<const unsigned char>;

inline bool equalBytes(ByteView a, ByteView b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

inline ByteView bytesOf(std::string_view text) noexcept {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

inline std::string_view textOf(ByteView bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace certstore
