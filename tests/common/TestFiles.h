#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/buffers/DataBuffer.h"
#include "support/x509/CertificateHolder.h"

// What tests read: the certificates of tests/data, and the folder of foreign vectors.
namespace testfiles {

std::string readFile(const std::filesystem::path& path);

// Those of a folder; in the same order on every machine.
std::vector<std::string> readFiles(const std::filesystem::path& folder);

// A file of tests/data.
std::filesystem::path data(const std::string& name);

// The certificates of a PEM file of tests/data, in order.
using Certs = std::vector<ZorvenOwner<CertificateHolder>>;
Certs loadCerts(const std::string& name);

// The only one, or the first whose subject holds a text.
ZorvenOwner<CertificateHolder> loadCert(const std::string& name, std::string_view inSubject = "");

// The errors in the text of a log, "|" between them.
std::string errorsIn(const std::string& log);

// The certificate that a holder holds.
X509Certificate& certOf(const ZorvenOwner<CertificateHolder>& holder);

// A certificate in DER; null when it is refused.
ZorvenOwner<CertificateHolder> parseCert(certstore::ByteView der, LogBase& log);

std::string derOf(const X509Certificate& cert);

std::string repeated(int count, const std::string& text);

// Puts `to`, as long, in the place of each `from`.
std::string edited(std::string bytes, std::string_view from, std::string_view to);

// In upper-case hexadecimal.
std::string sha256Of(certstore::ByteView bytes);

// The bytes of a file of tests/data.
void loadFile(const std::string& name, DataBuffer& bytes);

// The DER inside the first PEM block of a file of tests/data.
void loadPemDer(const std::string& name, DataBuffer& der);

// Where the foreign vectors are; empty when this build has none.
std::filesystem::path vectors();

// A tab-separated table with a header line, one map a row.
using Row = std::map<std::string, std::string>;
std::vector<Row> readTable(const std::filesystem::path& path);

// A cell of such a table, which writes what it cannot hold as %XX.
std::string textCell(const std::string& cell);

// The values of a list cell: "|" between them.
std::vector<std::string> listCell(const std::string& cell);

}  // namespace testfiles
