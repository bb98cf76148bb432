// A message whose length in bytes does not fit 32 bits: 4 GiB of zeros and then "abc". Expected digests: Python's
// hashlib.
#include "tests/core/hash/sha_algorithms.h"
#include "tests/support/hex.h"

#include <gtest/gtest.h>

namespace {

TEST(LongMessages, PastFourGibibytes) {
    const std::vector<std::uint8_t> zeros(1 << 30);
    const std::uint8_t abc[] = {'a', 'b', 'c'};
    for (const auto& [name, expected] :
         {std::pair{"sha1", "eee321e1de4be0ec5d7943620e0b079b7537c6fd"},
          {"sha256", "493aa9f5af1e681d1bcc8db0c96a2ae4b5e6b3e51cefddb7efe24bdc7bdefa91"},
          {"sha512", "1ace1917615758323a4a9a30248dda743c677efef5bb1cf0d7b8863dc3e072e2504672d40ce4"
                     "47cad1b9d310d134349fb6ad8b74915efb6690c521abb088b727"}}) {
        const ShaAlgorithm& algorithm = shaNamed(name);
        std::vector<std::uint8_t> digest(algorithm.digestBytes);
        ShaContext context;
        ASSERT_EQ(algorithm.init(&context), OK);
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(algorithm.update(&context, zeros.data(), 1 << 30), OK);
        }
        ASSERT_EQ(algorithm.update(&context, abc, 3), OK);
        ASSERT_EQ(algorithm.final(&context, digest.data()), OK);
        EXPECT_EQ(toHex(digest), expected);
    }
}

} // namespace
