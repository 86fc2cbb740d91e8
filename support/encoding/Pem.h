#pragma once

#include <string_view>

namespace certstore {

// One block of a PEM text (RFC 7468).
struct PemBlock {
    std::string_view label;  // between "BEGIN " and the dashes
    std::string_view body;   // between the two boundary lines: headers, if any, and base64
    std::size_t offset;      // of the block in the text, in bytes
};

// Walks the blocks of a text as found in the field: anything may stand between blocks, lines end in
// LF, CRLF or CR, the last one need not end. A block whose end is missing, or has another label, is
// passed over. Copies nothing: what it yields lies in the text given.
class PemWalker {
public:
    explicit PemWalker(std::string_view text) noexcept : m_text(text) {}

    // The next block; false at the end.
    [[nodiscard]] bool next(PemBlock& block) noexcept;

    // How far the walk has come, in bytes.
    std::size_t position() const noexcept { return m_at; }

private:
    std::string_view m_text;
    std::size_t m_at = 0;
};

// The label of a certificate that is followed, within its block, by another program's settings.
constexpr std::string_view kTrustedCertificateLabel = "TRUSTED CERTIFICATE";

// "CERTIFICATE" and what older programs wrote in its place.
bool isCertificateLabel(std::string_view label) noexcept;

}  // namespace certstore
