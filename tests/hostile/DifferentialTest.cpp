// Certificates, and what chance makes of them, as this library reads them and as libcrypto does.
// Every difference must be of a kind that kKinds lists.

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <iostream>
#include <memory>
#include <set>

#include "support/encoding/Hex.h"
#include "support/log/LogText.h"
#include "support/x509/NameAttributes.h"
#include "support/x509/PemCertificates.h"
#include "tests/common/DerText.h"
#include "tests/common/TestFiles.h"
#include "tests/hostile/Mutator.h"

namespace {

using certstore::bytesOf;
using Fields = std::map<std::string, std::string>;

// clang-format off
Fields readOurs(const certstore::X509& x) {
    const auto text = [](certstore::ByteView bytes) { return std::string(certstore::textOf(bytes)); };
    return {{"version", std::to_string(x.version())}, {"serial", dertext::der(2, text(x.serial()))},
            {"signed algorithm", text(x.tbsAlgorithm())}, {"algorithm", text(x.signatureAlgorithm())},
            {"signature", text(x.signature())}, {"signed part", text(x.tbs())}, {"key", text(x.spki())},
            {"issuer", dertext::sequence(text(x.issuer()))}, {"issuer text", std::string(x.issuerText())},
            {"subject", dertext::sequence(text(x.subject()))}, {"subject text", std::string(x.subjectText())},
            {"self-issued", x.isSelfIssued() ? "yes" : "no"}, {"e-mail", text(x.emailName())},
            {"SKI", text(x.subjectKeyId())}, {"AKI", text(x.authorityKeyId())}};
}
// clang-format on

// What libcrypto encodes, and its strings.
std::string encoded(auto encode, auto* object) {
    unsigned char* bytes = nullptr;
    const int size = encode(object, &bytes);
    const std::string text(bytes, bytes + std::max(size, 0));
    OPENSSL_free(bytes);
    return text;
}

std::string textOf(const ASN1_STRING* string) {
    const unsigned char* bytes = ASN1_STRING_get0_data(string);
    return std::string(bytes, bytes + ASN1_STRING_length(string));
}

constexpr const char* kBeyondAscii = " (beyond ASCII)";

void writeAttribute(BIO* out, const X509_NAME_ENTRY* entry) {
    const ASN1_OBJECT* type = X509_NAME_ENTRY_get_object(entry);
    const ASN1_STRING* value = X509_NAME_ENTRY_get_data(entry);
    char name[400];
    OBJ_obj2txt(name, sizeof name, type, 1);
    const auto known = certstore::attributeShortName({OBJ_get0_data(type), OBJ_length(type)});
    BIO_printf(out, "%s=", known.empty() ? name : std::string(known).c_str());
    ASN1_STRING_print_ex(out, value, ASN1_STRFLGS_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
    constexpr unsigned long kAscii =
        B_ASN1_PRINTABLESTRING | B_ASN1_IA5STRING | B_ASN1_NUMERICSTRING;
    if ((ASN1_tag2bit(ASN1_STRING_type(value)) & kAscii) != 0
        && std::ranges::any_of(textOf(value), [](char c) { return c < 0; }))
        BIO_puts(out, kBeyondAscii);
}

std::string nameText(const X509_NAME* name) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), BIO_free);
    for (int i = X509_NAME_entry_count(name); i-- > 0;) {
        const X509_NAME_ENTRY *entry = X509_NAME_get_entry(name, i),
                              *before = X509_NAME_get_entry(name, i - 1);
        writeAttribute(out.get(), entry);
        if (before)
            BIO_puts(out.get(),
                     X509_NAME_ENTRY_set(before) == X509_NAME_ENTRY_set(entry) ? "+" : ", ");
    }
    char* text = nullptr;
    const long size = BIO_get_mem_data(out.get(), &text);
    return std::string(text, text + size);
}

// An extension that stands once, to be freed.
template <class Value>
std::unique_ptr<Value, void (*)(Value*)> extension(X509* cert, int nid, void (*free)(Value*)) {
    return {static_cast<Value*>(X509_get_ext_d2i(cert, nid, nullptr, nullptr)), free};
}

std::string firstEmail(X509* cert) {
    const auto names = extension(cert, NID_subject_alt_name, GENERAL_NAMES_free);
    std::string email;
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()) && email.empty(); ++i)
        if (const auto* name = sk_GENERAL_NAME_value(names.get(), i); name->type == GEN_EMAIL)
            email = textOf(name->d.rfc822Name);
    return email;
}

// Makes a name forget the encoding that it was read from.
void touch(X509_NAME* name) {
    X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_ASC, bytesOf("x").data(), 1, -1, 0);
    X509_NAME_ENTRY_free(X509_NAME_delete_entry(name, X509_NAME_entry_count(name) - 1));
}

