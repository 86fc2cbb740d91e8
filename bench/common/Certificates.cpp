#include "bench/common/Certificates.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>
#include <vector>

#include "support/buffers/DataBuffer.h"
#include "support/x509/PemCertificates.h"

namespace certbench {

namespace {

// Where one value stands in the model, perhaps more than once.
using Places = std::vector<std::size_t>;

// The certificate that all are copies of, and where to write.
class Model {
public:
    Model()
        : der(readDer()),
          serial(places(std::string(16, '\x11'))),
          subjectDigits(places("11111111")),
          issuerDigits(places("22222222")),
          subjectKeyId(places(std::string(20, '\xa1'))),
          authorityKeyId(places(std::string(20, '\xb2'))) {}

    std::string der;
    Places serial, subjectDigits, issuerDigits, subjectKeyId, authorityKeyId;

private:
    static std::string readDer() {
        std::ifstream file(CERTSTORE_BENCH_DATA "/member.pem");
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        certstore::PemCertificates certs(text);
        DataBuffer bytes;
        if (certs.next(bytes))
            return std::string(certstore::textOf(bytes.view()));
        std::cerr << "Cannot read bench/data/member.pem\n";
        std::exit(1);
    }

    Places places(std::string_view value) const {
        Places found;
        for (std::size_t at = 0; (at = der.find(value, at)) != std::string::npos; ++at)
            found.push_back(at);
        return found;
    }
};

void write(std::string& der, const Places& places, std::string_view value) {
    for (const std::size_t at : places)
        der.replace(at, value.size(), value);
}

std::string digitsOf(unsigned int number) {
    const std::string digits = std::to_string(number);
    return std::string(8 - digits.size(), '0') + digits;
}

// Bytes without order, as serial numbers and key identifiers are: the steps of SplitMix64.
std::string scatteredBytes(std::uint64_t seed, std::size_t size) {
    std::string bytes;
    while (bytes.size() < size) {
        std::uint64_t value = seed += 0x9e3779b97f4a7c15;
        value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
        value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
        value ^= value >> 31;
        for (int shift = 0; shift < 64 && bytes.size() < size; shift += 8)
            bytes += static_cast<char>(value >> shift);
    }
    return bytes;
}

std::string serialOf(unsigned int number) {
    std::string serial = scatteredBytes(number, 16);
    serial[0] = '\x4a';  // positive, and without a zero in front
    return serial;
}

std::string keyIdOf(unsigned int number) {
    return scatteredBytes(~std::uint64_t{number}, 20);
}

}  // namespace

std::string certificateDer(unsigned int number) {
    static const Model model;
    std::string der = model.der;
    write(der, model.serial, serialOf(number));
    write(der, model.subjectDigits, digitsOf(number));
    write(der, model.issuerDigits, digitsOf(issuerOf(number)));
    write(der, model.subjectKeyId, keyIdOf(number));
    write(der, model.authorityKeyId, keyIdOf(issuerOf(number)));
    return der;
}

std::string commonNameOf(unsigned int number) {
    return "Member " + digitsOf(number);
}

std::string emailOf(unsigned int number) {
    return "member" + digitsOf(number) + "@example.org";
}

}  // namespace certbench
