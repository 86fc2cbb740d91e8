#pragma once

#include <string_view>

#include "support/buffers/DataBuffer.h"
#include "support/encoding/Pem.h"

namespace certstore {

// Walks the certificates of a PEM text: blocks labelled "CERTIFICATE", "X509 CERTIFICATE" or
// "TRUSTED CERTIFICATE" (whose trust settings are cut off); all else is passed over.
class PemCertificates {
public:
    explicit PemCertificates(std::string_view text) noexcept : m_blocks(text) {}

    // The bytes of the next certificate block, in place of what `der` held; they need not be a
    // certificate. A block that is no base64 is counted and passed over. False at the end.
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