Fields readTheirs(X509* cert) {
    const ASN1_BIT_STRING* signature = nullptr;
    const X509_ALGOR* algorithm = nullptr;
    X509_get0_signature(&signature, &algorithm, cert);
    X509_NAME *issuer = X509_get_issuer_name(cert), *subject = X509_get_subject_name(cert);
    const auto ski = extension(cert, NID_subject_key_identifier, ASN1_OCTET_STRING_free);
    const auto aki = extension(cert, NID_authority_key_identifier, AUTHORITY_KEYID_free);
    // clang-format off
    Fields fields{
        {"version", std::to_string(X509_get_version(cert) + 1)}, {"signature", textOf(signature)},
        {"serial", encoded(i2d_ASN1_INTEGER, X509_get0_serialNumber(cert))},
        {"signed algorithm", encoded(i2d_X509_ALGOR, X509_get0_tbs_sigalg(cert))},
        {"algorithm", encoded(i2d_X509_ALGOR, algorithm)},
        {"key", encoded(i2d_X509_PUBKEY, X509_get_X509_PUBKEY(cert))},
        {"issuer", encoded(i2d_X509_NAME, issuer)}, {"issuer text", nameText(issuer)},
        {"subject", encoded(i2d_X509_NAME, subject)}, {"subject text", nameText(subject)},
        {"self-issued", X509_NAME_cmp(issuer, subject) == 0 ? "yes" : "no"}, {"e-mail", firstEmail(cert)},
        {"SKI", ski ? textOf(ski.get()) : ""}, {"AKI", aki && aki->keyid ? textOf(aki->keyid) : ""}};
    // clang-format on
    touch(issuer);
    touch(subject);
    fields["signed part"] = encoded(i2d_re_X509_tbs, cert);
    return fields;
}

// One input as both read it; no fields where it is refused.
struct Sight {
    std::string bytes, ourError;
    Fields ours, theirs;
    std::unique_ptr<X509, decltype(&X509_free)> cert{nullptr, X509_free};
    int theirError;

    explicit Sight(std::string input) : bytes(std::move(input)) {
        LogText log;
        if (const auto holder = testfiles::parseCert(bytesOf(bytes), log))
            ours = readOurs(*testfiles::certOf(holder).getX509Ptr());
        ourError = log.getText();
        const unsigned char *begin = bytesOf(bytes).data(), *end = begin;
        ERR_clear_error();
        cert.reset(d2i_X509(nullptr, &end, static_cast<long>(bytes.size())));
        theirError = ERR_GET_REASON(ERR_peek_error());
        if (cert && end == begin + bytes.size())
            theirs = readTheirs(cert.get());
    }

    // What stands behind the OID of the SEQUENCE that we refused.
    certstore::DerReader stop() const {
        const std::size_t at = std::stoul(ourError.substr(ourError.rfind(' ')));
        certstore::DerReader reader(bytesOf(bytes).subspan(at)), inner;
        certstore::ByteView oid;
        return reader.readSequence(inner) && inner.readOid(oid) ? inner : certstore::DerReader();
    }

    bool namesHold(char tag) const {
        return !ours.empty()
            && (ours.at("issuer") + ours.at("subject")).find(tag) != std::string::npos;
    }

    static bool textsHold(const Fields& fields, std::string_view part) {
        return (fields.at("issuer text") + fields.at("subject text")).find(part)
            != std::string::npos;
    }

    // The names and the signed part written anew.
    std::string theirWhole() const { return encoded(i2d_X509, cert.get()); }

    // libcrypto can read the extension, and would write it as it is.
    bool isDer(int nid) const {
        X509_EXTENSION* found = X509_get_ext(cert.get(), X509_get_ext_by_NID(cert.get(), nid, -1));
        auto* value = static_cast<ASN1_VALUE*>(X509V3_EXT_d2i(found));
        const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> written(
            value ? X509V3_EXT_i2d(nid, 0, value) : nullptr, X509_EXTENSION_free);
        ASN1_item_free(value, ASN1_ITEM_ptr(X509V3_EXT_get_nid(nid)->it));
        return written
            && textOf(X509_EXTENSION_get_data(written.get()))
            == textOf(X509_EXTENSION_get_data(found));
    }
};

bool isOddFlagOrParameter(certstore::DerReader rest) {
    unsigned char tag;
    certstore::ByteView content, whole;
    return !rest.atEnd()
        && (!rest.readAny(tag, content, whole)
            || (tag == 1 && !certstore::isWellFormedContent(tag, content)));
}

struct Kind {
    std::string field, name;
    bool (*fits)(const Sight&);
};

