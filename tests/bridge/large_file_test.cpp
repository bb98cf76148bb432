// A file of 2 GiB, sparse, in constant memory. POSIX only: it asks the system.
#include "bridge/zel_util.h"
#include "tests/bridge/script.h"

#include <filesystem>
#include <fstream>
#include <sys/resource.h>

TEST(CheckFileSignature, DISABLED_LongFileOfTwoGibibytesInConstantMemory) {
    const std::map<std::string, std::string> values = readScript("signed_files").front().values;
    const Bytes key = bytesOf(values.at("fileKey")), signature = bytesOf(values.at("signedLarge"));
    std::ofstream("zel_large_file.sig", std::ios::binary) << std::string(signature.begin(), signature.end());
    std::ofstream("zel_large_file") << "";
    std::filesystem::resize_file("zel_large_file", std::uintmax_t{2} << 30);
    EXPECT_EQ(ZelUtil::checkFileSignature(key.data(), static_cast<int>(key.size()), "zel_large_file", 14), 0);
    std::filesystem::remove("zel_large_file");
    rusage usage{};
    EXPECT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    EXPECT_LT(usage.ru_maxrss, 1 << 19) << "kilobytes, of the whole program";
}
