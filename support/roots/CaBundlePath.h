#pragma once

namespace certstore {

// The file with the operating system's root certificates. The one thing here that differs between
// platforms.
const char* caBundlePath() noexcept;

// Makes the library read another file in its place; null restores the system's. For tests: `path`
// must outlive its use.
void setCaBundlePath(const char* path) noexcept;

}  // namespace certstore
