#include "support/pkcs12/Pkcs12.h"

#include "fuzz/Fuzz.h"
#include "support/asn1/DerReader.h"
#include "support/pkcs12/BerReader.h"
#include "support/pkcs12/PfxCrypto.h"

// A PKCS#12 file; or behind a first byte that tells how much of it the rest is: what lies inside is
// wrapped and encrypted here, as no fuzzer comes through a MAC or a cipher by itself. The highest
// bit of that byte says that a password comes next, behind its length.

using namespace dertext;
using fuzz::require;

namespace {

enum Part { File, ListOfSafes, Bags, PrivateKey, Parts };

Bytes tagged(const certstore::OidBytes& type, const Bytes& content) {
    return oid(type) + der(0xa0, content);
}

// The cipher and what it makes of the bytes. RC4 encrypts as it decrypts.
Bytes encrypted(const Bytes& plain, unsigned char tag) {
    constexpr certstore::OidBytes kRc4("1.2.840.113549.1.12.1.1");
    const Bytes algorithm = sequence(oid(kRc4) + sequence(octets("salt") + der(0x02, "\x01")));
    const certstore::PfxPassword password(fuzz::kPassword);
    certstore::PfxCipher cipher;
    DataBuffer out;
    require(cipher.read(fuzz::bytesOf(algorithm))
                && cipher.decrypt(password, 0, fuzz::bytesOf(plain), out),
            "RC4 is known");
    return algorithm + der(tag, Bytes(fuzz::textOf(out.view())));
}

Bytes fileOf(int part, Bytes bytes) {
    constexpr certstore::OidBytes kData("1.2.840.113549.1.7.1"),
        kEncryptedData("1.2.840.113549.1.7.6"), kShroudedKey("1.2.840.113549.1.12.10.1.2");
    if (part == File)
        return bytes;
    if (part == PrivateKey)
        bytes = sequence(sequence(tagged(kShroudedKey, sequence(encrypted(bytes, 0x04)))));
    if (part != ListOfSafes) {
        bytes = sequence(der(0x02, "1") + sequence(oid(kData) + encrypted(bytes, 0x80)));
        bytes = sequence(sequence(tagged(kEncryptedData, bytes)));
    }
    return sequence(der(0x02, "\x03") + sequence(tagged(kData, octets(bytes))));
}

Bytes withoutMac(const Bytes& pfx) {
    certstore::DerReader reader(fuzz::bytesOf(pfx)), inner;
    certstore::ByteView version, content, safes;
    unsigned char tag;
    if (!reader.readSequence(inner) || !inner.readInteger(version)
        || !inner.readAny(tag, content, safes))
        return pfx;
    return sequence(der(0x02, "\x03") + Bytes(fuzz::textOf(safes)));
}

void read(const Bytes& file, const std::string& password) {
    DataBuffer pfx, once, twice;
    pfx.append(fuzz::bytesOf(file));
    if (certstore::readBer(pfx.view(), 16, once) == certstore::BerResult::Good)
        require(certstore::readBer(once.view(), 16, twice) == certstore::BerResult::Good
                    && once.equals(twice),
                "what BER has become stays so");
    fuzz::Log log;
    Pkcs12 container(fuzz::g_limits);
    bool flag = false;
    const bool good =
        container.pkcs12FromDb(pfx, password == "(null)" ? nullptr : password.c_str(), flag, log);
    require(log.errors == (good ? 0 : 1), "one error says why a file is not read");
    require(good || container.get_NumCerts() + container.get_NumPrivateKeys() == 0, "nor a part");
    for (int i = 0; i < container.get_NumCerts(); ++i)
        fuzz::examine(*container.getPkcs12Cert(i, log));
    for (int i = 0; i < container.get_NumPrivateKeys(); ++i)
        require(container.getPrivateKey(i)->getPrivateKeyDer(once, flag), "a key comes out");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes file(data, data + size), password = fuzz::kPassword;
    int part = File;
    if (size != 0 && data[0] != 0x30) {
        const std::size_t front = data[0] < 0x80 || size == 1 ? 0 : 1 + data[1];
        if (front != 0)
            password = file.substr(2, front - 1);
        part = data[0] % Parts;
        file = file.substr(std::min(1 + front, size));
    }
    file = fileOf(part, file);
    read(file, password);
    read(withoutMac(file), password);
    return 0;
}
