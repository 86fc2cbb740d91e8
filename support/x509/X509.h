#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/base/ByteView.h"

namespace certstore {

// What a certificate's encoding says, as slices of that encoding. Slices of absent fields are
// empty.
struct X509Fields {
    ByteView tbs;           // TBSCertificate, whole: what is signed
    ByteView tbsAlgorithm;  // AlgorithmIdentifier inside the signed part, whole
    ByteView serial;        // content octets as encoded
    ByteView issuer;        // content of the RDNSequence
    ByteView subject;
    ByteView spki;                // SubjectPublicKeyInfo, whole
    ByteView signatureAlgorithm;  // AlgorithmIdentifier, whole
    ByteView signature;           // the BIT STRING's bytes
    ByteView subjectKeyId;        // RFC 5280 section 4.2.1.2
    ByteView authorityKeyId;      // keyIdentifier of section 4.2.1.1
    ByteView emailName;           // the first rfc822Name of section 4.2.1.6 that is not empty
    int version = 1;              // 1, 2 or 3
    bool signatureHasUnusedBits = false;
};

// What an X509 is made of: an encoding, the fields that parseX509 found in it, and the two names as
// text without string types (NameText.h).
struct X509Parts {
    ByteView der;
    const X509Fields& fields;
    std::string_view subjectText, issuerText;
    bool selfIssued;  // the two texts are equal

    // How many bytes an X509 keeps of it.
    std::size_t size() const noexcept;
};

// A parsed certificate (RFC 5280): its bytes, its fields as slices of them, and its two names as
// text. Never changes once made, so any number of threads may read it. Every view lives as long as
// the object.
class X509 {
public:
    // Copies the parts into `room`, which has parts.size() bytes and lives as long as the object.
    X509(const X509Parts& parts, unsigned char* room) noexcept;

    X509(const X509&) = delete;
    X509& operator=(const X509&) = delete;

    ByteView der() const noexcept { return {m_bytes, m_derSize}; }
    int version() const noexcept { return m_version; }
    ByteView tbs() const noexcept { return at(m_tbs); }
    ByteView tbsAlgorithm() const noexcept { return at(m_tbsAlgorithm); }
    ByteView serial() const noexcept { return at(m_serial); }
    ByteView issuer() const noexcept { return at(m_issuer); }
    ByteView subject() const noexcept { return at(m_subject); }
    ByteView spki() const noexcept { return at(m_spki); }
    ByteView signatureAlgorithm() const noexcept { return at(m_signatureAlgorithm); }
    ByteView signature() const noexcept { return at(m_signature); }
    bool signatureHasUnusedBits() const noexcept { return m_signatureHasUnusedBits; }
    ByteView subjectKeyId() const noexcept { return at(m_subjectKeyId); }
    ByteView authorityKeyId() const noexcept { return at(m_authorityKeyId); }
    ByteView emailName() const noexcept { return at(m_emailName); }

    // The names without string types. NUL-terminated, and without a NUL inside.
    std::string_view subjectText() const noexcept { return textAt(m_subjectText); }
    std::string_view issuerText() const noexcept { return textAt(m_issuerText); }

    // The two texts are equal.
    bool isSelfIssued() const noexcept { return m_selfIssued; }

private:
    struct Slice {
        std::uint32_t offset = 0, size = 0;
    };
    Slice sliceOf(ByteView base, ByteView field) const noexcept;
    ByteView at(Slice slice) const noexcept { return {m_bytes + slice.offset, slice.size}; }
    std::string_view textAt(Slice slice) const noexcept { return textOf(at(slice)); }

    // The encoding, then the subject's text, then the issuer's where it differs.
    const unsigned char* m_bytes;
    std::uint32_t m_derSize;
    Slice m_tbs, m_tbsAlgorithm, m_serial, m_issuer, m_subject, m_spki, m_signatureAlgorithm,
        m_signature, m_subjectKeyId, m_authorityKeyId, m_emailName, m_subjectText, m_issuerText;
    std::uint8_t m_version;
    bool m_signatureHasUnusedBits, m_selfIssued;
};

}  // namespace certstore
