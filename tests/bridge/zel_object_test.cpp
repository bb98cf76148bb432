// The frame: binding, exceptions, the array checks and the hex dump.
#include "bridge/engine_call.h"
#include "bridge/java_arrays.h"
#include "tests/bridge/fake_jni_test.h"

#include <climits>
#include <numeric>

namespace {

using Frame = FakeJniTest;

TEST_F(Frame, BindsAnAddressToAnObject) {
    int engine = 0;
    EXPECT_EQ(ZelObject::getContext(env, object), nullptr);
    ZelObject::setContext(env, object, &engine);
    EXPECT_EQ(ZelObject::getContext(env, object), &engine);
    ZelObject::setContext(env, object, nullptr);
    EXPECT_EQ(ZelObject::getContext(env, object), nullptr);
}

TEST_F(Frame, AMissingFieldLeavesTheVmsError) {
    const jobject bare = jni.newEngineObject(false);
    EXPECT_EQ(ZelObject::getContext(env, bare), nullptr);
    EXPECT_EQ(jni.takePending(), "java/lang/NoSuchFieldError: context0");
    ZelObject::setContext(env, bare, nullptr);
    EXPECT_EQ(jni.takePending(), "java/lang/NoSuchFieldError: context0");
}

TEST_F(Frame, ExceptionTexts) {
    const std::string longText(200, 'x');
    struct Case {
        std::string message;
        Status status;
        std::string text;
    };
    const Case cases[] = {
        {"bare", OK, "bare"},
        {"error creating aes context", ERR_AES, "error creating aes context : ERR_AES"},
        {"no name", static_cast<Status>(-7104), "no name : -7104"},
        {"positive", OK_SSL_USE_EMPTY_CERT, "positive : OK_SSL_USE_EMPTY_CERT"},
        {longText, OK, longText.substr(0, 110)},
        {longText, ERR_NULL_POINTER, longText.substr(0, 60) + " : ERR_NULL_POINTER"},
        {longText, static_cast<Status>(INT_MIN), longText.substr(0, 110) + " : -2147483648"},
    };
    for (const Case& c : cases) {
        ZelObject::throwStaticException(env, kProviderException, c.message.c_str(), c.status);
        EXPECT_EQ(jni.takePending(), "java/security/ProviderException: " + c.text);
    }
}

TEST_F(Frame, AnEarlierExceptionBecomesTheCause) {
    ZelObject::throwStaticException(env, kProviderException, "low", ERR_EOF);
    ZelObject::throwStaticException(env, kDigestException, "high", OK);
    EXPECT_EQ(jni.takePending(),
              "java/security/DigestException: high < java/security/ProviderException: low : ERR_EOF");
}

TEST_F(Frame, ErrorsOfTheVmAreNeverBuried) {
    ZelObject::throwStaticException(env, kOutOfMemoryError, "heap", OK);
    ZelObject::throwStaticException(env, kProviderException, "later", ERR_EOF);
    EXPECT_EQ(jni.takePending(), "java/lang/OutOfMemoryError: heap");

    jni.classNotFound = kProviderException;
    ZelObject::throwStaticException(env, kProviderException, "text", OK);
    EXPECT_EQ(jni.takePending(), std::string("java/lang/NoClassDefFoundError: ") + kProviderException);
}

TEST_F(Frame, AnExceptionThatCannotBeRaisedLeavesALine) {
    ZelObject::throwStaticException(env, kProviderException, "low", OK);
    jni.throwNewFails = true;
    testing::internal::CaptureStderr();
    ZelObject::throwStaticException(env, kProviderException, "high", ERR_EOF);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "unable to throw exception: high : ERR_EOF\n");
    EXPECT_EQ(jni.takePending(), "java/security/ProviderException: low");
}

