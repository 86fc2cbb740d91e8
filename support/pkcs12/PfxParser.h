#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "support/buffers/DataBuffer.h"
#include "support/buffers/StringBuffer.h"
#include "support/log/LogBase.h"
#include "support/pkcs12/KdfBudget.h"
#include "support/pkcs12/PfxCrypto.h"
#include "support/pkcs12/Pkcs12Limits.h"

namespace certstore {

// A certificate or a private key of a file, with what its bag says about it.
struct PfxItem {
    enum class Kind { Certificate, Key };

    Kind kind = Kind::Certificate;
    DataBuffer der;  // the certificate, or the key as PKCS#8; secure
    DataBuffer localKeyId;
    StringBuffer friendlyName;
    std::string bag;  // where it stands in the file, for a log: "certificate bag 2"
};

// The certificates and keys of a file, in its order.
using PfxItems = std::vector<std::unique_ptr<PfxItem>>;

// Reads the bytes of one PKCS#12 file (RFC 7292) down to its bags. Used once.
class PfxParser {
public:
    // The limits are kept, not copied. Throws std::bad_alloc.
    PfxParser(const Pkcs12Limits& limits, LogBase& log)
        : m_limits(limits), m_log(log), m_budget(limits) {}

    // Fills `items`. `macVerified` tells whether the file had a MAC, which then matched. False,
    // with one error that says where reading stopped and why, and `items` of no use. Throws
    // std::bad_alloc.
    [[nodiscard]] bool parse(ByteView pfx, const PfxPassword& password, PfxItems& items,
                             bool& macVerified);

    // Hash computations that deriving keys has taken so far.
    std::uint64_t workDone() const noexcept { return m_workDone; }

private:
    // A bag whose content is still encrypted keeps its cipher until all work is known and allowed.
    struct Bag {
        std::unique_ptr<PfxItem> item;
        bool encrypted = false;
        PfxCipher cipher;
        ByteView encryptedKey;
        std::string name;
    };
    struct Safe {
        bool encrypted = false;
        PfxCipher cipher;
        ByteView content;
        std::string name;
        std::deque<Bag> bags;
    };

    bool readPfx(ByteView pfx);
    bool readAuthenticatedSafe();
    bool readContentInfo(ByteView contentInfo, Safe& safe);
    bool readEncryptedData(ByteView content, Safe& safe);
    bool readBags(ByteView safeContents, Safe& safe);
    bool readBag(ByteView safeBag, Safe& safe);
    bool readCertBag(ByteView content, ByteView attributes, Safe& safe);
    bool readKeyBag(ByteView content, ByteView attributes, Safe& safe);
    bool readShroudedKey(ByteView content, ByteView attributes, Safe& safe);
    bool verifyMac(const PfxPassword& password, bool& macVerified);
    bool openSafe(const PfxPassword& password, Safe& safe);
    bool decryptKey(const PfxPassword& password, Bag& bag);
    bool decrypt(const PfxPassword& password, const PfxCipher& cipher, const std::string& what,
                 ByteView encrypted, DataBuffer& der);

    // A buffer that is wiped, and lives until this object ends.
    DataBuffer& keptBuffer();
    bool toDer(ByteView ber, ByteView& der, const std::string& what);
    bool charge(const KdfCost& cost, const std::string& what);
    bool fail(const std::string& message);
    void note(const std::string& message);
    std::string bagName(const char* kind) const;

    const Pkcs12Limits& m_limits;
    LogBase& m_log;
    std::deque<DataBuffer> m_buffers;
    std::deque<Safe> m_safes;
    ByteView m_authenticatedSafe, m_macData;
    PfxMac m_mac;
    KdfBudget m_budget;
    std::uint64_t m_workDone = 0;
    std::size_t m_bagCount = 0, m_keyCount = 0;
    std::size_t m_form = 0;  // of the password: the one that has worked
};

}  // namespace certstore
