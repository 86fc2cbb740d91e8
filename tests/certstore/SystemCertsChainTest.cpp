#include "certstore/SystemCerts.h"
#include "support/encoding/Base64.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

enum Signatures { Check, Skip };

constexpr const char* kCompleted = "    Certificate chain completed to root.\n";
constexpr const char* kMissing = "    Unable to build certificate chain to root.\n";
constexpr const char* kBad = "    ERROR: Certificate signature verification failed.\n";
constexpr const char* kLoop = "    ERROR: Detected an infinite certificate issuer loop.\n";
constexpr const char* kTooLong = "    ERROR: Aborting because cert chain is too long.\n";

// One walk: what is stored, where it starts, the last line it writes, the members it leaves.
struct Row {
    const char* sentence;
    Certs stored;
    X509Certificate* start;
    Signatures signatures;
    const char* end;
    Certs members;
};

class SystemCertsChainTest : public StoreTest {
protected:
    static std::string taggedDnOf(X509Certificate& cert) {
        XString text;
        cert.getSubjectDN(text, g_quiet);
        return text.getUtf8();
    }
    static void expectWalk(const Row& row) {
        SCOPED_TRACE(row.sentence);
        SystemCerts store;
        add(store, row.stored);
        ExtPtrArray chain;
        bool reachedRoot = true;
        LogText log;
        const bool skip = row.signatures == Skip;
        EXPECT_EQ(store.buildCertChain(*row.start, true, skip, chain, reachedRoot, log),
                  row.end == kCompleted || row.end == kMissing);
        EXPECT_EQ(reachedRoot, row.end == kCompleted);
        EXPECT_TRUE(log.getText().ends_with(row.end)) << log.getText();
        Certs members;
        for (int i = 0; i < chain.getSize(); ++i)
            members.push_back(
                static_cast<CertificateHolder*>(chain.elementAt(i))->getCertPtr(g_quiet));
        EXPECT_EQ(members, row.members);
    }
};

TEST_F(SystemCertsChainTest, FollowsKeyIdentifiersThenNamesButNotForEver) {
    const Certs line = certs("long-chain.pem"), loop = certs("loop.pem"),
                bareLoop = certs("loop-no-ki.pem"), twins = certs("same-dn.pem"),
                ofLine(line.rend() - 33, line.rend());
    X509Certificate &root = cert("root.pem"), &middle = cert("intermediate.pem"),
                    &leaf = cert("leaf.pem"), &bare = cert("no-ki.pem"),
                    &lasso = edited(*bareLoop[0], "Loop A", "Loop X");
    const Row kRows[] = {
        {"32 members", line, line[31], Check, kCompleted, Certs(ofLine.begin() + 1, ofLine.end())},
        {"33 members", line, line[32], Check, kTooLong, Certs(ofLine.begin(), ofLine.end() - 1)},
        {"a loop through key identifiers", loop, loop[0], Check, kLoop, loop},
        {"a loop through names", bareLoop, bareLoop[0], Check, kLoop, bareLoop},
        {"a loop beyond the start",
         bareLoop,
         &lasso,
         Skip,
         kLoop,
         {&lasso, bareLoop[1], bareLoop[2], bareLoop[0]}},
        {"a root alone", {}, &root, Check, kCompleted, {&root}},
        {"no root", {&middle}, &leaf, Check, kMissing, {&leaf, &middle}},
        {"without key identifier, unknown to the store", {&root}, &bare, Check, kMissing, {&bare}},
        {"known to the store", {&root, &bare}, &bare, Check, kCompleted, {&bare, &root}},
        {"two roots with one name", twins, twins[2], Check, kCompleted, {twins[2], twins[1]}},
    };
    for (const Row& row : kRows)
        expectWalk(row);
}

TEST_F(SystemCertsChainTest, ChecksEverySignatureUnlessToldNotTo) {
    const Certs twins = certs("same-dn.pem"), mixed = certs("post-quantum.pem");
    X509Certificate &root = cert("root.pem"), &rsaRoot = cert("rsa-root.pem"),
                    &ec = cert("ec-below-rsa.pem"), &rsa = cert("rsa-below-ec.pem"),
                    &self = cert("self-issued-bad-sig.pem"), &leaf = cert("leaf.pem"),
                    &middle = edited(cert("intermediate.pem"), "20991231", "20981231"),
                    &tampered = cert("tampered.pem"), &mismatch = cert("sigalg-mismatch.pem");
    const Row kRows[] = {
        {"EC below RSA", {&ec, &rsaRoot}, &ec, Check, kCompleted, {&ec, &rsaRoot}},
        {"RSA below EC", {&rsa, &root}, &rsa, Check, kCompleted, {&rsa, &root}},
        {"P-256 below SLH-DSA", mixed, mixed[2], Check, kCompleted, {mixed[2], mixed[1]}},
        {"SLH-DSA below P-256", mixed, mixed[3], Check, kCompleted, {mixed[3], mixed[0]}},
        {"P-256 below ML-DSA", mixed, mixed[5], Check, kCompleted, {mixed[5], mixed[4]}},
        {"ML-DSA below P-256", mixed, mixed[6], Check, kCompleted, {mixed[6], mixed[0]}},
        {"the first of two with that name did not sign", twins, twins[3], Check, kBad, {}},
        {"unasked", twins, twins[3], Skip, kCompleted, {twins[3], twins[0]}},
        {"self-issued, signed by another key", {}, &self, Check, kBad, {}},
        {"unasked", {}, &self, Skip, kCompleted, {&self}},
        {"a changed certificate", {&root}, &tampered, Check, kBad, {}},
        {"two signature algorithms", {&root}, &mismatch, Check, kBad, {}},
        {"a changed issuer", {&root, &middle}, &leaf, Check, kBad, {&leaf}},
        {"no signer at hand", {}, &tampered, Check, kMissing, {&tampered}},
    };
    for (const Row& row : kRows)
        expectWalk(row);
}

