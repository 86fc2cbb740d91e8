// Certificates from bytes: one of about 1,050 bytes, and the operating system's CA bundle.

#include "bench/common/Bench.h"
#include "bench/common/Certificates.h"
#include "bench/peers/Peers.h"
#include "support/log/LogNull.h"
#include "support/roots/CaBundlePath.h"
#include "support/roots/ClsTrustedRoots.h"

using namespace certbench;

namespace {

constexpr const char* kNote =
    "A certificate of 1,071 bytes. Fields are subject, issuer, serial number, both key "
    "identifiers, "
    "e-mail address and public key. The bundle is that of Debian. The floor is a bare walk over "
    "the DER that copies the bytes.";

constexpr unsigned int kNumber = 1;

// Whether the fields are those of the certificate, in whatever form the library gives them.
bool readsRightly(const Peer& peer, ByteView der) {
    FieldSink fields;
    fields.keep = true;
    const auto has = [&fields](Field field, std::string_view text) {
        return fields[field].find(text) != std::string::npos;
    };
    return peer.parse(der, &fields) && has(Field::Subject, commonNameOf(kNumber))
        && has(Field::Issuer, commonNameOf(issuerOf(kNumber)))
        && fields[Field::Email] == emailOf(kNumber) && fields[Field::Serial].size() >= 16
        && fields[Field::SubjectKeyId].size() >= 20 && fields[Field::AuthorityKeyId].size() >= 20
        && certstore::textOf(der).find(fields[Field::PublicKey]) != std::string_view::npos
        && fields[Field::PublicKey].size() > 256;
}

void registerParse(const Peer& peer) {
    static const std::string text = certificateDer(kNumber);
    const ByteView der = certstore::bytesOf(text);
    measure(
        "parse a certificate", peer.name, [=] { return peer.parse(der, nullptr); },
        [] { return "does not parse"; });
    const bool right = readsRightly(peer, der);
    measure(
        "parse a certificate and read its fields", peer.name,
        [=, sink = FieldSink()]() mutable { return right && peer.parse(der, &sink); },
        [] { return "reads other fields"; });
}

void registerBundle(const Peer& peer) {
    const char* const path = certstore::caBundlePath();
    // The peers' stores leave out what they hold already; 100 is fewer than any bundle in use has.
    constexpr int kEnough = 100;
    measure(
        "load the system's CA bundle into a store", peer.name,
        [=] { return peer.loadBundle && peer.loadBundle(path) >= kEnough; },
        [=] { return peer.loadBundle ? "loads too few" : "reads no PEM file"; })
        ->Unit(benchmark::kMicrosecond);
}

// A set of roots instead of a store, which is how the bundle comes into use by itself.
void registerRoots() {
    const auto load = [] {
        XString path;
        path.appendUtf8(certstore::caBundlePath());
        LogNull log;
        ClsTrustedRoots* const roots = ClsTrustedRoots::createNewCls();
        const bool loaded = roots->loadCaCertsPem(path, nullptr, log);
        roots->deleteSelf();
        return loaded;
    };
    measure("load the system's CA bundle as trusted roots", kOurs, load, [] {
        return "does not load";
    })->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
    for (const Peer& peer : allPeers())
        registerParse(peer);
    for (const Peer& peer : allPeers())
        registerBundle(peer);
    registerRoots();
    return runBenchmarks(argc, argv, kNote);
}
