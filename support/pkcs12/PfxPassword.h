#pragma once

#include <array>
#include <cstddef>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"

namespace certstore {

// A password in the forms in which tools have turned it into keys. All are wiped at the end.
//
// PKCS#12's own key derivation takes UTF-16BE with a terminator (RFC 7292 appendix B.1). A null
// password is no bytes there and an empty one two, but tools disagree which an absent password
// is; both are tried for either. A password is taken as UTF-8; one that is not, as Latin-1, and so
// did some tools with every password, which is tried last. The key derivations of PKCS#5 take the
// bytes as they came.
class PfxPassword {
public:
    // `password` may be null. Throws std::bad_alloc.
    explicit PfxPassword(const char* password);

    // How many different forms there are, 1 or 2, most likely first.
    std::size_t formCount() const noexcept { return m_formCount; }

    // For PKCS#12's own key derivation. Requires: form < formCount().
    ByteView bmpBytes(std::size_t form) const noexcept { return m_forms[form].view(); }
    // What the form is, for a log.
    const char* formName(std::size_t form) const noexcept { return m_formNames[form]; }

    // For everything else; the same in every form.
    ByteView rawBytes() const noexcept { return m_raw.view(); }

private:
    void addForm(const char* name) noexcept { m_formNames[m_formCount++] = name; }

    DataBuffer m_raw;
    std::array<DataBuffer, 2> m_forms;
    std::array<const char*, 2> m_formNames{};
    std::size_t m_formCount = 0;
};

}  // namespace certstore
