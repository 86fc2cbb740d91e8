#pragma once

#include <cstddef>
#include <cstdint>

namespace certstore {

// What reading one PKCS#12 file may cost. The defaults open every file that tools in use write; a
// file that needs more is refused with the name of the limit in the log.
struct Pkcs12Limits {
    // Bytes of the file. Trust stores of whole operating systems stay below 1 MiB.
    std::size_t fileSize = std::size_t{32} << 20;

    // Iterations of one key derivation. Tools write 2,048 to 1,000,000; an attacker would write
    // 2^31.
    std::uint64_t iterations = 10'000'000;

    // Hash computations of all key derivations of a file together, each output block of each
    // iteration counted: some seconds of one core. Bounds files of many bags, which each stay below
    // the above.
    std::uint64_t kdfWork = 40'000'000;

    // Bytes of working memory of one scrypt: twice what is recommended for passwords today.
    std::size_t scryptMemory = std::size_t{256} << 20;

    // Values within values, and safes within safes. Files have about ten.
    unsigned int nesting = 32;

    // Bags in all safes together. The largest trust stores have some hundred.
    std::size_t bags = 10'000;

    // Private keys. Each is compared with each certificate, so this keeps a file of the most bags
    // to some seconds; key stores of servers have some hundred.
    std::size_t keys = 1'000;
};

}  // namespace certstore
