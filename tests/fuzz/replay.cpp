// Gives a fuzz target the files of its corpus, in the order of their names, each whole and cut off at a few places.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::size_t kCuts = 64;

// Every input lives in a block of exactly its size, so that a sanitizer sees a read of one byte too many.
void give(const std::vector<std::uint8_t>& bytes, std::size_t size)
{
    const std::vector<std::uint8_t> exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

} // namespace

int main(int count, char** arguments)
{
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < count; ++i) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(arguments[i])) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "no corpus\n");
        return 1;
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        std::printf("%s\n", file.c_str());
        std::fflush(stdout);
        std::ifstream in(file, std::ios::binary);
        const std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(in), {});
        const std::size_t step = std::max<std::size_t>(1, bytes.size() / kCuts);
        for (std::size_t size = 0; size < bytes.size(); size += step) {
            give(bytes, size);
        }
        give(bytes, bytes.size());
    }
    return 0;
}
