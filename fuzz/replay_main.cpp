// Replays a corpus through a fuzz target: every file of the folder given, each once.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argc > 1 ? argv[1] : ".")) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        // An exact copy on the heap, so that the sanitizers see a read one byte too far.
        const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
        (void)LLVMFuzzerTestOneInput(input.data(), input.size());
        ++inputs;
    }
    std::printf("%d inputs replayed\n", inputs);
    return inputs > 0 ? 0 : 1;
}
