#include "support/pkcs12/BerReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using certstore::BerResult;
using certstore::readBer;
using Bytes = std::vector<unsigned char>;

TEST(BerReader, RewritesWhatOldToolsWrite) {
    // No DER: refused.
    const std::tuple<const char*, Bytes, Bytes> kCases[] = {
        {"DER stays as it is", {0x30, 3, 0x02, 1, 5}, {0x30, 3, 0x02, 1, 5}},
        {"bytes behind the value do not count", {0x05, 0, 0xff}, {0x05, 0}},
        {"indefinite length", {0x30, 0x80, 0x02, 1, 5, 0, 0}, {0x30, 3, 0x02, 1, 5}},
        {"indefinite within indefinite", {0x30, 0x80, 0x31, 0x80, 0, 0, 0, 0}, {0x30, 2, 0x31, 0}},
        {"long form for a short length", {0x04, 0x81, 1, 9}, {0x04, 1, 9}},
        {"length with zeros in front", {0x04, 0x84, 0, 0, 0, 1, 9}, {0x04, 1, 9}},
        {"octets in pieces", {0x24, 0x80, 0x04, 1, 1, 0x04, 2, 2, 3, 0, 0}, {0x04, 3, 1, 2, 3}},
        {"pieces in pieces", {0x24, 7, 0x24, 5, 0x04, 1, 1, 0x04, 0}, {0x04, 1, 1}},
        {"no pieces", {0x24, 0x80, 0, 0}, {0x04, 0}},
        {"what octets hold stays", {0x04, 4, 0x30, 0x80, 0, 0}, {0x04, 4, 0x30, 0x80, 0, 0}},
        {"[0] around pieces stays [0]", {0xa0, 3, 0x04, 1, 7}, {0xa0, 3, 0x04, 1, 7}},
        {"nothing", {}, {}},
        {"end of contents alone", {0, 0}, {}},
        {"end of contents missing", {0x30, 0x80, 0x02, 1, 5}, {}},
        {"end of contents cut", {0x30, 0x80, 0x02, 1, 5, 0}, {}},
        {"end of contents within a definite length", {0x30, 2, 0, 0}, {}},
        {"indefinite length of a primitive", {0x04, 0x80, 0, 0}, {}},
        {"content cut", {0x04, 3, 1, 2}, {}},
        {"inner value longer than the outer", {0x30, 3, 0x04, 2, 1, 1}, {}},
        {"length beyond all memory",
         {0x04, 0x88, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff},
         {}},
        {"piece that is no octets", {0x24, 3, 0x02, 1, 5}, {}},
        {"multi-byte tag", {0x1f, 0x81, 1, 0}, {}},
    };
    for (const auto& [sentence, ber, expected] : kCases) {
        DataBuffer der;
        EXPECT_EQ(readBer(ber, 8, der), expected.empty() ? BerResult::Malformed : BerResult::Good)
            << sentence;
        EXPECT_TRUE(std::ranges::equal(der.view(), expected)) << sentence;
    }
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
    Bytes bomb;
    for (int i = 0; i < 5'000'000; ++i)
        bomb.insert(bomb.end(), {0x30, 0x80});
    DataBuffer der;
    EXPECT_EQ(readBer(bomb, 32, der), BerResult::TooDeep);
}

TEST(BerReader, SizeIsBounded) {
    const Bytes null{0x05, 0x00};
    DataBuffer der;
    EXPECT_EQ(readBer({null.data(), std::size_t{1} << 31}, 8, der), BerResult::Good);
    EXPECT_EQ(readBer({null.data(), (std::size_t{1} << 31) + 1}, 8, der), BerResult::Malformed);
}

// A reader that looked for each end, or joined pieces one by one, would not come back from this.
TEST(BerReader, AMillionPiecesAreJoined) {
    Bytes pieces{0x24, 0x80, 0x24, 0x80, 0x24, 0x80};
    for (int i = 0; i < 1'000'000; ++i)
        pieces.insert(pieces.end(), {0x04, 0x01, 0x2a});
    pieces.insert(pieces.end(), {0, 0, 0, 0, 0, 0});
    DataBuffer der;
    ASSERT_EQ(readBer(pieces, 32, der), BerResult::Good);
    EXPECT_EQ(der.getSize(), 1'000'005U);
}

}  // namespace
