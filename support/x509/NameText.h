#pragma once

#include <string_view>

#include "support/base/ByteView.h"
#include "support/buffers/StringBuffer.h"

namespace certstore {

enum class NameForm {
    NoTags,  // values alone: a name written in two string types is one text
    Tagged,  // each value with its string type in front, "CN=UTF8:Example"
};

// Appends an RDNSequence, given as the content of a Name that parseX509 has accepted, as one line:
// RFC 4514 order (last RDN first, and so the attributes of one RDN, joined by "+") and escaping,
// ", " between RDNs. Attribute types by their short names (NameAttributes.h), others as dotted
// OIDs with their values as text too where they are strings. Different names give different texts;
// names that differ only in string types differ only in the tagged form.
void appendNameText(StringBuffer& out, ByteView name, NameForm form);

// Appends the value of one attribute of such a name, of several the last encoded, as plain text
// (NUL as \00). `part` is a short name in any case or a dotted OID. False, with `value` untouched,
// when the name has no such attribute as text.
bool findNamePart(ByteView name, std::string_view part, StringBuffer& value);

}  // namespace certstore
