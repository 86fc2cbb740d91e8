#pragma once

#include "support/pkcs12/PfxCrypto.h"
#include "support/pkcs12/Pkcs12Limits.h"

namespace certstore {

// What is left of the work that one source of keys may take.
class KdfBudget {
public:
    // The limits are kept, not copied.
    explicit KdfBudget(const Pkcs12Limits& limits) noexcept : m_limits(limits) {}

    // Takes the cost of one key derivation off, before it is done. Null when that is allowed, else
    // the name of the limit it is over, such as "over the limit of iterations".
    [[nodiscard]] const char* charge(const KdfCost& cost) noexcept {
        if (cost.iterations > m_limits.iterations)
            return "over the limit of iterations";
        if (cost.memory > m_limits.scryptMemory)
            return "over the limit of scrypt memory";
        if (cost.work > m_limits.kdfWork - m_charged)
            return "over the limit of key derivation work";
        m_charged += cost.work;
        return nullptr;
    }

private:
    const Pkcs12Limits& m_limits;
    std::uint64_t m_charged = 0;
};

}  // namespace certstore
