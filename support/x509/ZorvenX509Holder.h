#pragma once

#include "support/x509/X509.h"

// The part of a certificate that carries its lower-level X.509 object.
class ZorvenX509Holder {
public:
    // Borrowed: lives as long as this holder and never changes.
    const certstore::X509* getX509Ptr() const noexcept { return &m_x509; }

protected:
    ZorvenX509Holder(certstore::ByteView der, const certstore::X509Fields& fields,
                     std::string_view subjectText, std::string_view issuerText)
        : m_x509(der, fields, subjectText, issuerText) {}
    ~ZorvenX509Holder() = default;

private:
    const certstore::X509 m_x509;
};
