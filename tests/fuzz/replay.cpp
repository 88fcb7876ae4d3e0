// Runs the inputs of a corpus through a fuzzer, in builds without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv)
{
    unsigned count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            // A name to look at when the input ends the program.
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
            LLVMFuzzerTestOneInput(input.data(), input.size());
            ++count;
        }
    }
    std::fprintf(stderr, "%u inputs\n", count);
    return count != 0 ? 0 : 1;
}
