#include "support/x509/X509.h"

#include <cstring>

namespace certstore {

X509::X509(ByteView der, const X509Fields& fields, std::string_view subjectText,
           std::string_view issuerText)
    : m_derSize(static_cast<std::uint32_t>(der.size())),
      m_tbs(sliceOf(der, fields.tbs)),
      m_tbsAlgorithm(sliceOf(der, fields.tbsAlgorithm)),
      m_serial(sliceOf(der, fields.serial)),
      m_issuer(sliceOf(der, fields.issuer)),
      m_subject(sliceOf(der, fields.subject)),
      m_spki(sliceOf(der, fields.spki)),
      m_signatureAlgorithm(sliceOf(der, fields.signatureAlgorithm)),
      m_signature(sliceOf(der, fields.signature)),
      m_subjectKeyId(sliceOf(der, fields.subjectKeyId)),
      m_authorityKeyId(sliceOf(der, fields.authorityKeyId)),
      m_emailName(sliceOf(der, fields.emailName)),
      m_version(static_cast<std::uint8_t>(fields.version)),
      m_signatureHasUnusedBits(fields.signatureHasUnusedBits),
      m_selfIssued(subjectText == issuerText) {
    const std::size_t issuerSize = m_selfIssued ? 0 : issuerText.size() + 1;
    m_block.reset(new unsigned char[der.size() + subjectText.size() + 1 + issuerSize]);
    std::memcpy(m_block.get(), der.data(), der.size());
    std::uint32_t end = m_derSize;
    const auto store = [this, &end](std::string_view text) {
        const Slice slice{end, static_cast<std::uint32_t>(text.size())};
        if (!text.empty())
            std::memcpy(m_block.get() + end, text.data(), text.size());
        end += slice.size;
        m_block[end++] = '\0';
        return slice;
    };
    m_subjectText = store(subjectText);
    m_issuerText = m_selfIssued ? m_subjectText : store(issuerText);
}

X509::Slice X509::sliceOf(ByteView base, ByteView field) const noexcept {
    if (field.empty())
        return {};
    return {static_cast<std::uint32_t>(field.data() - base.data()),
            static_cast<std::uint32_t>(field.size())};
}

}  // namespace certstore
