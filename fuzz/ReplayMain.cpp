// Plain driver for a fuzz target: feeds every file of the given folders (or the given files) to
// LLVMFuzzerTestOneInput once, then `--random N` inputs from a fixed-seed generator.  Lets ctest
// replay the seed corpora and a reproducible random sample without libFuzzer.
//
//   fuzz_replay_<name> [--random N] [--seed S] [--max-len L] [folder-or-file ...]
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static void runFile(const std::filesystem::path &path, size_t &count) {
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    ++count;
}

int main(int argc, char **argv) {
    size_t count = 0;
    unsigned long random = 0, seed = 20261123, maxLen = 4096;
    // The empty input is always worth one run.
    static const uint8_t empty[1] = {0};
    LLVMFuzzerTestOneInput(empty, 0);
    for (int i = 1; i < argc; ++i) {
        auto number = [&](unsigned long &out) {
            if (i + 1 < argc) out = std::strtoul(argv[++i], nullptr, 10);
        };
        if (std::strcmp(argv[i], "--random") == 0) {
            number(random);
            continue;
        }
        if (std::strcmp(argv[i], "--seed") == 0) {
            number(seed);
            continue;
        }
        if (std::strcmp(argv[i], "--max-len") == 0) {
            number(maxLen);
            continue;
        }
        std::filesystem::path p(argv[i]);
        std::error_code ec;
        if (std::filesystem::is_directory(p, ec)) {
            for (const auto &entry : std::filesystem::directory_iterator(p))
                if (entry.is_regular_file()) runFile(entry.path(), count);
        } else if (std::filesystem::is_regular_file(p, ec)) {
            runFile(p, count);
        }
    }
    // Lengths favour short inputs (most targets read a few leading bytes as choices) but reach
    // maxLen; bytes are uniform.  The generator is fixed, so a failure replays exactly.
    std::mt19937_64 gen(seed);
    std::vector<uint8_t> bytes;
    for (unsigned long n = 0; n < random; ++n) {
        size_t len = gen() % (maxLen + 1);
        if (gen() % 4 != 0) len %= 257;
        bytes.resize(len);
        for (auto &b : bytes) b = static_cast<uint8_t>(gen());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        ++count;
    }
    std::printf("replayed %zu inputs\n", count);
    return 0;
}
