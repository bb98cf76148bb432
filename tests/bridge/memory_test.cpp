// Every kind of engine while each of its allocations is refused in turn: what it is short of becomes a Java exception,
// nothing leaks or is freed unwiped, and the next use of the same objects succeeds.
#include "core/random/random.h"
#include "tests/bridge/engine_uses.h"

#include <algorithm>
#include <ostream>
#include <set>

namespace {

#define PROVIDER(text) "java/security/ProviderException: " text
#define SIGNATURE(text) "java/security/SignatureException: " text
#define NO_MEMORY "java/lang/OutOfMemoryError: out of memory"
#define REFUSED " : ERR_MEM_ALLOC_FAIL"
#define NO_RESET PROVIDER("error resetting digest" REFUSED)
#define NO_DIGEST SIGNATURE("error calculating final digest < " NO_RESET)
#define NOT_SIGNED(status, step) SIGNATURE("error calculating signature : " status " < " step)
#define NOT_READ(key) PROVIDER("unable to read " key " key" REFUSED)

struct Use {
    const char* name;
    std::string (EngineUses::*run)();
    std::set<std::string> raised; // all of it; empty: so many allocations that they are taken ever more sparsely
};

void PrintTo(const Use& use, std::ostream* out) { // otherwise its bytes are printed, with the padding in it
    *out << use.name;
}

class ShortOfMemory : public testing::TestWithParam<Use> {
protected:
    std::string use() {
        return (engines_.*GetParam().run)();
    }
    // What a use with that allocation refused comes to, "" when it does not get so far.
    std::string useWithout(std::uint64_t number) {
        heapFaults().arm(number);
        const std::string result = use();
        const bool wasRefused = heapFaults().hasStruck();
        heapFaults().arm(0);
        EXPECT_EQ(use(), "right") << "after " << result;
        engines_.deleteAll();
        return wasRefused ? result : "";
    }
    EngineUses engines_;
};

TEST_P(ShortOfMemory, IsToldAndForgotten) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    ASSERT_EQ(engines_.draws(), "right"); // the context stays
    testheap::keep(4);
    ASSERT_EQ(use(), "right");
    engines_.deleteAll();
    const std::uint64_t live = testheap::liveBlocks(), dirty = testheap::dirtyFrees();
    const std::set<std::string>& expected = GetParam().raised;
    std::set<std::string> raised;
    std::uint64_t number = 1, passes = 0;
    do {
        const std::string result = useWithout(number);
        ASSERT_EQ(testheap::liveBlocks(), live) << "after " << result;
        ASSERT_EQ(testheap::dirtyFrees(), dirty) << "after " << result;
        ASSERT_EQ(engines_.jni.violations, std::vector<std::string>());
        ASSERT_EQ(engines_.jni.openRegions(), 0);
        number += expected.empty() ? 1 + number / 4 : 1;
        if (result.empty()) {
            number = 1, ++passes;
        } else if (result != "right" && !result.ends_with(" key : ERR_RTOS_MUTEX_CREATE")) {
            // An engine may do without what it was refused; a key's lock takes memory on some systems only.
            raised.insert(result);
        }
        // More than once: the allocations vary with the nonce of a DSA signature, and one can be stepped over.
    } while (passes == 0 || (number > 1) || (passes < 50 && !expected.empty() && raised != expected));
    if (expected.empty()) {
        EXPECT_GT(raised.size(), 1U);
        EXPECT_TRUE(std::all_of(raised.begin(), raised.end(), [](const std::string& text) {
            return text.starts_with(PROVIDER("error ")) || text == NO_MEMORY;
        }));
    } else {
        EXPECT_EQ(raised, expected);
    }
}

const Use kUses[] = {
    {"digest", &EngineUses::digests, {NO_MEMORY, NO_RESET}},
    {"cipher", &EngineUses::encrypts, {NO_MEMORY, PROVIDER("error creating aes context : ERR_AES")}},
    {"random",
     &EngineUses::draws,
     {PROVIDER("error adding entropy" REFUSED), PROVIDER("error generating random numbers" REFUSED)}},
    {"rsa",
     &EngineUses::signsRsa,
     {NO_MEMORY, NO_RESET, NO_DIGEST, NOT_READ("rsa private"), NOT_READ("rsa public"),
      SIGNATURE("error generating signature array" REFUSED),
      SIGNATURE("error generating integer representative message" REFUSED),
      SIGNATURE("error generating integer representative signature" REFUSED), SIGNATURE("invalid signature" REFUSED)}},
    {"dsa",
     &EngineUses::signsDsa,
     {NO_MEMORY, NO_RESET, NO_DIGEST, NOT_READ("dsa private"), NOT_READ("dsa public"),
      NOT_SIGNED("ERR_INTERNAL_ERROR", NO_DIGEST),
      NOT_SIGNED("ERR_INTERNAL_ERROR", SIGNATURE("converting message to vlong" REFUSED)),
      NOT_SIGNED("ERR_INTERNAL_ERROR", SIGNATURE("error signing message" REFUSED)),
      NOT_SIGNED("ERR_INTERNAL_ERROR", SIGNATURE("error creating dsa signature" REFUSED)),
      // Memory that the check of the fresh signature lacks counts as a signature that does not hold.
      NOT_SIGNED("ERR_PKCS7_INVALID_SIGNATURE", SIGNATURE("error signing message, failed to verify")),
      SIGNATURE("converting message to vlong" REFUSED), SIGNATURE("error parsing signature" REFUSED),
      SIGNATURE("error verifying signature" REFUSED)}},
    {"keyPair", &EngineUses::generates, {}},
};

INSTANTIATE_TEST_SUITE_P(Uses, ShortOfMemory, testing::ValuesIn(kUses),
                         [](const testing::TestParamInfo<Use>& use) { return use.param.name; });

} // namespace
