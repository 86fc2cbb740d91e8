#pragma once

#include "support/crypto/Field25519.h"
#include "support/crypto/Field448.h"

namespace certstore {

// The curves a x^2 + y^2 = 1 + d x^2 y^2 of EdDSA. On both a is a square and d is none, so that
// points add by one formula without exceptions.

// RFC 8032 section 5.1.
struct Edwards25519 {
    using Field = Field25519;
    using Element = Field::Element;

    static constexpr bool kIsTwisted = true;  // a is -1, otherwise 1
    static constexpr Element kD{
        {0x34dca135978a3, 0x1a8283b156ebd, 0x5e7a26001c029, 0x739c663a03cbb, 0x52036cee2b6ff}};
    static constexpr Element kBaseX{
        {0x62d608f25d51a, 0x412a4b4f6592a, 0x75b7171a4b31d, 0x1ff60527118fe, 0x216936d3cd6e5}};
    static constexpr Element kBaseY{
        {0x6666666666658, 0x4cccccccccccc, 0x1999999999999, 0x3333333333333, 0x6666666666666}};
    using Scalar = Number<4>;
    static constexpr Scalar kOrder{0x5812631a5cf5d3ed, 0x14def9dea2f79cd6, 0, 0x1000000000000000};
    // Octets of an encoded point, and of a private key.
    static constexpr std::size_t kPointSize = 32;
};

// RFC 8032 section 5.2.
struct Edwards448 {
    using Field = Field448;
    using Element = Field::Element;

    static constexpr bool kIsTwisted = false;
    static constexpr Element kD{{0xffffffffff6756, 0xffffffffffffff, 0xffffffffffffff,
                                 0xffffffffffffff, 0xfffffffffffffe, 0xffffffffffffff,
                                 0xffffffffffffff, 0xffffffffffffff}};
    static constexpr Element kBaseX{{0x26a82bc70cc05e, 0x80e18b00938e26, 0xf72ab66511433b,
                                     0xa3d3a46412ae1a, 0x0f1767ea6de324, 0x36da9e14657047,
                                     0xed221d15a622bf, 0x4f1970c66bed0d}};
    static constexpr Element kBaseY{{0x08795bf230fa14, 0x132c4ed7c8ad98, 0x1ce67c39c4fdbd,
                                     0x05a0c2d73ad3ff, 0xa3984087789c1e, 0xc7624bea73736c,
                                     0x248876203756c9, 0x693f46716eb6bc}};
    using Scalar = Number<7>;
    static constexpr Scalar kOrder{0x2378c292ab5844f3, 0x216cc2728dc58f55, 0xc44edb49aed63690,
                                   0xffffffff7cca23e9, 0xffffffffffffffff, 0xffffffffffffffff,
                                   0x3fffffffffffffff};
    static constexpr std::size_t kPointSize = 57;
};

}  // namespace certstore
