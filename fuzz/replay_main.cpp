// Runs a fuzz target over files or folders of inputs without libFuzzer, so that the targets
// build with any compiler and their seeds run as ordinary tests.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
int runFile(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return 1;
}
} // namespace

int main(int argc, char** argv) {
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        if (std::filesystem::is_directory(arg)) {
            for (const auto& e : std::filesystem::directory_iterator(arg))
                if (e.is_regular_file()) runs += runFile(e.path());
        } else {
            runs += runFile(arg);
        }
    }
    // The empty input always runs too: it is the first thing a fuzzer tries.
    LLVMFuzzerTestOneInput(nullptr, 0);
    std::cout << "replayed " << runs + 1 << " inputs\n";
    return 0;
}
