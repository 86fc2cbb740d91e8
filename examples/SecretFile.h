#pragma once

#include <string>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"

// Files with secrets in them. Nothing of their content stays in memory that is not wiped, which
// the buffers of a standard stream would not promise.

// Reads the first `limit` bytes of a file, or all when it has fewer, into `content`, which is
// marked secure. False, with a reason in `error`, when it cannot be read.
bool readSecretFile(const std::string& path, unsigned int limit, DataBuffer& content,
                    std::string& error);

// Makes a new file that only its owner may read from the moment it exists. False, with a reason in
// `error`, when there is a file of that name or it cannot be written; then none is left behind.
bool writeNewSecretFile(const std::string& path, certstore::ByteView content, std::string& error);
