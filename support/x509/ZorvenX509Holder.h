#pragma once

#include "support/x509/X509.h"

// The part of a certificate that carries its lower-level X.509 object.
class ZorvenX509Holder {
public:
    // Borrowed: lives as long as this holder and never changes.
    const certstore::X509* getX509Ptr() const noexcept { return &m_x509; }

protected:
    // `room` as X509 takes it.
    ZorvenX509Holder(const certstore::X509Parts& parts, unsigned char* room) noexcept
        : m_x509(parts, room) {}
    ~ZorvenX509Holder() = default;

private:
    const certstore::X509 m_x509;
};
