#include "tests/hostile/Inputs.h"

#include <gtest/gtest.h>

#include "support/x509/PemCertificates.h"
#include "tests/common/TestFiles.h"

int hostile::g_mutations = 2000;

std::vector<std::string> hostile::filesOf(const std::filesystem::path& folder,
                                          const std::string& extension) {
    std::vector<std::string> files;
    if (exists(folder))
        for (const auto& file : std::filesystem::directory_iterator(folder))
            if (file.is_regular_file() && file.path().string().ends_with(extension))
                files.push_back(testfiles::readFile(file.path()));
    // The same order on every machine.
    std::ranges::sort(files);
    return files;
}

std::vector<std::string> hostile::certificates() {
    std::vector<std::string> all = filesOf(testfiles::vectors() / "certs");
    for (const std::string& text : filesOf(testfiles::data(""))) {
        certstore::PemCertificates blocks(text);
        for (DataBuffer der; blocks.next(der);)
            all.emplace_back(certstore::textOf(der.view()));
    }
    return all;
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc > 1)
        hostile::g_mutations = std::stoi(argv[1]);
    return RUN_ALL_TESTS();
}
