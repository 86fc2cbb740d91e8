#include "support/x509/NameText.h"

#include <array>
#include <vector>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/x509/DirectoryString.h"
#include "support/x509/NameAttributes.h"

namespace certstore {

namespace {

// The content of one AttributeTypeAndValue, and whether an RDN begins with it. Without values of
// its own: setting a list of them to zero costs a parse several percent.
struct NamePlace {
    const unsigned char* data;
    std::size_t size;
    bool startsRdn;
};

struct NameAttribute {
    ByteView type;
    ByteView value, wholeValue;
    unsigned char valueTag = 0;
};

// Walks the attributes of a name in encoded order. A malformed rest, which the parser lets nobody
// have, ends the walk.
class NameWalker {
public:
    explicit NameWalker(ByteView name) noexcept : m_rdns(name) {}

    bool next(NamePlace& place) noexcept {
        ByteView content;
        const bool startsRdn = m_rdn.atEnd();
        if ((startsRdn && !m_rdns.readSet(m_rdn)) || !m_rdn.read(DerTag::Sequence, content))
            return false;
        place = {content.data(), content.size(), startsRdn};
        return true;
    }

private:
    DerReader m_rdns, m_rdn;
};

NameAttribute attributeAt(const NamePlace& place) noexcept {
    NameAttribute attribute;
    DerReader inner(ByteView(place.data, place.size));
    // Neither fails, nor is the type's form looked at: the parser has done so.
    (void)(inner.read(DerTag::Oid, attribute.type)
           && inner.readAny(attribute.valueTag, attribute.value, attribute.wholeValue));
    return attribute;
}

// The attributes of a name, to be visited from the last to the first. Those of ordinary names lie
// on the stack.
class AttributeList {
public:
    explicit AttributeList(ByteView name) {
        NameWalker walker(name);
        while (m_size < m_few.size() && walker.next(m_few[m_size]))
            ++m_size;
        NamePlace place;
        while (m_size >= m_few.size() && walker.next(place)) {
            m_more.push_back(place);
            ++m_size;
        }
    }

    std::size_t size() const noexcept { return m_size; }
    const NamePlace& operator[](std::size_t i) const noexcept {
        if (i < m_few.size())
            return m_few[i];
        return m_more[i - m_few.size()];
    }

private:
    std::array<NamePlace, 12> m_few;
    std::vector<NamePlace> m_more;
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
        appendAttribute(out, attributeAt(attributes[i]), form);
        if (i != 0)
            out.append(std::string_view(attributes[i].startsRdn ? ", " : "+"));
    }
}

bool findNamePart(ByteView name, std::string_view part, StringBuffer& value) {
    NameWalker walker(name);
    NamePlace place;
    NameAttribute found;
    while (walker.next(place)) {
        const NameAttribute attribute = attributeAt(place);
        if (isAttributeNamed(attribute.type, part))
            found = attribute;
    }
    return !found.type.empty() && appendDirectoryText(value, found.valueTag, found.value);
}

}  // namespace certstore