// A stand-in for an engine with something to prepare.
class Probe : public ZelObject {
public:
    explicit Probe(int* prepared, int* destroyed) : prepared_(prepared), destroyed_(destroyed) {
    }
    ~Probe() {
        ++*destroyed_;
    }
    void prepare() {
        ++*prepared_;
    }

private:
    int* prepared_;
    int* destroyed_;
};

TEST_F(Frame, FindsOrMakesAnEngine) {
    int made = 0, prepared = 0, destroyed = 0;
    const auto find = [&](jobject self) {
        return findOrMakeEngine<Probe>(
            env, self,
            [&] {
                ++made;
                return new Probe(&prepared, &destroyed);
            },
            [](Probe& probe) { probe.prepare(); });
    };
    Probe* const first = find(object);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(find(object), first);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(prepared, 1);
    ZelObject::setContext(env, object, nullptr);
    delete first;

    EXPECT_EQ(find(jni.newEngineObject(false)), nullptr);
    EXPECT_EQ(jni.takePending(), "java/lang/NoSuchFieldError: context0");
    EXPECT_EQ(made, 1);

    jni.fieldLookupsUntilFailure = 1; // found empty, but cannot be bound
    EXPECT_EQ(find(object), nullptr);
    EXPECT_EQ(jni.takePending(), "java/lang/NoSuchFieldError: context0");
    EXPECT_EQ(destroyed, 2);
    jni.fieldLookupsUntilFailure = -1;

    testheap::refuse(1);
    EXPECT_EQ(find(object), nullptr);
    EXPECT_EQ(jni.takePending(), "java/lang/OutOfMemoryError: out of memory");
}

TEST_F(Frame, NeutralResultWithoutAnEngine) {
    EXPECT_EQ(callEngine(env, static_cast<Probe*>(nullptr), [](Probe&) { return jint{7}; }), 0);
    EXPECT_EQ(callEngine(env, static_cast<Probe*>(nullptr), [](Probe&) { return jbyteArray{}; }), nullptr);
}

TEST_F(Frame, Slices) {
    const jbyteArray array = jni.newBytes({1, 2, 3, 4});
    struct Case {
        jint offset, length;
        bool inside;
    };
    const Case cases[] = {{0, 4, true},
                          {4, 0, true},
                          {0, 0, true},
                          {1, 3, true},
                          {1, 4, false},
                          {5, 0, false},
                          {-1, 1, false},
                          {0, -1, false},
                          {INT_MAX, 1, false},
                          {1, INT_MAX, false},
                          {INT_MIN, 0, false},
                          {0, INT_MIN, false},
                          {INT_MAX, INT_MAX, false},
                          {INT_MIN, INT_MIN, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.offset << ", " << c.length);
        EXPECT_EQ(requireSlice(env, array, c.offset, c.length), c.inside);
        EXPECT_EQ(jni.takePending(),
                  c.inside ? "" : "java/lang/ArrayIndexOutOfBoundsException: offset or length out of range");
    }
    EXPECT_FALSE(requireSlice(env, nullptr, 0, 0));
    EXPECT_EQ(jni.takePending(), "java/lang/NullPointerException: array is null");
}

std::string dumped(const std::vector<std::uint8_t>& bytes) {
    testing::internal::CaptureStdout();
    ZelObject::hexdump(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r'); // text mode on Windows
    return text;
}

TEST_F(Frame, HexDump) {
    EXPECT_EQ(dumped({}), "");
    EXPECT_EQ(dumped({0x00, 0x1F, 0x20, 0x41, 0x7E, 0x7F, 0x80, 0xFF}),
              "0x000000: 00 1f 20 41 7e 7f 80 ff                         .. A~...        \n");
    std::vector<std::uint8_t> seventeen(17);
    std::iota(seventeen.begin(), seventeen.end(), std::uint8_t{'a'});
    EXPECT_EQ(dumped(seventeen), "0x000000: 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70 abcdefghijklmnop\n"
                                 "0x000010: 71 " +
                                     std::string(15 * 3, ' ') + "q" + std::string(15, ' ') + "\n");
}

} // namespace
