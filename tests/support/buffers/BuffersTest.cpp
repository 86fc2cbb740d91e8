#include <gtest/gtest.h>

#include <string>

#include "support/buffers/DataBuffer.h"
#include "support/buffers/StringBuffer.h"
#include "support/buffers/XString.h"

namespace {

TEST(StringBuffer, EditsInPlace) {
    const std::tuple<const char*, const char*, void (*)(StringBuffer&), const char*> cases[] = {
        {"one pair of zeros is cut, not all", "0000AB",
         [](StringBuffer& s) { s.replaceFirstOccurance("00", "", false); }, "00AB"},
        {"the first occurrence counts", "a00b00",
         [](StringBuffer& s) { s.replaceFirstOccurance("00", "-long-", false); }, "a-long-b00"},
        {"case counts unless told otherwise", "xAbAB",
         [](StringBuffer& s) { s.replaceFirstOccurance("AB", "_", false); }, "xAb_"},
        {"told so", "xAbAB", [](StringBuffer& s) { s.replaceFirstOccurance("AB", "_", true); },
         "x_AB"},
        {"nothing occurs nowhere", "AB",
         [](StringBuffer& s) { s.replaceFirstOccurance("", "_", false); }, "AB"},
        {"zeros go in front", "AB:CN", [](StringBuffer& s) { s.prepend("00"); }, "00AB:CN"},
        {"blanks go at both ends alone", " \t a b\r\n", [](StringBuffer& s) { s.trim2(); }, "a b"},
        {"only ASCII letters have a case", "a\xc3\xa9z09", [](StringBuffer& s) { s.toUpperCase(); },
         "A\xc3\xa9Z09"},
        {"nor has what lies beside them, in a long text", "AZ@[az`{\xe1\xfa@AZaz",
         [](StringBuffer& s) { s.toUpperCase(); }, "AZ@[AZ`{\xe1\xfa@AZAZ"},
        {"the same the other way", "AZ@[az`{\xc1\xda@AZaz",
         [](StringBuffer& s) { s.toLowerCase(); }, "az@[az`{\xc1\xda@azaz"},
        {"a null C string adds nothing", "x",
         [](StringBuffer& s) { s.append(static_cast<const char*>(nullptr)); }, "x"},
        {"its own text, in front", "ab", [](StringBuffer& s) { s.prepend(s.getString()); }, "abab"},
    };
    for (const auto& [sentence, before, edit, after] : cases) {
        StringBuffer text;
        text.append(before);
        edit(text);
        EXPECT_STREQ(text.getString(), after) << sentence;
        EXPECT_EQ(text.getSize(), std::string(after).size()) << sentence;
    }
}

TEST(StringBuffer, GrowsWithItsOwnText) {
    StringBuffer text;
    std::string expected = "0123456789";
    text.append(expected.c_str());
    for (int i = 0; i < 10; ++i) {
        text.append(text);
        text.prepend(text.getString() + 5);
        expected = (expected + expected).substr(5) + expected + expected;
        ASSERT_EQ(text.view(), expected);
    }
    EXPECT_TRUE(text.beginsWith(expected.c_str()));
    EXPECT_FALSE(text.beginsWith((expected + "x").c_str()));
    EXPECT_THROW(text.append(std::string_view(text.getString(), UINT_MAX)), std::bad_alloc);
    text.clear();
    EXPECT_STREQ(text.getString(), "");
}

// Sizes around those at which a text moves: out of the object, and on the heap.
TEST(StringBuffer, GrowsAtEverySize) {
    for (std::size_t size = 0; size < 600; ++size) {
        const std::string expected(size, 'x');
        StringBuffer whole, pieces;
        XString roomy;
        whole.append(expected);
        for (std::size_t i = 0; i < size; ++i)
            *pieces.extend(1) = 'x';
        roomy.appendUtf8(expected.c_str());
        for (const char* text : {whole.getString(), pieces.getString(), roomy.getUtf8()})
            ASSERT_EQ(text, expected);
        roomy.clear();
        roomy.appendUtf8(expected.c_str());
        ASSERT_EQ(roomy.getUtf8Sb().view(), expected) << "after its storage was given up";
    }
}

TEST(XString, WritableViewIsTheText) {
    XString text, copy;
    text.appendUtf8("0a1b");
    text.getUtf8Sb_rw().toUpperCase();
    copy.copyFromX(text);
    copy.appendX(copy);
    EXPECT_STREQ(copy.getUtf8(), "0A1B0A1B");
}

TEST(DataBuffer, AppendsAlsoWhatLiesWithinIt) {
    DataBuffer buffer;
    std::string expected;
    for (unsigned char i = 0; i < 60; ++i) {
        buffer.appendByte(i);
        expected += static_cast<char>(i);
    }
    for (int i = 0; i < 6; ++i) {
        buffer.append(buffer.view().subspan(3));
        expected += expected.substr(3);
    }
    EXPECT_EQ(certstore::textOf(buffer.view()), expected);
    EXPECT_THROW(buffer.append({buffer.getData2(), std::size_t{1} << 32}), std::bad_alloc);
    EXPECT_THROW(buffer.extend(UINT_MAX - buffer.getSize() + 1), std::bad_alloc);
    buffer.shrink(10);
    EXPECT_EQ(certstore::textOf(buffer.view()), expected.substr(0, 10));
}

TEST(DataBuffer, SecretsAreOverwritten) {
    const auto allZero = [](const unsigned char* bytes, std::size_t size) {
        return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
    };
    for (const bool secure : {true, false}) {
        DataBuffer buffer;
        buffer.m_secure = secure;
        buffer.append("a secret of some length", 23);
        const unsigned char* storage = buffer.getData2();
        buffer.shrink(5);
        EXPECT_EQ(allZero(storage + 5, 18), secure);
        buffer.clear();
        EXPECT_EQ(allZero(storage, 5), secure);
        buffer.append("another", 7);
        buffer.secureClear();
        EXPECT_TRUE(allZero(storage, 23));
        EXPECT_EQ(buffer.getSize(), 0U);
    }
}

}  // namespace
