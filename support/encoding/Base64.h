#pragma once

#include <string_view>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"
#include "support/buffers/StringBuffer.h"

namespace certstore {

// Appends the base64 of `bytes` (RFC 4648 section 4), padded, in one line.
void appendBase64(StringBuffer& out, ByteView bytes);
// The same into a buffer that may be marked secure.
void appendBase64(DataBuffer& out, ByteView bytes);

// Appends the bytes that `text` stands for. Blanks and line ends may stand anywhere, padding may be
// missing. False on any other character, on data behind the padding and on bits left over; `out`
// is then as it was. A buffer for secrets is marked secure by the caller first.
[[nodiscard]] bool decodeBase64(std::string_view text, DataBuffer& out);

}  // namespace certstore
