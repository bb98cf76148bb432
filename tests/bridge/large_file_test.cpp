// A file of 2 GiB, sparse, in constant memory; and a file that cannot be read. POSIX only: both ask the system.
#include "bridge/zel_util.h"
#include "tests/bridge/script.h"

#include <filesystem>
#include <sys/resource.h>

namespace {

// The verdict on a file that is there, with the signature of that name beside it; the file goes.
int verdict(const std::string& path, const char* signature) {
    const std::map<std::string, std::string> values = readScript("signed_files.txt").front().values;
    const Bytes key = bytesOf(values.at("fileKey"));
    const std::string beside = path + ".sig";
    makeFile("file", {beside.begin(), beside.end()}, bytesOf(values.at(signature)));
    const int status = ZelUtil::checkFileSignature(key.data(), static_cast<int>(key.size()), path.c_str(), 100);
    std::filesystem::remove(path);
    return status;
}

TEST(LargeFile, TwoGibibytesInConstantMemory) {
    makeFile("file", bytesOf("\"zel_large_file\""), {});
    std::filesystem::resize_file("zel_large_file", std::uintmax_t{2} << 30);
    EXPECT_EQ(verdict("zel_large_file", "signedLarge"), 0);
    rusage usage{};
    EXPECT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    EXPECT_LT(usage.ru_maxrss, 1 << 19) << "kilobytes, of the whole program";
}

// A read error counts as the end of the file.
TEST(LargeFile, AFileThatCannotBeReadIsAnEmptyOne) {
    std::filesystem::remove("zel_unreadable_file");
    std::filesystem::create_symlink("/proc/self/mem", "zel_unreadable_file"); // opens, and fails to read at its start
    EXPECT_EQ(verdict("zel_unreadable_file", "signed0"), 0);
}

} // namespace
