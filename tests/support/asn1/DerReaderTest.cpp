#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"

namespace {

using certstore::ByteView;
using certstore::DerReader;
using Bytes = std::vector<unsigned char>;

// Each read of a malformed value fails and leaves the reader where it was.
TEST(DerReader, RefusesWhatIsNotDer) {
    ByteView out;
    unsigned int unusedBits = 0;
    bool flag = false;
    int number = 0;
    unsigned char tag = 0;
    Bytes beyond{0x04, 0x89, 1, 0, 0, 0, 0, 0, 0, 0, 0x80};
    beyond.resize(beyond.size() + 0x80);
    const auto any = [&](DerReader& r) { return r.readAny(tag, out, out); };
    const auto integer = [&](DerReader& r) { return r.readInteger(out); };
    const auto positive = [&](DerReader& r) { return r.readUnsigned(out); };
    const auto small = [&](DerReader& r) { return r.readSmallInteger(number); };
    const auto boolean = [&](DerReader& r) { return r.readBoolean(flag); };
    const auto bits = [&](DerReader& r) { return r.readBitString(out, unusedBits); };
    const auto wholeBytes = [&](DerReader& r) { return r.readBitString(out); };
    const auto oid = [&](DerReader& r) { return r.readOid(out); };
    const auto null = [](DerReader& r) { return r.readNull(); };
    const std::tuple<const char*, Bytes, std::function<bool(DerReader&)>, bool> cases[] = {
        {"nothing", {}, any, false},
        {"a tag alone", {0x04}, any, false},
        {"content cut off", {0x04, 0x02, 0x00}, any, false},
        {"empty content", {0x04, 0x00}, any, true},
        {"indefinite length", {0x30, 0x80, 0x00, 0x00}, any, false},
        {"long form for a short length", {0x04, 0x81, 0x01, 0x00}, any, false},
        {"length with a leading zero", {0x04, 0x82, 0x00, 0x80}, any, false},
        {"length of 2^64 and the 128 bytes that are there", beyond, any, false},
        {"length near the largest", {0x04, 0x84, 0xff, 0xff, 0xff, 0xff, 0x00}, any, false},
        {"multi-byte tag", {0x1f, 0x81, 0x01, 0x00}, any, false},
        {"end-of-contents", {0x00, 0x00}, any, false},
        {"zero", {0x02, 0x01, 0x00}, integer, true},
        {"integer without octets", {0x02, 0x00}, integer, false},
        {"superfluous 00", {0x02, 0x02, 0x00, 0x7f}, integer, false},
        {"superfluous FF", {0x02, 0x02, 0xff, 0x80}, integer, false},
        {"negative", {0x02, 0x01, 0x80}, integer, true},
        {"negative where it must not be", {0x02, 0x01, 0x80}, positive, false},
        {"sign octet", {0x02, 0x02, 0x00, 0x80}, positive, true},
        {"128 is not small", {0x02, 0x02, 0x00, 0x80}, small, false},
        {"true", {0x01, 0x01, 0xff}, boolean, true},
        {"true as BER may write it", {0x01, 0x01, 0x01}, boolean, false},
        {"eight unused bits", {0x03, 0x02, 0x08, 0x00}, bits, false},
        {"unused bits of no byte", {0x03, 0x01, 0x01}, bits, false},
        {"unused bits that are set", {0x03, 0x02, 0x01, 0x01}, bits, false},
        {"seven unused bits", {0x03, 0x02, 0x07, 0x80}, bits, true},
        {"unused bits where whole bytes must be", {0x03, 0x02, 0x07, 0x80}, wholeBytes, false},
        {"bit string without octets", {0x03, 0x00}, bits, false},
        {"OID without octets", {0x06, 0x00}, oid, false},
        {"OID arc not ended", {0x06, 0x02, 0x2a, 0x86}, oid, false},
        {"OID arc with padding", {0x06, 0x03, 0x2a, 0x80, 0x01}, oid, false},
        {"NULL with content", {0x05, 0x01, 0x00}, null, false},
    };
    for (const auto& [sentence, bytes, read, good] : cases) {
        DerReader reader((ByteView(bytes)));
        EXPECT_EQ(read(reader), good) << sentence;
        EXPECT_EQ(reader.rest().size(), good ? 0 : bytes.size()) << sentence;
    }
}

TEST(Oid, WritesDottedForms) {
    const std::pair<Bytes, const char*> cases[] = {
        {{0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x01, 0x0b}, "1.2.840.113549.1.1.11"},
        {{0x00}, "0.0"},
        {{0x4f}, "1.39"},
        {{0x50}, "2.0"},
        {{0x88, 0x37}, "2.999"},
        {{0x2a, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x7f}, "1.2.9223372036854775807"},
        {{0x2a, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01},
         "1.2.0x81808080808080808001"},
        {{0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, "2.0x81808080808080808001"},
    };
    for (const auto& [bytes, text] : cases) {
        StringBuffer dotted;
        certstore::appendDottedOid(dotted, bytes);
        EXPECT_STREQ(dotted.getString(), text);
    }
    constexpr certstore::OidBytes kSha256WithRsa("1.2.840.113549.1.1.11");
    EXPECT_TRUE(kSha256WithRsa == ByteView(cases[0].first));
}

}  // namespace
