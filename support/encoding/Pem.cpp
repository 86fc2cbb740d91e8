#include "support/encoding/Pem.h"

namespace certstore {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

// The label of the boundary line that starts with `mark` at `at`; empty when the line is no
// boundary.
std::string_view labelAt(std::string_view text, std::string_view mark, std::size_t at) noexcept {
    const std::size_t start = at + mark.size();
    const std::size_t lineEnd = std::min(text.find_first_of("\r\n", start), text.size());
    const std::string_view line = text.substr(start, lineEnd - start);
    const std::size_t dashes = line.find(kDashes);
    return dashes == std::string_view::npos ? std::string_view() : line.substr(0, dashes);
}

}  // namespace

bool PemWalker::next(PemBlock& block) noexcept {
    std::size_t begin = m_text.find(kBegin, m_at);
    while (begin != std::string_view::npos) {
        // A block ends before the next one begins, so each byte is searched a fixed number of
        // times.
        const std::size_t following = m_text.find(kBegin, begin + kBegin.size());
        const std::string_view rest = m_text.substr(0, following);
        const std::string_view label = labelAt(rest, kBegin, begin);
        const std::size_t bodyAt = begin + kBegin.size() + label.size() + kDashes.size();
        const std::size_t end = label.empty() ? std::string_view::npos : rest.find(kEnd, bodyAt);
        if (end != std::string_view::npos && labelAt(rest, kEnd, end) == label) {
            block = {label, rest.substr(bodyAt, end - bodyAt), begin};
            m_at = end + kEnd.size();
            return true;
        }
        begin = following;
    }
    m_at = m_text.size();
    return false;
}

bool isCertificateLabel(std::string_view label) noexcept {
    return label == "CERTIFICATE" || label == "X509 CERTIFICATE"
        || label == kTrustedCertificateLabel;
}

}  // namespace certstore
