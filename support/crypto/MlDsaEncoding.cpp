#include "support/crypto/MlDsaEncoding.h"

#include <numeric>

namespace certstore {
namespace {

// The i-th of numbers of kBits bits each, packed least significant bit first. Reads no octet that
// holds nothing of it or its neighbours.
template <std::size_t kBits>
std::int32_t readNumber(ByteView octets, std::size_t i) noexcept {
    constexpr std::size_t kLatestStart = 8 - std::gcd(kBits, std::size_t{8});
    constexpr std::size_t kOctets = (kLatestStart + kBits + 7) / 8;
    static_assert(kOctets <= 4);
    const unsigned char* const at = octets.data() + i * kBits / 8;
    std::uint32_t window = 0;
    for (std::size_t octet = 0; octet < kOctets; ++octet)
        window |= std::uint32_t{at[octet]} << (8 * octet);
    return static_cast<std::int32_t>(window >> (i * kBits % 8) & ((1U << kBits) - 1));
}

template <std::size_t kBits>
bool readResponseOf(const MlDsaParameters& set, ByteView octets,
                    MlDsaPolynomial& response) noexcept {
    const std::int32_t limit = set.maskSize - set.margin;
    bool isShort = true;
    for (std::size_t i = 0; i < response.size(); ++i) {
        response[i] = set.maskSize - readNumber<kBits>(octets, i);
        isShort = isShort && -limit < response[i] && response[i] < limit;
    }
    return isShort;
}

// FIPS 204 algorithms 36, 37 and 40 for 2 gamma2 = (q - 1) / kParts.
template <std::int32_t kParts>
struct Decomposition {
    static constexpr std::int32_t kStep = (kMlDsaPrime - 1) / kParts;
    static constexpr std::size_t kBits = std::bit_width(std::uint32_t{kParts - 1});

    // Numbers above q - 1 - gamma2 belong to 0, with a low part below 0.
    static std::int32_t highPart(std::int32_t number) noexcept {
        const std::int32_t part = (number + (kStep / 2 - 1)) / kStep;
        return part == kParts ? 0 : part;
    }

    static std::int32_t highPartHinted(std::int32_t number) noexcept {
        const std::int32_t part = highPart(number), low = number - part * kStep;
        const bool isAbove = 0 < low && low <= kStep / 2;
        return (part + (isAbove ? 1 : kParts - 1)) % kParts;
    }

    static ByteView encode(const MlDsaPolynomial& polynomial, ByteView hints,
                           MlDsaHighParts& octets) noexcept {
        MlDsaPolynomial parts;
        for (std::size_t i = 0; i < parts.size(); ++i)
            parts[i] = highPart(polynomial[i]);
        for (const unsigned char position : hints)
            parts[position] = highPartHinted(polynomial[position]);
        unsigned char* out = octets.data();
        for (std::size_t i = 0; i < parts.size(); i += 4) {
            std::int32_t packed = 0;
            for (std::size_t j = 0; j < 4; ++j)
                packed |= parts[i + j] << (j * kBits);
            for (std::size_t j = 0; j < kBits / 2; ++j, packed >>= 8)
                *out++ = static_cast<unsigned char>(packed);
        }
        return ByteView(octets).first(parts.size() * kBits / 8);
    }
};

}  // namespace

void readKeyRow(ByteView octets, MlDsaPolynomial& row) noexcept {
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = readNumber<10>(octets, i) << 13;
}

bool readResponse(const MlDsaParameters& set, ByteView octets, MlDsaPolynomial& response) noexcept {
    return set.maskSize == kMlDsa44.maskSize ? readResponseOf<18>(set, octets, response)
                                             : readResponseOf<20>(set, octets, response);
}

bool areHints(const MlDsaParameters& set, ByteView octets) noexcept {
    std::size_t position = 0;
    for (const unsigned char end : octets.subspan(set.maxHints)) {
        if (end < position || end > set.maxHints)
            return false;
        for (const std::size_t start = position; position < end; ++position)
            if (position > start && octets[position - 1] >= octets[position])
                return false;
    }
    for (; position < set.maxHints; ++position)
        if (octets[position] != 0)
            return false;
    return true;
}

ByteView hintsOfRow(const MlDsaParameters& set, ByteView octets, std::size_t row) noexcept {
    const ByteView ends = octets.subspan(set.maxHints);
    const std::size_t start = row == 0 ? 0 : ends[row - 1];
    return octets.subspan(start, ends[row] - start);
}

ByteView encodeHighParts(const MlDsaParameters& set, const MlDsaPolynomial& polynomial,
                         ByteView hints, MlDsaHighParts& parts) noexcept {
    return set.highParts == 44 ? Decomposition<44>::encode(polynomial, hints, parts)
                               : Decomposition<16>::encode(polynomial, hints, parts);
}

}  // namespace certstore
