// Prints the chain of a certificate up to its root.
//
// The leaf of the PKCS#12 file, or else the first certificate of the first file, is the one whose
// chain is wanted; all certificates of all files go into the store, that one too, since issuers are
// found by name only for certificates that the store knows. Exit status: 0 root reached, 1 failed,
// 2 no root.

#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "PfxFile.h"
#include "SecretFile.h"
#include "certstore/SystemCerts.h"
#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/roots/ClsTrustedRoots.h"
#include "support/settings/Settings.h"
#include "support/x509/CertificateHolder.h"
#include "support/x509/KeyCodec.h"
#include "support/x509/PemCertificates.h"
#include "support/x509/SignatureAlgorithms.h"

namespace {

// Bytes of a file with certificates: what is longer is cut, and then refused.
constexpr unsigned int kMaxFileSize = 64U << 20;

constexpr int kRootReached = 0, kFailed = 1, kNoRoot = 2;

constexpr const char* kUsage =
    "usage: certchain [OPTION]... FILE [FILE]...\n"
    "       certchain --pfx FILE [OPTION]... [FILE]...\n"
    "Prints the chain of the first certificate in the first FILE (PEM or DER), leaf to root, or\n"
    "of the certificate with a private key in a PKCS#12 file.\n"
    "The certificates of all files may be members of it.\n"
    "  --root FILE           trust the certificates of this PEM file as the application's roots\n"
    "  --system-roots        look for roots in the system's CA bundle (default)\n"
    "  --no-system-roots     do not\n"
    "  --skip-signatures     check no signatures\n"
    "  --include-root        print the root too (default)\n"
    "  --no-include-root     do not\n"
    "  --verbose             print the log of all that was done to stderr\n";
constexpr const char* kExitStatus = "Exit status: 0 root reached, 1 failed, 2 no root.\n";

struct Options {
    std::vector<std::string> files, rootFiles;
    std::string pfxFile;
    PasswordSource password;
    bool skipSignatures = false, includeRoot = true, verbose = false, help = false;
};

int fail(const std::string& what) {
    std::cerr << "certchain: " << what << "\n";
    return kFailed;
}

bool readOption(const std::string& argument, Options& options) {
    if (argument == "--skip-signatures")
        options.skipSignatures = true;
    else if (argument == "--include-root" || argument == "--no-include-root")
        options.includeRoot = argument == "--include-root";
    else if (argument == "--system-roots" || argument == "--no-system-roots")
        _zvSettings::m_trustSystemCaRoots = argument == "--system-roots";
    else if (argument == "--verbose")
        options.verbose = true;
    else if (argument == "--help")
        options.help = true;
    else
        return false;
    return true;
}

// Where the value of an option goes that may be given once. Null for every other argument.
std::string* valueOf(const std::string& argument, Options& options) {
    if (argument == "--pfx")
        return &options.pfxFile;
    return passwordOption(argument, options.password);
}

bool readArguments(const std::vector<std::string>& arguments, Options& options,
                   std::string& error) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string* value = valueOf(arguments[i], options);
        if (arguments[i] == "--root" && i + 1 < arguments.size())
            options.rootFiles.push_back(arguments[++i]);
        else if (value && value->empty() && i + 1 < arguments.size() && !arguments[i + 1].empty())
            *value = arguments[++i];
        else if (!arguments[i].starts_with("--"))
            options.files.push_back(arguments[i]);
        else if (!readOption(arguments[i], options))
            error = "unknown, repeated or incomplete: " + arguments[i] + " (try --help)";
    }
    if (error.empty() && options.files.empty() && options.pfxFile.empty() && !options.help)
        error = "no certificate file given (try --help)";
    return error.empty();
}

// Adds one certificate to the store and, unless `first` holds one, makes it the first.
bool addCertificate(SystemCerts& store, DataBuffer& der, CertificateHolder& first, LogBase& log) {
    const ZorvenOwner<CertificateHolder> holder(
        CertificateHolder::createFromDer(der.getData2(), der.getSize(), nullptr, log));
    if (!holder || !store.addCertificate(holder->getCertPtr(log), log))
        return false;
    if (!first.getCertPtr(log))
        first.setCert(holder->getCertPtr(log));
    return true;
}

