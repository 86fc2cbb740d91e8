#pragma once

#include <string>

// Certificates for the benchmarks of the store: copies of one real certificate of about 1,050 bytes
// (bench/data/member.pem), each with names, serial number, key identifiers and e-mail address of
// its own. The same number always gives the same bytes. Signatures do not verify.
//
// Numbers go by families of four: a root, an intermediate below it, and two leaves below that.
namespace certbench {

// Numbers from here on are never put into a store: searches for them find nothing.
inline constexpr unsigned int kFirstStranger = 50'000'000;

inline constexpr unsigned int kFamily = 4;

constexpr unsigned int rootOf(unsigned int number) {
    return number - number % kFamily;
}

// The certificate's own number when it is a root.
constexpr unsigned int issuerOf(unsigned int number) {
    return number % kFamily <= 1 ? rootOf(number) : rootOf(number) + 1;
}

// The DER of a certificate; the number has at most eight digits.
std::string certificateDer(unsigned int number);

// What stands in it.
std::string commonNameOf(unsigned int number);
std::string emailOf(unsigned int number);

}  // namespace certbench
