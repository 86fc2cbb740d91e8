#include "support/pkcs12/PfxPassword.h"

#include <cstring>

#include "support/base/ConstantTime.h"
#include "support/encoding/Utf8.h"

namespace certstore {

namespace {

void appendUnit(DataBuffer& out, char32_t unit) {
    out.appendByte(static_cast<unsigned char>(unit >> 8));
    out.appendByte(static_cast<unsigned char>(unit));
}

void appendUtf16(DataBuffer& out, char32_t code) {
    if (code < 0x10000) {
        appendUnit(out, code);
        return;
    }
    appendUnit(out, 0xd800 + ((code - 0x10000) >> 10));
    appendUnit(out, 0xdc00 + ((code - 0x10000) & 0x3ff));
}

void appendFromUtf8(DataBuffer& out, ByteView utf8) {
    while (!utf8.empty()) {
        const std::size_t size = utf8SequenceSize(utf8);
        appendUtf16(out, utf8CharAt(utf8));
        utf8 = utf8.subspan(size);
    }
    appendUnit(out, 0);
}

void appendFromLatin1(DataBuffer& out, ByteView latin1) {
    for (const unsigned char byte : latin1)
        appendUnit(out, byte);
    appendUnit(out, 0);
}

}  // namespace

PfxPassword::PfxPassword(const char* password) {
    m_raw.m_secure = true;
    for (DataBuffer& form : m_forms)
        form.m_secure = true;
    const ByteView bytes = password ? bytesOf(password) : ByteView();
    m_raw.append(bytes);
    if (bytes.empty()) {
        // As given first: no bytes for null, the terminator alone for the empty text.
        const bool isNull = password == nullptr;
        appendUnit(m_forms[isNull ? 1 : 0], 0);
        addForm(isNull ? "null password" : "empty password");
        addForm(isNull ? "empty password" : "null password");
        return;
    }
    if (!isUtf8(bytes)) {
        appendFromLatin1(m_forms[0], bytes);
        addForm("password as Latin-1");
        return;
    }
    appendFromUtf8(m_forms[0], bytes);
    addForm("password as UTF-8");
    appendFromLatin1(m_forms[1], bytes);
    if (!equalSecrets(bmpBytes(0), bmpBytes(1)))
        addForm("password as Latin-1");
}

}  // namespace certstore