// The steps of a search: by the key identifier, and in vain by the name.
const std::string kByIdentifier =
    "+   sysCertsFindIssuer:\n+       dbAuthKeyId: $aki\n+       dbAuthKeyId_base64: $base64\n"
    "+       findBySubjectKeyId:\n+           crpFindBySubjectKeyId:\n"
    "+               keyId: SubjectKeyId:$aki\n";
const std::string kNotTrusted =
    "+       issuerDN: $issuer\n+       addFromTrustedRootsBySubjectDN:\n"
    "+           keyType: EC\n+           subjectDN: $issuer\n"
    "+   Did not find the issuer.\n+   currentCert: $start\n+   finalCertChainSize: 2\n"
    "    Unable to build certificate chain to root.\n";

TEST_F(SystemCertsChainTest, WritesEveryStep) {
    const Certs twins = certs("same-dn.pem");
    X509Certificate &root = cert("root.pem"), &leaf = cert("leaf.pem"), &bare = cert("no-ki.pem"),
                    &rsa = cert("rsa-below-ec.pem"), &mismatch = cert("sigalg-mismatch.pem");
    const struct {
        const char* sentence;
        X509Certificate& start;
        bool includeRoot, skipSigVerify;
        std::string steps;
    } kRows[] = {
        {"the issuer has the key identifier", rsa, false, false,
         kByIdentifier
             + "+       Found issuer using the authority key identifier.\n"
               "    Certificate signature verified.\n    nextCertDN: $root\n"
               "    Certificate signature verified.\n+   finalCertChainSize: 2\n"
               "    Certificate chain completed to root.\n"},
        {"the issuer has the name", bare, true, true,
         "+   sysCertsFindIssuer:\n+       certReposFindIssuer:\n"
         "+           constructSerialIssuerHashKey:\n+           issuerDN: $issuer\n"
         "+       Found issuer within in-memory cert repository.\n    nextCertDN: $root\n"
         "+   finalCertChainSize: 3\n    Certificate chain completed to root.\n"},
        {"a certificate unknown to the store has no issuer by name", *twins[3], true, false,
         "+   sysCertsFindIssuer:\n+       certReposFindIssuer:\n"
         "+           constructSerialIssuerHashKey:\n"
         "+           ERROR: Not found in the in-memory cert repository.\n"
             + kNotTrusted},
        {"the issuer is missing", leaf, true, false,
         kByIdentifier
             + "+       certReposFindIssuer:\n+           constructSerialIssuerHashKey:\n"
               "+           issuerDN: $issuer\n"
               "+           ERROR: Did not find issuer certificate.\n"
               "+       addFromTrustedRootsBySki:\n+           subjectKeyIdentifier: $aki\n"
             + kNotTrusted},
        {"the signature cannot be checked", mismatch, true, false,
         kByIdentifier
             + "+       Found issuer using the authority key identifier.\n"
               "    ERROR: The certificate names two different signature algorithms.\n"
               "    ERROR: Certificate signature verification failed.\n"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.sentence);
        const auto* start = row.start.getX509Ptr();
        StringBuffer base64;
        certstore::appendBase64(base64, start->authorityKeyId());
        expectLog(
            "buildCertChain:\n    startCertDN: $start\n+   initialCertChainSize: 1\n" + row.steps,
            {{"$start", taggedDnOf(row.start)},
             {"$root", taggedDnOf(root)},
             {"$issuer", std::string(start->issuerText())},
             {"$aki", hex(start->authorityKeyId())},
             {"$base64", base64.getString()}},
            [&](LogBase& log) {
                SystemCerts store;
                add(store, {&root, &bare, &leaf});
                ExtPtrArray chain;
                chain.appendObject(new StringBuffer);
                bool reachedRoot = false;
                store.buildCertChain(row.start, row.includeRoot, row.skipSigVerify, chain,
                                     reachedRoot, log);
            });
    }
}

}  // namespace
