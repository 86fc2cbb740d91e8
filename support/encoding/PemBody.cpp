#include "support/encoding/PemBody.h"

#include <algorithm>

#include "support/encoding/Base64.h"

namespace certstore {

namespace {

// Takes the first line off a text whose lines end in LF, CRLF or CR.
std::string_view takeLine(std::string_view& text) noexcept {
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    text.remove_prefix(line.size());
    const std::size_t lineEnd = text.starts_with("\r\n") ? 2 : 1;
    text.remove_prefix(std::min(lineEnd, text.size()));
    return line;
}

bool isBlank(std::string_view line) noexcept {
    return line.find_first_not_of(" \t") == std::string_view::npos;
}

// Cuts the headers off, which begin on a line of their own and end with an empty one; whether they
// tell of encryption.
bool takeHeaders(std::string_view& body) noexcept {
    // No digit of base64.
    if (body.find(':') == std::string_view::npos)
        return false;
    std::string_view rest = body;
    if (!isBlank(takeLine(rest)))
        return false;
    bool encrypted = false;
    while (!rest.empty()) {
        const std::string_view line = takeLine(rest);
        if (isBlank(line))
            break;
        encrypted = encrypted
            || (line.starts_with("Proc-Type:") && line.find("ENCRYPTED") != std::string_view::npos);
    }
    body = rest;
    return encrypted;
}

}  // namespace

PemBodyResult decodePemBody(std::string_view body, DataBuffer& out) {
    if (takeHeaders(body))
        return PemBodyResult::Encrypted;
    return decodeBase64(body, out) ? PemBodyResult::Good : PemBodyResult::NotBase64;
}

const char* problemOf(PemBodyResult result) noexcept {
    return result == PemBodyResult::Encrypted
        ? "traditional encryption (Proc-Type: 4,ENCRYPTED) is not supported"
        : "not base64";
}

}  // namespace certstore
