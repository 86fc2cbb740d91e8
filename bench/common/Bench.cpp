#include "bench/common/Bench.h"

#include <time.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

#include "support/buffers/DataBuffer.h"
#include "support/x509/PemCertificates.h"

#ifdef CERTSTORE_HAS_LIBCRYPTO
#include <openssl/crypto.h>
#endif
#ifdef CERTSTORE_HAS_GNUTLS
#include <gnutls/gnutls.h>
#endif

namespace certbench {

namespace {

std::string compilerName() {
#ifdef __clang__
    return "clang " __clang_version__;
#else
    return "g++ " __VERSION__;
#endif
}

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(": ") + 2);
    return "unknown";
}

}  // namespace

std::string libcryptoName() {
#ifdef CERTSTORE_HAS_LIBCRYPTO
    return std::string("libcrypto ") + OpenSSL_version(OPENSSL_VERSION_STRING);
#else
    return {};
#endif
}

std::string gnutlsName() {
#ifdef CERTSTORE_HAS_GNUTLS
    return std::string("GnuTLS ") + gnutls_check_version(nullptr);
#else
    return {};
#endif
}

std::string readTestFile(const std::string& name) {
    std::ifstream file(std::string(CERTSTORE_TEST_DATA) + "/" + name, std::ios::binary);
    if (!file) {
        std::cerr << "Cannot read tests/data/" << name << '\n';
        std::exit(1);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> readTestCerts(const std::string& name) {
    const std::string text = readTestFile(name);
    certstore::PemCertificates certs(text);
    std::vector<std::string> all;
    for (DataBuffer der; certs.next(der);)
        all.emplace_back(certstore::textOf(der.view()));
    return all;
}

double processorSeconds() {
    // std::clock() counts microseconds, which is too coarse.
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

int runBenchmarks(int argc, char** argv, const std::string& note) {
    benchmark::AddCustomContext("processor", processorName());
    benchmark::AddCustomContext("compiler", compilerName());
    benchmark::AddCustomContext("note", note);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

}  // namespace certbench
