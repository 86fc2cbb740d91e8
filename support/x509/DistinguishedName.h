#pragma once

#include "support/buffers/StringBuffer.h"
#include "support/log/LogBase.h"

// Operations on the text of a distinguished name.
class DistinguishedName {
public:
    DistinguishedName() = delete;

    // Appends the value of one attribute of a DN as a person types it (RFC 4514 and RFC 2253, and
    // what both leave out): attributes in any order, separated by "," or ";" or "+", blanks around
    // separators and "=", values in quotes or with escapes or as "#" and hexadecimal DER, names in
    // any case, by their usual synonyms or as dotted OIDs. Of several values the first in the text
    // counts: that is the last encoded in the order that X509Certificate writes. A NUL stays \00
    // and a byte that is no UTF-8 \HH, as in X509Certificate::getSubjectPart.
    // False, silently and with `value` untouched, when there is no such attribute. Null arguments
    // count as empty. Throws std::bad_alloc.
    static bool getDnPart(const char* dn, const char* part, StringBuffer& value, LogBase& log);
};
