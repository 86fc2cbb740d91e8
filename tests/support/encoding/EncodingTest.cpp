#include <gtest/gtest.h>

#include "support/encoding/Base64.h"
#include "support/encoding/Pem.h"
#include "support/encoding/Utf8.h"
#include "tests/support/Cases.h"

namespace {

using certstore::bytesOf;
using certstore::textOf;

TEST(Base64, DecodesWhatItMustAndRefusesTheRest) {
    forEachCase("base64.tsv", [](const Row& row) {
        DataBuffer out;
        out.append("kept", 4);
        EXPECT_EQ(certstore::decodeBase64(testfiles::textCell(row.at("text")), out),
                  isYes(row, "good"));
        EXPECT_EQ(textOf(out.view()), "kept" + row.at("bytes"));
    });
}

TEST(Base64, EncodesEveryLength) {
    StringBuffer out;
    DataBuffer decoded, bytes;
    EXPECT_FALSE(certstore::decodeBase64({out.getString(), std::size_t{1} << 31}, decoded));
    for (const char* text : {"f", "fo", "foo", "foobar"}) {
        certstore::appendBase64(out, bytesOf(text));
        certstore::appendBase64(bytes, bytesOf(text));
    }
    EXPECT_STREQ(out.getString(), "Zg==Zm8=Zm9vZm9vYmFy");
    EXPECT_EQ(textOf(bytes.view()), out.view());
}

// Of each block: label, blank, body without line ends.
TEST(Pem, WalksBlocksAsFoundInTheField) {
    forEachCase("pem-blocks.tsv", [](const Row& row) {
        const std::string text = testfiles::textCell(row.at("text"));
        certstore::PemWalker walker(text);
        certstore::PemBlock block;
        std::string found;
        while (walker.next(block)) {
            std::string body(block.body);
            std::erase_if(body, [](char ch) { return ch == '\r' || ch == '\n'; });
            found.append(found.empty() ? "" : "|").append(block.label).append(" ").append(body);
        }
        EXPECT_EQ(found, row.at("blocks"));
    });
}

TEST(Utf8, AcceptsExactlyWhatRfc3629Allows) {
    for (const char* text : {"a", "\xc2\x80", "\xed\x9f\xbf", "\xf4\x8f\xbf\xbf"})
        EXPECT_TRUE(certstore::isUtf8(bytesOf(text))) << testing::PrintToString(text);
    for (const char* text : {"\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf",
                             "\xf4\x90\x80\x80", "\xe2\x82", "\xe2\x28\xa1", "\xff"})
        EXPECT_FALSE(certstore::isUtf8(bytesOf(text))) << testing::PrintToString(text);
}

TEST(Utf8, LooksAtEveryByteOfLongText) {
    for (std::size_t size = 0; size < 26; ++size)
        for (std::size_t at = 0; at <= size; ++at) {
            std::string text(size, 'a');
            EXPECT_EQ(certstore::asciiRun(bytesOf(text)), size);
            for (const std::string inserted : {"\xc3\xa9", "\xf0\x9f\x98\x80", "\x80", "\xc3"}) {
                std::string whole = text;
                whole.insert(at, inserted);
                EXPECT_EQ(certstore::asciiRun(bytesOf(whole)), at);
                EXPECT_EQ(certstore::isUtf8(bytesOf(whole)), inserted.size() > 1);
            }
            text.insert(at, 1, '\0');
            EXPECT_EQ(certstore::asciiRun(bytesOf(text)), at);
            EXPECT_TRUE(certstore::isUtf8(bytesOf(text)));
        }
}

TEST(Utf8, WritesWhatItReads) {
    for (const char32_t code :
         {U'\x7f', U'\x80', U'\x7ff', U'\x800', U'\xffff', U'\x10000', U'\x10ffff'}) {
        StringBuffer text;
        certstore::appendUtf8Char(text, code);
        EXPECT_EQ(certstore::utf8SequenceSize(bytesOf(text.view())), text.getSize());
    }
}

}  // namespace