// clang-format off
const Kind kKinds[] = {
    // DER has one encoding for every value (X.690 section 10), which is how libcrypto writes it.
    {"acceptance", "not DER",
     [](const Sight& s) { return s.ours.empty() && s.theirWhole() != s.bytes; }},
    // The same, but these libcrypto keeps as they came.
    {"acceptance", "critical flag or parameters not DER",
     [](const Sight& s) { return s.ours.empty() && isOddFlagOrParameter(s.stop()); }},
    // RFC 5280 section 4.1.2.1 has 1 to 3.
    {"acceptance", "unknown version",
     [](const Sight& s) { return s.ours.empty() && std::set<std::string>{"1", "2", "3"}.count(s.theirs.at("version")) == 0; }},
    // Names are made of strings (RFC 5280 section 4.1.2.4).
    {"acceptance", "attribute of no string type",
     [](const Sight& s) { return s.ours.empty() && (ASN1_tag2bit(s.stop().peekTag()) & B_ASN1_UNKNOWN) != 0; }},
    // Two that libcrypto does not know, but names have been written in.
    {"acceptance", "VisibleString in a name",
     [](const Sight& s) { return s.theirError == ASN1_R_MSTRING_WRONG_TAG && s.namesHold(0x1a); }},
    {"acceptance", "surrogates in a BMPString",
     [](const Sight& s) { return s.theirError == ASN1_R_ILLEGAL_CHARACTERS && s.namesHold(0x1e); }},
    // What the bytes mean nobody knows: libcrypto says Latin-1, we keep them recognisable.
    {"text", "beyond ASCII in a string of ASCII",
     [](const Sight& s) { return s.textsHold(s.theirs, kBeyondAscii); }},
    // Which no OID has but those of an attacker.
    {"text", "arc beyond 64 bits in hexadecimal",
     [](const Sight& s) { return s.textsHold(s.ours, ".0x"); }},
    // We compare the texts; libcrypto sees through case and blanks, but not through all types.
    {"self-issued", "by text",
     [](const Sight& s) { return (s.ours.at("self-issued") == "yes") == (s.theirs.at("issuer text") == s.theirs.at("subject text")); }},
    // CAs have written the attributes of an RDN in any order.
    {"signed part", "RDN not sorted",
     [](const Sight& s) { return std::ranges::is_permutation(s.bytes, s.theirWhole()); }},
    // One that is malformed counts as none. We do not read all there is in it.
    {"SKI", "extension not DER", [](const Sight& s) { return !s.isDer(NID_subject_key_identifier); }},
    {"AKI", "extension not DER", [](const Sight& s) { return !s.isDer(NID_authority_key_identifier); }},
    {"e-mail", "extension not DER", [](const Sight& s) { return !s.isDer(NID_subject_alt_name); }},
};
// clang-format on

std::map<std::string, int> g_counts;

void judge(const std::string& field, const Sight& sight) {
    for (const Kind& kind : kKinds)
        if (field.ends_with(kind.field) && kind.fits(sight)) {
            ++g_counts[field + ": " + kind.name];
            return;
        }
    StringBuffer hex;
    certstore::appendHex(hex, bytesOf(sight.bytes));
    ADD_FAILURE() << field << " of " << hex.getString() << "\n"
                  << sight.ourError << sight.theirError << testing::PrintToString(sight.ours)
                  << "\n"
                  << testing::PrintToString(sight.theirs);
}

void compare(const std::string& bytes) {
    Sight sight(bytes);
    const bool taken = !sight.ours.empty();
    ++g_counts[taken != sight.theirs.empty() ? taken ? "taken by both" : "refused by both"
                                             : "taken by one"];
    if (taken == sight.theirs.empty())
        return judge("acceptance", sight);
    for (const auto& [field, value] : sight.ours)
        if (sight.theirs.at(field) != value)
            judge(field, sight);
}

// Those of tests/data and of the foreign vectors.
std::vector<std::string> certificates() {
    const std::filesystem::path foreign = testfiles::vectors() / "certs";
    std::vector<std::string> all;
    if (exists(foreign))
        all = testfiles::readFiles(foreign);
    for (const std::string& text : testfiles::readFiles(testfiles::data(""))) {
        certstore::PemCertificates blocks(text);
        for (DataBuffer der; blocks.next(der);)
            all.emplace_back(certstore::textOf(der.view()));
    }
    return all;
}

TEST(Differential, EveryDifferenceIsOfAKnownKind) {
    const std::vector<std::string> seeds = certificates();
    for (const std::string& seed : seeds)
        compare(seed);
    static Mutator mutator(1);  // so that each repetition gives others
    for (int i = 0; i < 2000 && !HasFailure(); ++i)
        compare(mutator.mutate(seeds[static_cast<std::size_t>(i) % seeds.size()]));
    for (const auto& [kind, count] : g_counts)
        std::cout << count << " " << kind << "\n";
    EXPECT_GT(g_counts["taken by both"], 100);
}

}  // namespace
