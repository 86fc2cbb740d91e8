#pragma once

#include "support/base/ZorvenObject.h"
#include "support/log/LogBase.h"
#include "support/x509/X509Certificate.h"

// Keeps one certificate alive for as long as the holder exists. Holders share the certificate, they
// never copy it. On the stack, a holder protects a borrowed pointer to the end of a scope.
// A holder is used by one thread at a time; different holders of one certificate by any.
class CertificateHolder : public NonRefCountedObj {
public:
    // Of a borrowed certificate that is alive, or of none when `cert` is null.
    explicit CertificateHolder(X509Certificate* cert) noexcept;
    ~CertificateHolder() override;

    // A new holder, the caller's. Null only when `cert` is null; throws std::bad_alloc.
    static CertificateHolder* createFromCert(X509Certificate* cert, LogBase& log);

    // Parses one DER certificate of `size` bytes (at most 1 MiB, nothing behind it) into a new
    // certificate in a new holder, the caller's. The bytes are copied. `reserved` is not used. Null
    // when the bytes are not a certificate; one error names the field and the byte where reading
    // stopped. Throws std::bad_alloc.
    static CertificateHolder* createFromDer(const unsigned char* der, unsigned int size,
                                            void* reserved, LogBase& log);

    // Borrowed: valid while any holder of the certificate lives. Null when none is held.
    X509Certificate* getCertPtr(LogBase& log) const noexcept;

    // Holds `cert` from now on; null leaves the holder empty. The certificate held before is let
    // go last, so it may be the same.
    void setCert(X509Certificate* cert) noexcept;

private:
    X509Certificate* m_cert;
};
