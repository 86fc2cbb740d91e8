#include "support/x509/PemCertificates.h"

#include "support/asn1/DerReader.h"
#include "support/encoding/Base64.h"

namespace certstore {

namespace {

void cutToFirstValue(DataBuffer& der) noexcept {
    DerReader reader(der.view());
    ByteView content, whole;
    unsigned char tag = 0;
    if (reader.readAny(tag, content, whole))
        der.shrink(static_cast<unsigned int>(whole.size()));
}

}  // namespace

bool PemCertificates::next(DataBuffer& der) {
    PemBlock block;
    while (m_blocks.next(block)) {
        if (!isCertificateLabel(block.label))
            continue;
        der.clear();
        if (decodeBase64(block.body, der)) {
            if (block.label == kTrustedCertificateLabel)
                cutToFirstValue(der);
            return true;
        }
        ++m_undecodable;
    }
    return false;
}

}  // namespace certstore
