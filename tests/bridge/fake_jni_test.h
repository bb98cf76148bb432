// FakeJniTest: a test with an environment and one Java object, which at its end expects that JNI's rules were kept,
// that no region is open, no local reference left, and that the engine was destroyed with everything it owned.
#ifndef ZELSPI_TESTS_BRIDGE_FAKE_JNI_TEST_H
#define ZELSPI_TESTS_BRIDGE_FAKE_JNI_TEST_H

#include "tests/bridge/fake_jni.h"
#include "tests/support/faults.h"

#include <gtest/gtest.h>

class FakeJniTest : public testing::Test {
protected:
    void TearDown() override {
        expectRulesKept();
        EXPECT_EQ(jni.context0(object), 0);
        EXPECT_EQ(testheap::liveBlocks(), liveBefore_);
    }
    void expectRulesKept() {
        heapFaults().arm(0);
        EXPECT_EQ(jni.pending(), "");
        EXPECT_EQ(jni.violations, std::vector<std::string>());
        EXPECT_EQ(jni.openRegions(), 0);
        EXPECT_EQ(jni.localReferences, 0);
        EXPECT_EQ(testheap::dirtyFrees(), dirtyBefore_);
    }

    // What a call that gives nothing has left pending.
    std::string refused(jint result) {
        EXPECT_EQ(result, 0);
        return jni.takePending();
    }
    std::string refused(jobject result) {
        EXPECT_EQ(result, nullptr);
        return jni.takePending();
    }

    FakeJni jni;
    JNIEnv* env = jni.env();
    jobject object = jni.newEngineObject();

private:
    std::uint64_t liveBefore_ = testheap::liveBlocks();
    std::uint64_t dirtyBefore_ = testheap::dirtyFrees();
};

#endif
