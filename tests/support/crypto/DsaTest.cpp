#include "support/crypto/Dsa.h"

#include <gtest/gtest.h>

#include "support/crypto/Digest.h"
#include "support/crypto/DsaKeys.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

// A group of 256 bits, a key and a signature over "abc" made with Python: nothing here depends on
// the sizes of real keys.
struct Inputs {
    Bytes p = fromHex("f300cd4fefa8f40a624d4eff32d92dc1f58931ff7cf43e7f97bf7d914282ef49");
    Bytes q = fromHex("d685d62404fcd5555daf106db8dee081179a071f");
    Bytes g = fromHex("debbd5aea94b2fc52cf3fb78660b85cfe7faf9cfe082dc048321d85f23d1a8ab");
    Bytes y = fromHex("99d8a85c4415202b1848b0c88cb0f1167673eb3d3e96517fd8f1f61c9c6f43dc");
    Bytes x = fromHex("263961d1b51cecef3e5bcce6cd2f4934efc46c09");
    Bytes r = fromHex("d6728324147e34f229d4549c187ea3f5c623e6fb");
    Bytes s = fromHex("d46ae9a3c233ec52cae613e23f077b9d8b4b47de");

    DsaDomain domain() const { return {p, q, g}; }

    bool verify() const {
        const DigestValue digest = computeDigest(DigestAlgorithm::Sha256, bytesOf("abc"));
        return verifyDsa({domain(), y}, digest.view(), r, s);
    }

    // Anybody can sign with a g and y of -1, whose powers are 1 and -1.
    Inputs& useMinusOne(unsigned char newR, unsigned char newS) {
        g = y = p;
        g.back() = y.back() = static_cast<unsigned char>(p.back() - 1);
        r = {newR};
        s = {newS};
        return *this;
    }
    void setSizeOfP(std::size_t size) {
        p.assign(size, 0xff);
        useMinusOne(1, 1);
    }

    // Whether y is what x gives.
    bool derivesY() const {
        Bytes derived(y.size());
        return deriveDsaPublicKey(domain(), x, derived) && derived == y;
    }
};

void add(Bytes& number, const Bytes& addend) {
    number = sum(padded(number, addend.size() + 1), addend);
}

TEST(DsaTest, TakesNumbersInTheirRangesOnly) {
    const std::tuple<const char*, bool, bool, void (*)(Inputs&)> cases[] = {
        {"as Python made it", true, true, [](Inputs&) {}},
        {"zeros in front", true, true,
         [](Inputs& i) {
             for (Bytes* number : {&i.p, &i.q, &i.g, &i.y, &i.x, &i.r, &i.s})
                 number->insert(number->begin(), 9, 0);
             i.y.erase(i.y.begin(), i.y.begin() + 9);
         }},
        {"g and y are -1", true, true, [](Inputs& i) { i.useMinusOne(1, 1); }},
        {"r is 0, as -1 is modulo q", false, true, [](Inputs& i) { i.useMinusOne(0, 1); }},
        {"s is 0", false, true, [](Inputs& i) { i.s = {0}; }},
        {"q more than r", false, true, [](Inputs& i) { add(i.r, i.q); }},
        {"q more than s", false, true, [](Inputs& i) { add(i.s, i.q); }},
        {"q more than x", true, false, [](Inputs& i) { add(i.x, i.q); }},
        {"x is 0", true, false, [](Inputs& i) { i.x = {0}; }},
        {"x is far longer than q", true, false, [](Inputs& i) { i.x.insert(i.x.begin(), 40, 1); }},
        {"p more than y", false, false, [](Inputs& i) { add(i.y, i.p); }},
        {"p more than g", false, false, [](Inputs& i) { add(i.g, i.p); }},
        {"y is 1", false, false, [](Inputs& i) { i.useMinusOne(1, 4).y = {1}; }},
        {"g is 1", false, false, [](Inputs& i) { i.useMinusOne(1, 2).g = {1}; }},
        {"y is 0", false, false, [](Inputs& i) { i.y = {0}; }},
        {"g is 0", false, false, [](Inputs& i) { i.g = {0}; }},
        {"p is even", false, false, [](Inputs& i) { i.p.back() ^= 1; }},
        {"q is even", false, false, [](Inputs& i) { i.q.back() ^= 1; }},
        {"q is not below p", false, false,
         [](Inputs& i) {
             i.p = i.q;
             i.g = i.y = {2};
         }},
        {"q of 161 bits", false, false,
         [](Inputs& i) { i.useMinusOne(1, 1).q.insert(i.q.begin(), 1); }},
        {"q of 264 bits", false, false, [](Inputs& i) { i.q.insert(i.q.begin(), 13, 1); }},
        {"p of 4096 bits", true, true, [](Inputs& i) { i.setSizeOfP(512); }},
        {"p of 4104 bits", false, false, [](Inputs& i) { i.setSizeOfP(513); }},
        {"no q", false, false, [](Inputs& i) { i.q.clear(); }},
        {"no p", false, false, [](Inputs& i) { i.p.clear(); }},
    };
    for (const auto& [what, verifies, derives, change] : cases) {
        Inputs inputs;
        change(inputs);
        EXPECT_EQ(inputs.verify(), verifies) << what;
        EXPECT_EQ(inputs.derivesY(), derives) << what;
    }
}

}  // namespace
}  // namespace certstore
