#include "support/pkcs12/PfxAttributes.h"

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/pkcs12/PfxParser.h"
#include "support/x509/DirectoryString.h"

namespace certstore {

namespace {

constexpr OidBytes kFriendlyName("1.2.840.113549.1.9.20");
constexpr OidBytes kLocalKeyId("1.2.840.113549.1.9.21");

}  // namespace

void readPfxAttributes(ByteView attributes, PfxItem& item) {
    DerReader list(attributes), attribute, values;
    while (!list.atEnd()) {
        ByteView type, value, whole;
        unsigned char tag = 0;
        if (!list.readSequence(attribute))
            return;
        if (!attribute.readOid(type) || !attribute.readSet(values)
            || !values.readAny(tag, value, whole))
            continue;
        if (kFriendlyName == type && item.friendlyName.getSize() == 0 && isNameValue(tag, value))
            appendDirectoryText(item.friendlyName, tag, value);
        if (kLocalKeyId == type && item.localKeyId.getSize() == 0)
            item.localKeyId.append(value);
    }
}

}  // namespace certstore
