#include "support/pkcs12/BerReader.h"

#include <gtest/gtest.h>

#include "tests/support/Cases.h"

namespace {

using certstore::BerResult;
using certstore::readBer;

// No DER: refused.
TEST(BerReader, RewritesWhatOldToolsWrite) {
    forEachCase("ber.tsv", [](const Row& row) {
        const Bytes expected = hexOf(row, "DER");
        DataBuffer der;
        EXPECT_EQ(readBer(hexOf(row, "BER"), 8, der),
                  expected.empty() ? BerResult::Malformed : BerResult::Good);
        EXPECT_EQ(toBytes(der.view()), expected);
    });
}

TEST(BerReader, NestingIsBounded) {
    for (const bool indefinite : {true, false}) {
        Bytes nested{0x05, 0x00};
        for (int depth = 0; depth < 20; ++depth) {
            const auto size = static_cast<unsigned char>(indefinite ? 0x80 : nested.size());
            nested.insert(nested.begin(), {0x30, size});
            nested.resize(nested.size() + (indefinite ? 2 : 0));
        }
        DataBuffer der;
        EXPECT_EQ(readBer(nested, 20, der), BerResult::Good);
        EXPECT_EQ(readBer(nested, 19, der), BerResult::TooDeep);
    }
    DataBuffer der;
    EXPECT_EQ(readBer(octetsOf("3080*5000000"), 32, der), BerResult::TooDeep);
}

TEST(BerReader, SizeIsBounded) {
    const Bytes null{0x05, 0x00};
    DataBuffer der;
    EXPECT_EQ(readBer({null.data(), std::size_t{1} << 31}, 8, der), BerResult::Good);
    EXPECT_EQ(readBer({null.data(), (std::size_t{1} << 31) + 1}, 8, der), BerResult::Malformed);
}

// A reader that looked for each end, or joined pieces one by one, would not come back from this.
TEST(BerReader, AMillionPiecesAreJoined) {
    const Bytes pieces = octetsOf("2480*3 04012a*1000000 0000*3");
    DataBuffer der;
    ASSERT_EQ(readBer(pieces, 32, der), BerResult::Good);
    EXPECT_EQ(der.getSize(), 1'000'005U);
}

}  // namespace
