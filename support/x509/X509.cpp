#include "support/x509/X509.h"

#include <algorithm>

namespace certstore {

namespace {

// Copies a text and a NUL, which ends it for its readers in C.
unsigned char* putText(unsigned char* place, std::string_view text) noexcept {
    place = std::copy_n(bytesOf(text).data(), text.size(), place);
    *place++ = '\0';
    return place;
}

}  // namespace

std::size_t X509Parts::size() const noexcept {
    return der.size() + subjectText.size() + 1 + (selfIssued ? 0 : issuerText.size() + 1);
}

X509::X509(const X509Parts& parts, unsigned char* room) noexcept
    : m_bytes(room),
      m_derSize(static_cast<std::uint32_t>(parts.der.size())),
      m_tbs(sliceOf(parts.der, parts.fields.tbs)),
      m_tbsAlgorithm(sliceOf(parts.der, parts.fields.tbsAlgorithm)),
      m_serial(sliceOf(parts.der, parts.fields.serial)),
      m_issuer(sliceOf(parts.der, parts.fields.issuer)),
      m_subject(sliceOf(parts.der, parts.fields.subject)),
      m_spki(sliceOf(parts.der, parts.fields.spki)),
      m_signatureAlgorithm(sliceOf(parts.der, parts.fields.signatureAlgorithm)),
      m_signature(sliceOf(parts.der, parts.fields.signature)),
      m_subjectKeyId(sliceOf(parts.der, parts.fields.subjectKeyId)),
      m_authorityKeyId(sliceOf(parts.der, parts.fields.authorityKeyId)),
      m_emailName(sliceOf(parts.der, parts.fields.emailName)),
      m_subjectText{m_derSize, static_cast<std::uint32_t>(parts.subjectText.size())},
      m_issuerText(m_subjectText),
      m_version(static_cast<std::uint8_t>(parts.fields.version)),
      m_signatureHasUnusedBits(parts.fields.signatureHasUnusedBits),
      m_selfIssued(parts.selfIssued) {
    unsigned char* end = std::copy_n(parts.der.data(), parts.der.size(), room);
    end = putText(end, parts.subjectText);
    if (m_selfIssued)
        return;
    m_issuerText = {static_cast<std::uint32_t>(end - room),
                    static_cast<std::uint32_t>(parts.issuerText.size())};
    putText(end, parts.issuerText);
}

X509::Slice X509::sliceOf(ByteView base, ByteView field) const noexcept {
    if (field.empty())
        return {};
    return {static_cast<std::uint32_t>(field.data() - base.data()),
            static_cast<std::uint32_t>(field.size())};
}

}  // namespace certstore
