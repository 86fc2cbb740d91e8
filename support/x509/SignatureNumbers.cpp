#include "support/x509/SignatureNumbers.h"

#include "support/asn1/DerReader.h"

namespace certstore {

bool readSignatureNumbers(ByteView signature, ByteView& r, ByteView& s) noexcept {
    DerReader der(signature), inner;
    return der.readSequence(inner) && der.atEnd() && inner.readUnsigned(r) && inner.readUnsigned(s)
        && inner.atEnd();
}

}  // namespace certstore
