#include "support/x509/PemCertificates.h"

#include "support/asn1/DerReader.h"

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

PemBodyResult decodePemCertificate(const PemBlock& block, DataBuffer& der) {
    der.clear();
    const PemBodyResult result = decodePemBody(block.body, der);
    if (result == PemBodyResult::Good && block.label == kTrustedCertificateLabel)
        cutToFirstValue(der);
    return result;
}

bool PemCertificates::next(DataBuffer& der) {
    PemBlock block;
    while (m_blocks.next(block)) {
        if (!isCertificateLabel(block.label))
            continue;
        if (decodePemCertificate(block, der) == PemBodyResult::Good)
            return true;
        ++m_undecodable;
    }
    return false;
}

}  // namespace certstore
