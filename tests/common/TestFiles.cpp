#include "tests/common/TestFiles.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

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
        certs.emplace_back(
            CertificateHolder::createFromDer(der.getData2(), der.getSize(), nullptr, quiet));
        if (!certs.back())
            throw std::runtime_error("no certificate in " + name);
    }
    return certs;
}

ZorvenOwner<CertificateHolder> loadCert(const std::string& name) {
    return std::move(loadCerts(name).at(0));
}

X509Certificate& certOf(const ZorvenOwner<CertificateHolder>& holder) {
    LogNull quiet;
    return *holder->getCertPtr(quiet);
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

std::vector<Row> readTable(const std::filesystem::path& path) {
    std::istringstream lines(readFile(path));
    const auto split = [](const std::string& line) {
        std::vector<std::string> cells(1);
        for (const char c : line) {
            if (c == '\t')
                cells.emplace_back();
            else
                cells.back() += c;
        }
        return cells;
    };
    std::string line;
    std::getline(lines, line);
    const std::vector<std::string> names = split(line);
    std::vector<Row> rows;
    while (std::getline(lines, line)) {
        std::vector<std::string> cells = split(line);
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
    std::vector<std::string> values;
    std::istringstream parts(cell + '|');
    for (std::string part; std::getline(parts, part, '|');)
        values.push_back(textCell(part));
    return values;
}

}  // namespace testfiles
