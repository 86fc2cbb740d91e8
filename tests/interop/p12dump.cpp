// Prints what a PKCS#12 file holds: the number of certificates and keys, then for each certificate
// its SHA-256 and whether a key is attached. With KEY and OUT also writes the KEY-th private key as
// DER. Exit status: 0 read, 1 refused, 2 called wrongly.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "support/crypto/Digest.h"
#include "support/encoding/Hex.h"
#include "support/log/LogText.h"
#include "support/pkcs12/Pkcs12.h"

namespace {

std::string readFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The log's first error: a later one only says that the whole failed.
int refuse(const LogText& log) {
    const std::string& text = log.getText();
    const std::size_t at = std::min(text.find("ERROR: "), text.size());
    std::cerr << "p12dump: " << text.substr(at, text.find('\n', at) - at) << "\n";
    return 1;
}

void printContents(const Pkcs12& pfx, LogBase& log) {
    std::cout << "certs " << pfx.get_NumCerts() << "\nkeys " << pfx.get_NumPrivateKeys() << "\n";
    for (int i = 0; i < pfx.get_NumCerts(); ++i) {
        const X509Certificate& cert = *pfx.getPkcs12Cert(i, log);
        DataBuffer der;
        StringBuffer digest;
        cert.getDEREncodedCert(der);
        const auto algorithm = certstore::DigestAlgorithm::Sha256;
        certstore::appendHex(digest, certstore::computeDigest(algorithm, der.view()).view());
        std::cout << digest.getString() << (cert.hasPrivateKey(false, log) ? " key\n" : "\n");
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 5) {
        std::cerr << "usage: p12dump FILE PASSWORD_FILE [KEY OUT]\n"
                     "PASSWORD_FILE holds the password without a line end; - is no password.\n";
        return 2;
    }
    const std::string content = readFile(argv[1]), password = readFile(argv[2]);
    DataBuffer bytes, key;
    bytes.append(certstore::bytesOf(content));
    LogText log;
    Pkcs12 pfx;
    bool macVerified = false, notExportable = false;
    const bool hasPassword = argv[2] != std::string_view("-");
    if (!pfx.pkcs12FromDb(bytes, hasPassword ? password.c_str() : nullptr, macVerified, log))
        return refuse(log);
    printContents(pfx, log);
    if (argc == 3)
        return 0;
    const _zvPublicKey* wanted = pfx.getPrivateKey(std::atoi(argv[3]));
    if (!wanted || !wanted->getPrivateKeyDer(key, notExportable))
        return refuse(log);
    std::ofstream out(argv[4], std::ios::binary);
    out.write(reinterpret_cast<const char*>(key.getData2()), key.getSize());
    return out.flush() ? 0 : 1;
}
