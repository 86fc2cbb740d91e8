#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "tests/support/Cases.h"

namespace {

using certstore::ByteView;
using certstore::DerReader;

// Each read of a malformed value fails and leaves the reader where it was.
TEST(DerReader, RefusesWhatIsNotDer) {
    ByteView out;
    unsigned int unusedBits = 0;
    bool flag = false;
    int number = 0;
    unsigned char tag = 0;
    const std::map<std::string, std::function<bool(DerReader&)>> kReads = {
        {"any", [&](DerReader& r) { return r.readAny(tag, out, out); }},
        {"integer", [&](DerReader& r) { return r.readInteger(out); }},
        {"positive", [&](DerReader& r) { return r.readUnsigned(out); }},
        {"small", [&](DerReader& r) { return r.readSmallInteger(number); }},
        {"boolean", [&](DerReader& r) { return r.readBoolean(flag); }},
        {"bits", [&](DerReader& r) { return r.readBitString(out, unusedBits); }},
        {"whole bytes", [&](DerReader& r) { return r.readBitString(out); }},
        {"OID", [&](DerReader& r) { return r.readOid(out); }},
        {"content",
         [&](DerReader& r) {
             DerReader copy = r;
             return copy.readAny(tag, out, out) && certstore::isWellFormedContent(tag, out)
                 && r.readAny(tag, out, out);
         }},
        {"NULL", [](DerReader& r) { return r.readNull(); }},
    };
    forEachCase("der.tsv", [&](const Row& row) {
        const Bytes bytes = hexOf(row, "bytes");
        DerReader reader((ByteView(bytes)));
        EXPECT_EQ(kReads.at(row.at("read"))(reader), isYes(row, "good"));
        EXPECT_EQ(reader.rest().size(), isYes(row, "good") ? 0 : bytes.size());
    });
}

TEST(Oid, WritesDottedForms) {
    forEachCase("oids.tsv", [](const Row& row) {
        StringBuffer dotted;
        certstore::appendDottedOid(dotted, hexOf(row, "bytes"));
        EXPECT_EQ(dotted.view(), row.at("case"));
    });
    constexpr certstore::OidBytes kSha256WithRsa("1.2.840.113549.1.1.11");
    EXPECT_TRUE(kSha256WithRsa == ByteView(fromHex("2a864886f70d01010b")));
}

}  // namespace
