#include "tests/common/TestFiles.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/crypto/Digest.h"
#include "support/encoding/Base64.h"
#include "support/encoding/Hex.h"
#include "support/encoding/Pem.h"
#include "support/log/LogNull.h"
#include "support/x509/PemCertificates.h"

namespace testfiles {

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> readFiles(const std::filesystem::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_regular_file())
            files.push_back(readFile(entry.path()));
    std::ranges::sort(files);
    return files;
}

std::filesystem::path data(const std::string& name) {
    return std::filesystem::path(CERTSTORE_TEST_DATA) / name;
}

Certs loadCerts(const std::string& name) {
    const std::string text = readFile(data(name));
    certstore::PemCertificates blocks(text);
    DataBuffer der;
    LogNull quiet;
    Certs certs;
    while (blocks.next(der)) {
        certs.push_back(parseCert(der.view(), quiet));
        if (!certs.back())
            throw std::runtime_error("no certificate in " + name);
    }
    return certs;
}

ZorvenOwner<CertificateHolder> loadCert(const std::string& name, std::string_view inSubject) {
    for (auto& holder : loadCerts(name))
        if (certOf(holder).getX509Ptr()->subjectText().find(inSubject) != std::string_view::npos)
            return std::move(holder);
    throw std::runtime_error("no such certificate in " + name);
}

ZorvenOwner<CertificateHolder> parseCert(certstore::ByteView der, LogBase& log) {
    return ZorvenOwner<CertificateHolder>(CertificateHolder::createFromDer(
        der.data(), static_cast<unsigned int>(der.size()), nullptr, log));
}

std::string derOf(const X509Certificate& cert) {
    return std::string(certstore::textOf(cert.getX509Ptr()->der()));
}

std::string repeated(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string edited(std::string bytes, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = bytes.find(from, at)) != std::string::npos; at += to.size())
        bytes.replace(at, from.size(), to);
    return bytes;
}

std::string errorsIn(const std::string& log) {
    std::istringstream lines(log);
    std::string errors;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t at = line.find("ERROR: ");
        if (at != std::string::npos)
            errors.append(errors.empty() ? "" : "|").append(line, at + 7);
    }
    return errors;
}

X509Certificate& certOf(const ZorvenOwner<CertificateHolder>& holder) {
    LogNull quiet;
    return *holder->getCertPtr(quiet);
}

std::string sha256Of(certstore::ByteView bytes) {
    StringBuffer hex;
    certstore::appendHex(
        hex, certstore::computeDigest(certstore::DigestAlgorithm::Sha256, bytes).view());
    return hex.getString();
}

void loadFile(const std::string& name, DataBuffer& bytes) {
    const std::string content = readFile(data(name));
    bytes.append(certstore::bytesOf(content));
}

void loadPemDer(const std::string& name, DataBuffer& der) {
    const std::string text = readFile(data(name));
    certstore::PemWalker blocks(text);
    certstore::PemBlock block;
    if (!blocks.next(block) || !certstore::decodeBase64(block.body, der))
        throw std::runtime_error("no PEM block in " + name);
}

std::filesystem::path vectors() {
    return CERTSTORE_VECTORS;
}

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text + separator);
    for (std::string part; std::getline(in, part, separator);)
        parts.push_back(part);
    return parts;
}

}  // namespace

std::vector<Row> readTable(const std::filesystem::path& path) {
    std::istringstream lines(readFile(path));
    std::string line;
    std::getline(lines, line);
    const std::vector<std::string> names = split(line, '\t');
    std::vector<Row> rows;
    while (std::getline(lines, line)) {
        std::vector<std::string> cells = split(line, '\t');
        cells.resize(names.size());
        Row& row = rows.emplace_back();
        for (std::size_t i = 0; i < names.size(); ++i)
            row[names[i]] = cells[i];
    }
    return rows;
}

std::string textCell(const std::string& cell) {
    std::string text;
    for (std::size_t i = 0; i < cell.size(); ++i) {
        if (cell[i] != '%') {
            text += cell[i];
            continue;
        }
        text += static_cast<char>(certstore::hexValue(cell.at(i + 1)) * 16
                                  + certstore::hexValue(cell.at(i + 2)));
        i += 2;
    }
    return text;
}

std::vector<std::string> listCell(const std::string& cell) {
    std::vector<std::string> values = split(cell, '|');
    for (std::string& value : values)
        value = textCell(value);
    return values;
}

}  // namespace testfiles
