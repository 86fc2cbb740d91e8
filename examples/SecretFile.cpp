#include "SecretFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace {

bool failWithErrno(std::string& error) {
    error = std::generic_category().message(errno);
    return false;
}

bool readAll(int file, unsigned int limit, DataBuffer& content, std::string& error) {
    constexpr unsigned int kPieceSize = 64 * 1024;
    while (content.getSize() < limit) {
        const unsigned int start = content.getSize();
        const unsigned int wanted = std::min(kPieceSize, limit - start);
        const ssize_t got = read(file, content.extend(wanted), wanted);
        content.shrink(start + (got > 0 ? static_cast<unsigned int>(got) : 0));
        if (got < 0 && errno != EINTR)
            return failWithErrno(error);
        if (got == 0)
            break;
    }
    return true;
}

bool writeAll(int file, certstore::ByteView content, std::string& error) {
    while (!content.empty()) {
        const ssize_t written = write(file, content.data(), content.size());
        if (written < 0 && errno != EINTR)
            return failWithErrno(error);
        if (written > 0)
            content = content.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

bool readSecretFile(const std::string& path, unsigned int limit, DataBuffer& content,
                    std::string& error) {
    content.m_secure = true;
    content.clear();
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return failWithErrno(error);
    const bool good = readAll(file, limit, content, error);
    close(file);
    return good;
}

bool writeNewSecretFile(const std::string& path, certstore::ByteView content, std::string& error) {
    // O_EXCL refuses symbolic links too: the key cannot be led into a file that others read.
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0)
        return failWithErrno(error);
    bool good = writeAll(file, content, error);
    if (close(file) != 0 && good)
        good = failWithErrno(error);
    if (!good)
        unlink(path.c_str());
    return good;
}