bool addFile(SystemCerts& store, const std::string& path, CertificateHolder& first,
             std::string& error) {
    DataBuffer file, der;
    if (!readSecretFile(path, kMaxFileSize, file, error))
        return false;
    const std::string_view content = certstore::textOf(file.view());
    LogText problems;
    bool good = true;
    int count = 0;
    if (content.find("-----BEGIN ") == std::string::npos) {
        der.append(file.view());
        good = addCertificate(store, der, first, problems);
        count = 1;
    }
    certstore::PemCertificates blocks(content);
    for (; good && blocks.next(der); ++count)
        good = addCertificate(store, der, first, problems);
    if (!good)
        error = firstError(problems);
    else if (blocks.undecodable() != 0)
        error = "a certificate block is not base64";
    else if (count == 0)
        error = "the file holds no certificate";
    return error.empty();
}

// Adds all files to the store, and makes the certificate whose chain is wanted the first.
bool fillStore(SystemCerts& store, const Options& options, CertificateHolder& first,
               std::string& error) {
    if (!options.pfxFile.empty()) {
        const ZorvenOwner<CertificateHolder> leaf(
            addPfxFile(store, options.pfxFile, options.password, error));
        if (!leaf)
            return false;
        LogNull quiet;
        first.setCert(leaf->getCertPtr(quiet));
    }
    for (const std::string& path : options.files)
        if (!addFile(store, path, first, error)) {
            error.insert(0, path + ": ");
            return false;
        }
    return true;
}

bool trustRoots(const std::string& path, std::string& error) {
    XString name;
    name.appendUtf8(path.c_str());
    LogText log;
    ClsTrustedRoots* roots = ClsTrustedRoots::createNewCls();
    const bool loaded = roots && roots->loadCaCertsPem(name, nullptr, log);
    if (loaded)
        roots->activate(log);
    else
        error = firstError(log);
    if (roots)
        roots->deleteSelf();
    return loaded;
}

void printMember(int number, const X509Certificate& cert, LogBase& log) {
    XString subject, issuer, serial;
    StringBuffer key, algorithm;
    certstore::PublicKeyInfo info;
    const certstore::X509* x509 = cert.getX509Ptr();
    cert.getSubjectDN_noTags(subject, log);
    cert.getIssuerDN_noTags(issuer, log);
    cert.getSerialNumber(serial, log);
    if (certstore::readPublicKeyInfo(x509->spki(), info))
        certstore::appendKeyDescription(key, info);
    else
        cert.appendCertKeyType(key, log);
    certstore::appendSignatureAlgorithmName(algorithm, x509->signatureAlgorithm());
    std::cout << number << "  subject:   " << subject.getUtf8() << "\n"
              << "   issuer:    " << issuer.getUtf8() << "\n"
              << "   serial:    " << serial.getUtf8() << "\n"
              << "   key:       " << key.getString() << "\n"
              << "   signature: " << algorithm.getString() << "\n";
}

int printChain(SystemCerts& store, X509Certificate& cert, const Options& options) {
    LogText log;
    log.m_verboseLogging = options.verbose;
    ExtPtrArray chain;
    bool reachedRoot = false;
    const bool built = store.buildCertChain(cert, options.includeRoot, options.skipSignatures,
                                            chain, reachedRoot, log);
    if (options.verbose)
        std::cerr << log.getText();
    for (int i = 0; i < chain.getSize(); ++i)
        printMember(i, *static_cast<CertificateHolder*>(chain.elementAt(i))->getCertPtr(log), log);
    std::cout << "root reached: " << (reachedRoot ? "yes" : "no") << std::endl;
    if (!built)
        return fail(lastError(log));
    return reachedRoot ? kRootReached : kNoRoot;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    std::string error;
    if (!readArguments({argv + 1, argv + argc}, options, error))
        return fail(error);
    if (options.help) {
        std::cout << kUsage << kPasswordUsage << kExitStatus;
        return kRootReached;
    }
    for (const std::string& path : options.rootFiles)
        if (!trustRoots(path, error))
            return fail(error.insert(0, path + ": "));
    const SystemCertsHolder holder;
    SystemCerts* store = holder.getSystemCertsPtr();
    if (!store)
        return fail("out of memory");
    CertificateHolder first(nullptr);
    if (!fillStore(*store, options, first, error))
        return fail(error);
    LogNull quiet;
    return printChain(*store, *first.getCertPtr(quiet), options);
}
