#pragma once

#include <string_view>

#include "support/buffers/DataBuffer.h"
#include "support/encoding/Pem.h"
#include "support/encoding/PemBody.h"

namespace certstore {

// Puts the bytes of a certificate's block in place of what `der` held, the trust settings of a
// "TRUSTED CERTIFICATE" cut off; they need not be a certificate. Nothing is left there unless the
// result is Good. Throws std::bad_alloc.
[[nodiscard]] PemBodyResult decodePemCertificate(const PemBlock& block, DataBuffer& der);

// Walks the certificates of a PEM text: blocks labelled "CERTIFICATE", "X509 CERTIFICATE" or
// "TRUSTED CERTIFICATE"; all else is passed over.
class PemCertificates {
public:
    explicit PemCertificates(std::string_view text) noexcept : m_blocks(text) {}

    // What decodePemCertificate makes of the next block, in place of what `der` held. One of which
    // it makes nothing is counted and passed over. False at the end.
    [[nodiscard]] bool next(DataBuffer& der);

    // Blocks passed over so far although labelled as certificates.
    int undecodable() const noexcept { return m_undecodable; }

    // How far the walk has come, in bytes.
    std::size_t position() const noexcept { return m_blocks.position(); }

private:
    PemWalker m_blocks;
    int m_undecodable = 0;
};

}  // namespace certstore
