// Plain driver for a fuzz target: feeds every file of the given folders (or the given files) to
// LLVMFuzzerTestOneInput once.  Lets ctest replay the seed corpora without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static void runFile(const std::filesystem::path &path, size_t &count) {
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    ++count;
}

int main(int argc, char **argv) {
    size_t count = 0;
    // The empty input is always worth one run.
    static const uint8_t empty[1] = {0};
    LLVMFuzzerTestOneInput(empty, 0);
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path p(argv[i]);
        std::error_code ec;
        if (std::filesystem::is_directory(p, ec)) {
            for (const auto &entry : std::filesystem::directory_iterator(p))
                if (entry.is_regular_file()) runFile(entry.path(), count);
        } else if (std::filesystem::is_regular_file(p, ec)) {
            runFile(p, count);
        }
    }
    std::printf("replayed %zu inputs\n", count);
    return 0;
}
