#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/encoding/Base64.h"
#include "support/encoding/Pem.h"
#include "support/encoding/Utf8.h"

namespace {

using certstore::bytesOf;
using certstore::textOf;

TEST(Base64, DecodesWhatItMustAndRefusesTheRest) {
    const std::tuple<const char*, const char*, bool, const char*> cases[] = {
        {"nothing", "", true, ""},
        {"RFC 4648 section 10", "Zm9vYmE=", true, "fooba"},
        {"two bytes behind a whole group", "Zm9vYg==", true, "foob"},
        {"line ends and blanks anywhere", " Zm9v\r\nYm\n Fy\t", true, "foobar"},
        {"padding left out", "Zm9vYg", true, "foob"},
        {"one digit is no byte", "Zm9vY", false, ""},
        {"too much padding", "Zm9v=", false, ""},
        {"digits behind padding", "Zg==Zg==", false, ""},
        {"bits that no byte takes", "Zm9vYh==", false, ""},
        {"a character of no alphabet", "Zm9v*mFy", false, ""},
        {"a byte beyond ASCII", "Zm9v\xffmFy", false, ""},
    };
    for (const auto& [sentence, text, good, bytes] : cases) {
        DataBuffer out;
        out.append("kept", 4);
        EXPECT_EQ(certstore::decodeBase64(text, out), good) << sentence;
        EXPECT_EQ(textOf(out.view()), std::string("kept") + bytes) << sentence;
    }
}

TEST(Base64, EncodesEveryLength) {
    StringBuffer out;
    DataBuffer decoded;
    EXPECT_FALSE(certstore::decodeBase64({out.getString(), std::size_t{1} << 31}, decoded));
    for (const char* text : {"f", "fo", "foo", "foobar"})
        certstore::appendBase64(out, bytesOf(text));
    EXPECT_STREQ(out.getString(), "Zg==Zm8=Zm9vZm9vYmFy");
}

TEST(Pem, WalksBlocksAsFoundInTheField) {
    const std::string a = "-----BEGIN A-----\nYQ==\n-----END A-----";
    // Of each block: label, blank, body without line ends.
    const std::tuple<const char*, std::string, std::vector<std::string>> kCases[] = {
        {"no newline at the end", a, {"A YQ=="}},
        {"CRLF, and text between",
         "x\r\n-----BEGIN A-----\r\nYQ\r\n==\r\n-----END A-----\r\ny\n" + a,
         {"A YQ==", "A YQ=="}},
        {"an end of another label ends nothing",
         "-----BEGIN B-----\nYg==\n-----END A-----\n" + a,
         {"A YQ=="}},
        {"a block without an end is passed over", "-----BEGIN B-----\nYg==\n" + a, {"A YQ=="}},
        {"no label", "-----BEGIN -----\nYQ==\n-----END -----\n" + a, {"A YQ=="}},
        {"dashes missing", "-----BEGIN A\nYQ==\n-----END A-----\n", {}},
        {"nothing at all", "", {}},
    };
    for (const auto& [sentence, text, blocks] : kCases) {
        certstore::PemWalker walker(text);
        certstore::PemBlock block;
        std::vector<std::string> found;
        while (walker.next(block)) {
            std::string body(block.body);
            std::erase_if(body, [](char ch) { return ch == '\r' || ch == '\n'; });
            found.push_back(std::string(block.label) + " " + body);
        }
        EXPECT_EQ(found, blocks) << sentence;
    }
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
