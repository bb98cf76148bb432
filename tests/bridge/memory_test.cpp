// Every kind of engine while each of its allocations is refused in turn: what it is short of becomes a Java exception,
// nothing leaks or is freed unwiped, and the next use of the same objects succeeds.
#include "core/random/random.h"
#include "tests/bridge/engine_uses.h"

#include <ostream>

namespace {

struct Use {
    const char* name;
    std::string (EngineUses::*run)();
    bool takesEveryAllocation; // otherwise they are too many, and are taken ever more sparsely
};

void PrintTo(const Use& use, std::ostream* out) { // otherwise its bytes are printed, with the padding in it
    *out << use.name;
}

class ShortOfMemory : public testing::TestWithParam<Use> {};

TEST_P(ShortOfMemory, IsToldAndForgotten) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    EngineUses engines;
    const auto use = [&engines] {
        return (engines.*GetParam().run)();
    };
    ASSERT_EQ(engines.draws(), "right"); // the context stays
    ASSERT_EQ(use(), "right");
    engines.deleteAll();
    const std::uint64_t live = testheap::liveBlocks(), dirty = testheap::dirtyFrees();
    std::uint64_t number = 1;
    for (bool wasRefused = true; wasRefused; number += GetParam().takesEveryAllocation ? 1 : 1 + number / 4) {
        SCOPED_TRACE(testing::Message() << "allocation " << number);
        testheap::refuse(number);
        const std::string result = use();
        wasRefused = testheap::refused();
        testheap::refuse(0);
        // An engine may do without what it was refused; it may not give a wrong answer, or none.
        EXPECT_TRUE(result == "right" || result.find("java/security/") == 0 ||
                    result.find("java/lang/OutOfMemoryError") == 0)
            << result;
        EXPECT_EQ(use(), "right") << "after " << result;
        engines.deleteAll();
        ASSERT_EQ(testheap::liveBlocks(), live) << "after " << result;
        ASSERT_EQ(testheap::dirtyFrees(), dirty) << "after " << result;
        ASSERT_EQ(engines.jni.violations, std::vector<std::string>());
        ASSERT_EQ(engines.jni.openRegions(), 0);
    }
    EXPECT_GT(number, 2U) << "nothing was refused";
}

INSTANTIATE_TEST_SUITE_P(
    Uses, ShortOfMemory,
    testing::Values(Use{"digest", &EngineUses::digests, true}, Use{"cipher", &EngineUses::encrypts, true},
                    Use{"random", &EngineUses::draws, true}, Use{"rsa", &EngineUses::signsRsa, true},
                    Use{"dsa", &EngineUses::signsDsa, true}, Use{"keyPair", &EngineUses::generates, false}),
    [](const testing::TestParamInfo<Use>& use) { return use.param.name; });

} // namespace
