// A file of 2 GiB, sparse, in constant memory; and a file that cannot be read. POSIX only: both ask the system.
#include "tests/bridge/file_signature/signed_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/resource.h>

namespace {

using namespace filetest;

long peakKilobytes() {
    rusage usage{};
    EXPECT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    return usage.ru_maxrss;
}

TEST(LargeFile, TwoGibibytesInConstantMemory) {
    const struct {
        std::uintmax_t size;
        const char* signature;
    } large = {
#define LARGE_FILE(...) __VA_ARGS__
#include "tests/bridge/file_signature/vectors.inc"
#undef LARGE_FILE
    };
    const std::string path = testing::TempDir() + "zel_large_file";
    ASSERT_TRUE(writeFile(path, {}) && writeFile(path + ".sig", fromHex(large.signature)));
    std::filesystem::resize_file(path, large.size);
    const long before = peakKilobytes();
    EXPECT_EQ(check(kPublicKey, path), 0);
    EXPECT_LT(peakKilobytes() - before, 1024);
    std::filesystem::remove(path);
    std::filesystem::remove(path + ".sig");
}

// A read error counts as the end of the file.
TEST(LargeFile, AFileThatCannotBeReadIsAnEmptyOne) {
    const std::string path = testing::TempDir() + "zel_unreadable_file";
    std::filesystem::remove(path);
    std::filesystem::create_symlink("/proc/self/mem", path); // opens, and fails to read at its start
    ASSERT_TRUE(writeFile(path + ".sig", fromHex(kSignedFiles[0].signature)));
    EXPECT_EQ(check(kPublicKey, path), 0);
    std::filesystem::remove(path);
    std::filesystem::remove(path + ".sig");
}

} // namespace
