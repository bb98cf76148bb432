// The main of every test program, with an account after each test: no block left alive, none freed unwiped, no fault left on.
#include "tests/support/faults.h"

namespace {

class Account : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        testheap::keep(1'000'000);
        dirty_ = testheap::dirtyFrees();
    }
    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(FaultPoint::on(), 0) << "faults left on";
        EXPECT_EQ(testheap::liveBlocks(), testheap::keptBlocks()) << "blocks alive";
        EXPECT_EQ(testheap::dirtyFrees(), dirty_) << "blocks freed unwiped";
    }

    std::uint64_t dirty_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new Account);
    return RUN_ALL_TESTS();
}
