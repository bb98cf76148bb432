// Replays a corpus through a fuzz target: every file of the folders and files given as arguments, each once.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::size_t replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    // An exact copy on the heap, so that the sanitizers see a read one byte too far.
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    (void)LLVMFuzzerTestOneInput(input.data(), input.size());
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    std::size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path = argv[i];
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::directory_iterator(path)) {
                inputs += replay(entry.path());
            }
        } else {
            inputs += replay(path);
        }
    }
    std::printf("%zu inputs replayed\n", inputs);
    return inputs > 0 ? 0 : 1;
}
