#include "PfxFile.h"

#include "SecretFile.h"
#include "support/pkcs12/Pkcs12Limits.h"

namespace {

constexpr std::string_view kErrorMark = "ERROR: ";

std::string errorAt(const std::string& text, std::size_t at) {
    if (at == std::string::npos)
        return "failed";
    at += kErrorMark.size();
    return text.substr(at, text.find('\n', at) - at);
}

}  // namespace

std::string firstError(const LogText& log) {
    return errorAt(log.getText(), log.getText().find(kErrorMark));
}

std::string lastError(const LogText& log) {
    return errorAt(log.getText(), log.getText().rfind(kErrorMark));
}

CertificateHolder* addPfxFile(SystemCerts& store, const std::string& path,
                              const PasswordSource& source, std::string& error) {
    // One byte more than the library takes, so that it tells of a file that is too large.
    constexpr auto kLimit = static_cast<unsigned int>(certstore::Pkcs12Limits{}.fileSize) + 1;
    DataBuffer pfx, password;
    if (!readSecretFile(path, kLimit, pfx, error)) {
        error = path + ": " + error;
        return nullptr;
    }
    if (!readPassword(source, path, password, error))
        return nullptr;
    const char* text =
        password.getSize() ? reinterpret_cast<const char*>(password.getData2()) : nullptr;
    CertificateHolder* leaf = nullptr;
    int numPrivateKeys = 0;
    LogText problems;
    if (pfx.getSize() == 0)
        error = path + ": the file is empty";
    else if (!store.addPfxSource(pfx, text, &leaf, numPrivateKeys, problems))
        error = path + ": " + firstError(problems);
    else if (!leaf)
        error = path + ": the file holds no certificate";
    return leaf;
}
