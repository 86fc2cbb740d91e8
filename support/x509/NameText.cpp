#include "support/x509/NameText.h"

#include <array>
#include <vector>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/x509/DirectoryString.h"
#include "support/x509/NameAttributes.h"

namespace certstore {

namespace {

struct NameAttribute {
    ByteView type;
    ByteView value, wholeValue;
    unsigned char valueTag = 0;
    bool startsRdn = false;
};

// Walks the attributes of a name in encoded order. A malformed rest, which the parser lets nobody
// have, ends the walk.
class NameWalker {
public:
    explicit NameWalker(ByteView name) noexcept : m_rdns(name) {}

    bool next(NameAttribute& attribute) noexcept {
        attribute.startsRdn = m_rdn.atEnd();
        if (attribute.startsRdn && !m_rdns.readSet(m_rdn))
            return false;
        DerReader inner;
        return m_rdn.readSequence(inner) && inner.readOid(attribute.type)
            && inner.readAny(attribute.valueTag, attribute.value, attribute.wholeValue);
    }

private:
    DerReader m_rdns, m_rdn;
};

// The attributes of a name, to be visited from the last to the first. Those of ordinary names lie
// on the stack.
class AttributeList {
public:
    explicit AttributeList(ByteView name) {
        NameWalker walker(name);
        NameAttribute attribute;
        while (walker.next(attribute)) {
            if (m_size < m_few.size())
                m_few[m_size] = attribute;
            else
                m_more.push_back(attribute);
            ++m_size;
        }
    }

    std::size_t size() const noexcept { return m_size; }
    const NameAttribute& operator[](std::size_t i) const noexcept {
        return i < m_few.size() ? m_few[i] : m_more[i - m_few.size()];
    }

private:
    std::array<NameAttribute, 12> m_few;
    std::vector<NameAttribute> m_more;
    std::size_t m_size = 0;
};

void appendAttribute(StringBuffer& out, const NameAttribute& attribute, NameForm form) {
    const std::string_view shortName = attributeShortName(attribute.type);
    if (shortName.empty())
        appendDottedOid(out, attribute.type);
    else
        out.append(shortName);
    out.appendChar('=');
    if (form == NameForm::Tagged) {
        out.append(stringTypeName(attribute.valueTag));
        out.appendChar(':');
    }
    appendEscapedDirectoryText(out, attribute.valueTag, attribute.value, attribute.wholeValue);
}

}  // namespace

void appendNameText(StringBuffer& out, ByteView name, NameForm form) {
    const AttributeList attributes(name);
    for (std::size_t i = attributes.size(); i-- > 0;) {
        appendAttribute(out, attributes[i], form);
        if (i != 0)
            out.append(attributes[i].startsRdn ? ", " : "+");
    }
}

bool findNamePart(ByteView name, std::string_view part, StringBuffer& value) {
    NameWalker walker(name);
    NameAttribute attribute, found;
    while (walker.next(attribute))
        if (isAttributeNamed(attribute.type, part))
            found = attribute;
    return !found.type.empty() && appendDirectoryText(value, found.valueTag, found.value);
}

}  // namespace certstore
