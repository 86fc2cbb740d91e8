// Gives files, and what chance makes of them, to the fuzz target that this is linked with; no
// input may take long. Any compiler will do.
//
//     replay_NAME MUTATIONS PATH...
//
// A path is a file, a folder of files, or a table of PKCS#12 files and their passwords. When a
// promise is broken, the input is left in the file `broken`.

#include <csignal>
#include <ctime>
#include <fstream>

#include "fuzz/Fuzz.h"
#include "tests/hostile/Mutator.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

// Also under sanitizers, on a busy machine.
constexpr double kMostSeconds = 5;

// In a block of just its size, so that the address sanitizer sees a read beyond.
Bytes g_input;
double g_slowest = 0;

void run(const std::string& input) {
    const std::clock_t start = std::clock();
    g_input = toBytes(certstore::bytesOf(input));
    LLVMFuzzerTestOneInput(g_input.data(), g_input.size());
    g_slowest = std::max(g_slowest, double(std::clock() - start) / CLOCKS_PER_SEC);
    fuzz::require(g_slowest < kMostSeconds, "no input takes long");
}

std::vector<std::string> readSeeds(const fs::path& path) {
    std::vector<std::string> seeds;
    if (path.extension() == ".tsv")
        for (const auto& row : testfiles::readTable(path)) {
            const std::string password = testfiles::textCell(row.at("password"));
            seeds.push_back("\x80" + std::string(1, static_cast<char>(password.size())) + password
                            + testfiles::readFile(path.parent_path() / "p12" / row.at("file")));
        }
    else if (fs::is_directory(path))
        seeds = testfiles::readFiles(path);
    else
        seeds.push_back(testfiles::readFile(path));
    return seeds;
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGABRT, [](int) {
        std::ofstream("broken").write(reinterpret_cast<char*>(g_input.data()),
                                      static_cast<std::streamsize>(g_input.size()));
    });
    // Enough for the 2048 iterations that most tools write, and soon done.
    fuzz::g_limits = {};
    fuzz::g_limits.kdfWork = 30'000;
    fuzz::g_limits.scryptMemory = 1 << 20;
    std::vector<std::string> seeds;
    for (int i = 2; i < argc; ++i)
        std::ranges::move(readSeeds(argv[i]), std::back_inserter(seeds));
    for (const std::string& seed : seeds)
        run(seed);
    Mutator mutator(2);
    for (std::size_t i = 0; i < std::stoul(argv[1]); ++i)
        run(mutator.mutate(seeds[i % seeds.size()]));
    std::cout << seeds.size() << " seeds, the slowest input in " << g_slowest << " s\n";
}
