// A file of 2 GiB, sparse, in constant memory; and a file that cannot be read. POSIX only: both ask the system.
#include "bridge/zel_util.h"
#include "tests/bridge/native_calls.h"
#include "tests/bridge/script.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/resource.h>

namespace {

// The verdict on a file that is there, with the signature of that name beside it.
int verdict(const std::string& path, const char* signature) {
    const std::map<std::string, std::string> values = readScript("signed_files.txt").front().values;
    const std::vector<std::uint8_t> key = bytesOf(values.at("fileKey"));
    const std::string beside = path + ".sig";
    makeFile("file", {beside.begin(), beside.end()}, bytesOf(values.at(signature)));
    return ZelUtil::checkFileSignature(key.data(), static_cast<int>(key.size()), path.c_str(), 100);
}

long peakKilobytes() {
    rusage usage{};
    EXPECT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    return usage.ru_maxrss;
}

TEST(LargeFile, TwoGibibytesInConstantMemory) {
    const std::string path = "zel_large_file";
    makeFile("file", {path.begin(), path.end()}, {});
    (void)verdict(path, "signedLarge");
    std::filesystem::resize_file(path, std::uintmax_t{2} << 30);
    const long before = peakKilobytes();
    EXPECT_EQ(verdict(path, "signedLarge"), 0);
    EXPECT_LT(peakKilobytes() - before, 1024);
    std::filesystem::remove(path);
}

// A read error counts as the end of the file.
TEST(LargeFile, AFileThatCannotBeReadIsAnEmptyOne) {
    std::filesystem::remove("zel_unreadable_file");
    std::filesystem::create_symlink("/proc/self/mem", "zel_unreadable_file"); // opens, and fails to read at its start
    EXPECT_EQ(verdict("zel_unreadable_file", "signed0"), 0);
    std::filesystem::remove("zel_unreadable_file");
}

} // namespace
