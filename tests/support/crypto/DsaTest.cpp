#include "support/crypto/Dsa.h"

#include "support/asn1/DerReader.h"
#include "support/crypto/Digest.h"
#include "support/crypto/DsaKeys.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

// openssl genpkey -genparam -algorithm DSA -pkeyopt pbits:1024 -pkeyopt qbits:160; openssl genpkey
// -paramfile; openssl dgst -sha256 -sign over "abc".
struct Inputs {
    Bytes p = fromHex(
        "e8495a84d77181d392e1f4075f55a046ace17a4efec23262f12fb2848dddfc3e"
        "20a85cd074a8db47002145b03acad91a24e185362a8ddee5609732605d40eb45"
        "ebb998c014cdf51cad7570e9789bbf15de370116e1e927f079d63b016ee9c259"
        "a7274697da57521ef1538f8cd4ee888de9ea64b2d46732687b22a76fb714da85");
    Bytes q = fromHex("e2e722962d641388a21a719617d2583d472fcf17");
    Bytes g = fromHex(
        "0e3c272ee07337ab286aa914b07de7053046a90059f4a0d19e934cd613419208"
        "d137182c07cf5fb644e1f61af837da644cf54ce974f855682caff62a33a858de"
        "f4da5b35d66744340efd7c4d520da79fe5325aa7c1a3bebc613373249bcc0b1b"
        "e890ff1de003a37b7720c874c6e4a7de260805dd2c4ce218cbd66e48527a47a6");
    Bytes y = fromHex(
        "c1bd8cc4db908a722aa7f39cf8125739ca32a69ec41d059b18eadd922fbd97ef"
        "45bdbee73afedd950937e7ebccdf92dac74a45516f27fb357090afcd75f51052"
        "80f0c0dd1b844cf433f1853124c328c6973e09e92e183d2983732baaa9b8a48f"
        "9ec738a22f75cda34c89a12a64e32d8be8ccef9f0db705c280883bb11cbd4889");
    Bytes x = fromHex("a2f3ff8e711548423ff4bd385367d3e53d2b8391");
    Bytes r = fromHex("bfac83bd9b509ab16a9cea75c8c5a7d7f72eeb12");
    Bytes s = fromHex("d5280d1d41ccc983d6161b3cc8ed7fa7a4de2603");

    DsaDomain domain() const { return {p, q, g}; }

    bool verify() const {
        const DigestValue digest = computeDigest(DigestAlgorithm::Sha256, bytesOf("abc"));
        return verifyDsa({domain(), y}, digest.view(), r, s);
    }

    // Whether y is what x gives.
    bool derivesY() const {
        Bytes derived(128);
        return deriveDsaPublicKey(domain(), x, derived) && derived == y;
    }
};

void add(Bytes& number, const Bytes& addend) {
    number = padded(number, addend.size() + 1);
    unsigned int carry = 0;
    for (std::size_t i = 1; i <= number.size(); ++i) {
        carry += number[number.size() - i];
        carry += i <= addend.size() ? addend[addend.size() - i] : 0U;
        number[number.size() - i] = static_cast<unsigned char>(carry);
        carry >>= 8;
    }
}

TEST(DsaTest, TakesNumbersInTheirRangesOnly) {
    struct Case {
        const char* what;
        bool verifies, derives;
        void (*change)(Inputs&);
    };
    const Case cases[] = {
        {"as openssl made it", true, true, [](Inputs&) {}},
        {"zeros in front", true, true,
         [](Inputs& i) {
             for (Bytes* number : {&i.p, &i.q, &i.g, &i.y, &i.x, &i.r, &i.s})
                 number->insert(number->begin(), 9, 0);
             i.y.erase(i.y.begin(), i.y.begin() + 9);
         }},
        {"another r", false, true, [](Inputs& i) { i.r.back() ^= 1; }},
        {"r is 0", false, true, [](Inputs& i) { i.r = {0}; }},
        {"s is 0", false, true, [](Inputs& i) { i.s = {0}; }},
        {"q more than r", false, true, [](Inputs& i) { add(i.r, i.q); }},
        {"q more than s", false, true, [](Inputs& i) { add(i.s, i.q); }},
        {"q more than x", true, false, [](Inputs& i) { add(i.x, i.q); }},
        {"x is q", true, false, [](Inputs& i) { i.x = i.q; }},
        {"x is 0", true, false, [](Inputs& i) { i.x = {0}; }},
        {"x is far longer than q", true, false, [](Inputs& i) { i.x.insert(i.x.begin(), 40, 1); }},
        {"p more than y", false, false, [](Inputs& i) { add(i.y, i.p); }},
        {"p more than g", false, false, [](Inputs& i) { add(i.g, i.p); }},
        {"y and r are 1, with which every s would do for a g of 1", false, false,
         [](Inputs& i) { i.g = i.y = i.r = {1}; }},
        {"y is 0", false, false, [](Inputs& i) { i.y = {0}; }},
        {"g is 0", false, false, [](Inputs& i) { i.g = {0}; }},
        {"p is even", false, false, [](Inputs& i) { i.p.back() ^= 1; }},
        {"q is even", false, false, [](Inputs& i) { i.q.back() ^= 1; }},
        {"q is not below p", false, false,
         [](Inputs& i) {
             i.p = i.q;
             i.g = i.y = {2};
         }},
        {"q of 161 bits", false, false, [](Inputs& i) { i.q.insert(i.q.begin(), 1); }},
        {"q of 264 bits", false, false, [](Inputs& i) { i.q.insert(i.q.begin(), 13, 1); }},
        {"p of 4104 bits", false, false, [](Inputs& i) { i.p.insert(i.p.begin(), 385, 1); }},
        {"nothing", false, false,
         [](Inputs& i) {
             for (Bytes* number : {&i.p, &i.q, &i.g, &i.y, &i.x, &i.r, &i.s})
                 number->clear();
         }},
    };
    for (const Case& row : cases) {
        Inputs inputs;
        row.change(inputs);
        EXPECT_EQ(inputs.verify(), row.verifies) << row.what;
        EXPECT_EQ(inputs.derivesY(), row.derives) << row.what;
    }
}

TEST(DsaTest, GivesTheExpectedResultsOfForeignVectors) {
    forEachVectorFile("dsa_", [](const Json& group, const Json& test) {
        const Json& key = group.at("publicKey");
        const Bytes p = hexOf(key, "p"), q = hexOf(key, "q"), g = hexOf(key, "g");
        const Bytes y = hexOf(key, "y"), signature = hexOf(test, "sig");
        const DigestValue digest =
            computeDigest(kVectorDigests.at(group.at("sha")), hexOf(test, "msg"));
        DerReader outer(signature), inner;
        ByteView r, s;
        const bool verified = outer.readSequence(inner) && outer.atEnd() && inner.readUnsigned(r)
            && inner.readUnsigned(s) && inner.atEnd()
            && verifyDsa({{p, q, g}, y}, digest.view(), r, s);
        EXPECT_EQ(verified, test.at("result") == "valid")
            << test.at("tcId") << ": " << test.at("comment");
    });
}

}  // namespace
}  // namespace certstore
