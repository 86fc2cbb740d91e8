#pragma once

#include <string_view>

#include "support/base/ByteView.h"

namespace certstore {

// The short name of an attribute type given by the content octets of its OID; empty when it has
// none here. RFC 4514 section 3 and what other programs write for the types that CAs use.
std::string_view attributeShortName(ByteView oid) noexcept;

// Whether an attribute name as a person types it means this type: a short name or one of its usual
// synonyms, in any case, or a dotted OID with or without "OID." in front.
bool isAttributeNamed(ByteView oid, std::string_view name);

// Whether two attribute names as people type them mean the same type.
bool isSameAttributeName(std::string_view a, std::string_view b) noexcept;

}  // namespace certstore
