#include "support/roots/ClsTrustedRoots.h"

#include <fstream>
#include <new>
#include <string>

#include "support/log/LogNull.h"
#include "support/roots/SysTrustedRoots.h"
#include "support/roots/TrustedRoots.h"
#include "support/x509/PemCertificates.h"

namespace {

// Some hundred times the largest bundle in use: a wrong path must not fill the memory.
constexpr std::size_t kMaxBundleSize = std::size_t{64} << 20;

bool readFile(const char* path, std::string& text) {
    std::ifstream file(path, std::ios::binary);
    char part[16384];
    while (file.read(part, sizeof part) || file.gcount() > 0) {
        text.append(part, static_cast<std::size_t>(file.gcount()));
        if (text.size() > kMaxBundleSize)
            return false;
    }
    return file.eof() && !file.bad();
}

}  // namespace

ClsTrustedRoots* ClsTrustedRoots::createNewCls() noexcept {
    try {
        return new ClsTrustedRoots;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool ClsTrustedRoots::loadCaCertsPem(const XString& path, ProgressMonitor* progress, LogBase& log) {
    LogContextExitor context(log, "loadCaCertsPem");
    std::string text;
    if (!readFile(path.getUtf8(), text)) {
        log.LogError("Failed to read the CA bundle file.");
        log.LogDataX("path", path);
        return false;
    }
    return addPemCerts(text, progress, log);
}

bool ClsTrustedRoots::addPemCerts(std::string_view text, ProgressMonitor* progress, LogBase& log) {
    LogNull quiet;
    LogBase& details = log.m_verboseLogging ? log : quiet;
    certstore::PemCertificates certs(text);
    DataBuffer der;
    int good = 0, bad = 0;
    while (certs.next(der)) {
        // cppcheck-suppress danglingTempReference  // takes `quiet`, a LogBase, for a temporary
        ++(addCertDer(der, details) ? good : bad);
        if (!progress)
            continue;
        progress->m_percentDone = static_cast<int>(certs.position() * 100 / text.size());
        if (progress->m_abort) {
            log.LogError("Aborted by the application.");
            return false;
        }
    }
    bad += certs.undecodable();
    log.LogDataLong("numCerts", good);
    if (bad != 0)
        log.LogDataLong("numCertsSkipped", bad);
    if (good == 0)
        log.LogError("The file holds no certificate.");
    return good != 0;
}

bool ClsTrustedRoots::addCertDer(const DataBuffer& der, LogBase& log) {
    const ZorvenOwner<CertificateHolder> holder(
        CertificateHolder::createFromDer(der.getData2(), der.getSize(), nullptr, log));
    if (!holder)
        return false;
    m_roots.add(*holder->getCertPtr(log));
    return true;
}

bool ClsTrustedRoots::activate(LogBase&) {
    TrustedRoots::addRoots(m_roots);
    return true;
}

bool ClsTrustedRoots::sysActivate(LogBase&) {
    SysTrustedRoots::addRoots(m_roots);
    return true;
}
