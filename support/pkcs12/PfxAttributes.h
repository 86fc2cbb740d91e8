#pragma once

#include "support/base/ByteView.h"

namespace certstore {

struct PfxItem;

// Fills friendlyName and localKeyId (RFC 2985 sections 5.5.1 and 5.5.2) from the content of a bag's
// SET OF attributes. Unknown attributes are ignored, and malformed ones too: a name is no reason to
// refuse a key. Throws std::bad_alloc.
void readPfxAttributes(ByteView attributes, PfxItem& item);

}  // namespace certstore
