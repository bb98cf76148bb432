// Replays a corpus through a fuzz target: every file of the folder given, and of each a fixed number of changed copies, the
// same ones in every run.
#include "fuzz/fuzz_check.h"
#include "tests/support/faults.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kCopies = 100;

// A few changes at random places: a bit, a byte of a kind that borders are made of, octets gone, doubled or cut off.
void change(Bytes& bytes, std::minstd_rand& random) {
    constexpr std::uint8_t kBorders[] = {0x00, 0x01, 0x7F, 0x80, 0x81, 0xFF};
    for (std::size_t left = 1 + random() % 4; left > 0 && !bytes.empty(); --left) {
        const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(random() % bytes.size());
        const auto end = at + std::min(bytes.end() - at, static_cast<std::ptrdiff_t>(random() % 9));
        const Bytes part(at, end);
        const int changed[] = {*at ^ 1 << random() % 8, kBorders[random() % std::size(kBorders)], *at + 1, *at - 1};
        const auto kind = random() % 6;
        if (kind == 0) {
            bytes.erase(at, end);
        } else if (kind == 1) {
            bytes.insert(at, part.begin(), part.end());
        } else if (kind == 2) {
            bytes.erase(at, random() % 4 == 0 ? bytes.end() : at);
        } else {
            *at = static_cast<std::uint8_t>(changed[random() % std::size(changed)]);
        }
    }
}

} // namespace

int main(int /*argc*/, char** argv) {
    using Folder = std::filesystem::directory_iterator;
    const std::set<std::filesystem::path> files(Folder(argv[1]), Folder{}); // in the same order everywhere
    std::minstd_rand random(20261122);
    for (const auto& path : files) {
        std::ifstream file(path, std::ios::binary);
        const Bytes whole{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        for (int copy = 0; copy <= kCopies; ++copy) {
            Bytes input = whole;
            if (copy > 0) {
                change(input, random);
            }
            const Bytes exact(input.begin(), input.end()); // so that the sanitizers see a read one byte too far
            (void)LLVMFuzzerTestOneInput(exact.data(), exact.size());
        }
    }
    const bool isClean = testheap::liveBlocks() == 0 && testheap::dirtyFrees() == 0;
    std::printf("%zu inputs replayed, with %d changed copies of each; %s\n", files.size(), kCopies,
                isClean ? "nothing left behind" : "blocks left behind or unwiped");
    return !files.empty() && isClean ? 0 : 1;
}
