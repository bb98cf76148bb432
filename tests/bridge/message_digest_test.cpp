// The digest engines, through their entry points and through the slots for native callers.
#include "bridge/zel_sha1_message_digest.h"
#include "bridge/zel_sha256_message_digest.h"
#include "tests/bridge/fake_jni_test.h"
#include "tests/support/hex.h"

#include <climits>
#include <memory>

extern "C" {
#define DECLARE_ENTRIES(prefix)                                                                                        \
    JNIEXPORT void JNICALL prefix##engineUpdate0__B(JNIEnv*, jobject, jbyte);                                          \
    JNIEXPORT void JNICALL prefix##engineUpdate0___3BII(JNIEnv*, jobject, jbyteArray, jint, jint);                     \
    JNIEXPORT void JNICALL prefix##engineReset0(JNIEnv*, jobject);                                                     \
    JNIEXPORT jbyteArray JNICALL prefix##engineDigest0__(JNIEnv*, jobject);                                            \
    JNIEXPORT jint JNICALL prefix##engineDigest0___3BII(JNIEnv*, jobject, jbyteArray, jint, jint);                     \
    JNIEXPORT void JNICALL prefix##deleteContext0(JNIEnv*, jobject)
DECLARE_ENTRIES(Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_);
DECLARE_ENTRIES(Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_);
}

namespace {

const char* const kEmpty1 = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
const char* const kAbc1 = "a9993e364706816aba3e25717850c26c9cd0d89d";
const char* const kEmpty256 = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
const char* const kAbc256 = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

// One Java class: its entry points and what its digests are.
struct DigestClass {
    const char* name;
    void (*updateByte)(JNIEnv*, jobject, jbyte);
    void (*updateArray)(JNIEnv*, jobject, jbyteArray, jint, jint);
    void (*reset)(JNIEnv*, jobject);
    jbyteArray (*digestNew)(JNIEnv*, jobject);
    jint (*digestInto)(JNIEnv*, jobject, jbyteArray, jint, jint);
    void (*deleteContext)(JNIEnv*, jobject);
    ZelShaMessageDigest* (*make)();
    jint digestBytes;
    const char* ofEmpty;
    const char* ofAbc;
};

#define ENTRIES(prefix)                                                                                                \
    prefix##engineUpdate0__B, prefix##engineUpdate0___3BII, prefix##engineReset0, prefix##engineDigest0__,             \
        prefix##engineDigest0___3BII, prefix##deleteContext0

const DigestClass kClasses[] = {
    {"SHA-1", ENTRIES(Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_),
     [] { return static_cast<ZelShaMessageDigest*>(new ZelSha1MessageDigest); }, 20, kEmpty1, kAbc1},
    {"SHA-256", ENTRIES(Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_),
     [] { return static_cast<ZelShaMessageDigest*>(new ZelSha256MessageDigest); }, 32, kEmpty256, kAbc256},
};

const char* const kShortRoom = "java/security/DigestException: insufficient space for digest";
const char* const kOutside = "java/lang/ArrayIndexOutOfBoundsException: offset or length out of range";
const char* const kNullArray = "java/lang/NullPointerException: array is null";
const char* const kNoMemory = "java/lang/OutOfMemoryError: out of memory";
const char* const kNoField = "java/lang/NoSuchFieldError: context0";
const char* const kNoUpdate = "java/security/ProviderException: unable to update digest";
const char* const kNoReset = "java/security/ProviderException: error resetting digest : ERR_MEM_ALLOC_FAIL";

class DigestEntries : public FakeJniTest, public testing::WithParamInterface<DigestClass> {
protected:
    const DigestClass& c = GetParam();

    void TearDown() override {
        c.deleteContext(env, object);
        FakeJniTest::TearDown();
    }
    void updateAbc() {
        c.updateArray(env, object, jni.newBytes({'a', 'b', 'c'}), 0, 3);
    }
    std::string digestHex() {
        const jbyteArray digest = c.digestNew(env, object);
        if (digest == nullptr) {
            return "null";
        }
        const std::vector<jbyte>& bytes = FakeJni::of(digest).bytes;
        return toHex(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
    }
};

TEST_P(DigestEntries, MessagesInEveryForm) {
    EXPECT_EQ(digestHex(), c.ofEmpty);
    EXPECT_EQ(digestHex(), c.ofEmpty);
    c.updateByte(env, object, 'a');
    c.updateArray(env, object, jni.newBytes({'x', 'b', 'x'}), 1, 1);
    c.updateArray(env, object, jni.newBytes({}), 0, 0);
    c.updateArray(env, object, jni.newBytes({'x'}), 1, 0);
    c.updateByte(env, object, 'c');
    EXPECT_EQ(digestHex(), c.ofAbc);
    c.updateByte(env, object, 'z');
    c.reset(env, object);
    updateAbc();
    EXPECT_EQ(digestHex(), c.ofAbc);
}

TEST_P(DigestEntries, IntoAnArray) {
    const jint n = c.digestBytes;
    const auto check = [&](jint size, jint offset, jint length, const char* pending) {
        SCOPED_TRACE(testing::Message() << "array " << size << ", offset " << offset << ", length " << length);
        updateAbc();
        const jbyteArray array = jni.newBytes(std::vector<jbyte>(static_cast<std::size_t>(size), 0x11));
        std::vector<jbyte> expected = FakeJni::of(array).bytes;
        const jint result = c.digestInto(env, object, array, offset, length);
        if (pending == nullptr) {
            EXPECT_EQ(result, n);
            const auto digest = fromHex(c.ofAbc);
            std::copy(digest.begin(), digest.end(), expected.begin() + offset);
        } else {
            EXPECT_EQ(refused(result), pending);
            EXPECT_EQ(digestHex(), c.ofAbc) << "the running hash was touched";
        }
        EXPECT_EQ(FakeJni::of(array).bytes, expected);
    };
#define INTO_CASE(...) check(__VA_ARGS__);
#include "tests/bridge/digest_cases.inc"
#undef INTO_CASE
    EXPECT_EQ(refused(c.digestInto(env, object, nullptr, 0, n)), kNullArray);
}

TEST_P(DigestEntries, RefusedUpdatesChangeNothing) {
    c.updateByte(env, object, 'a');
    const jbyteArray array = jni.newBytes({'b', 'c'});
    const auto check = [&](jint offset, jint length) {
        c.updateArray(env, object, array, offset, length);
        EXPECT_EQ(jni.takePending(), kOutside) << offset << ", " << length;
    };
#define OUTSIDE_CASE(...) check(__VA_ARGS__);
#include "tests/bridge/digest_cases.inc"
#undef OUTSIDE_CASE
    c.updateArray(env, object, nullptr, 0, 0);
    EXPECT_EQ(jni.takePending(), kNullArray);
    c.updateArray(env, object, array, 0, 2);
    EXPECT_EQ(digestHex(), c.ofAbc);
}

TEST_P(DigestEntries, DeletingDestroysBeforeItClears) {
    updateAbc();
    jni.onSetLongField = [live = testheap::liveBlocks()] {
        EXPECT_EQ(testheap::liveBlocks(), live - 2) << "engine and context are gone";
    };
    c.deleteContext(env, object);
    EXPECT_EQ(jni.context0(object), 0);
    c.deleteContext(env, object);
    jni.onSetLongField = nullptr;
    EXPECT_EQ(digestHex(), c.ofEmpty);
}

TEST_P(DigestEntries, WithoutTheFieldNothingHappens) {
    const jobject bare = jni.newEngineObject(false);
    c.updateByte(env, bare, 'a');
    EXPECT_EQ(jni.takePending(), kNoField);
    c.reset(env, bare);
    EXPECT_EQ(jni.takePending(), kNoField);
    EXPECT_EQ(refused(c.digestNew(env, bare)), kNoField);
    c.deleteContext(env, bare);
    EXPECT_EQ(jni.takePending(), kNoField);
    jni.fieldLookupsUntilFailure = 1; // found empty, but cannot be bound: the new engine goes
    EXPECT_EQ(refused(c.digestNew(env, object)), kNoField);
    jni.fieldLookupsUntilFailure = -1;
}

TEST_P(DigestEntries, RefusalsOfTheVm) {
    updateAbc();
    jni.newByteArrayFails = true;
    EXPECT_EQ(refused(c.digestNew(env, object)), "java/lang/OutOfMemoryError: Java heap space");
    jni.newByteArrayFails = false;
    jni.newByteArrayGivesNull = true;
    EXPECT_EQ(refused(c.digestNew(env, object)), kNoMemory);
    jni.newByteArrayGivesNull = false;
    jni.criticalFails = true;
    EXPECT_EQ(refused(c.digestNew(env, object)), kNoMemory);
    const jbyteArray array = jni.newBytes(std::vector<jbyte>(40));
    c.updateArray(env, object, array, 0, 40);
    EXPECT_EQ(jni.takePending(), kNoMemory);
    EXPECT_EQ(refused(c.digestInto(env, object, array, 0, 40)), kNoMemory);
    jni.criticalFails = false;
    EXPECT_EQ(digestHex(), c.ofAbc) << "the running hash was touched";
}

// Allocations of a first call: the engine, its context, and the fresh context after the digest.
TEST_P(DigestEntries, RefusalsOfTheHeap) {
    heapFaults().arm(1);
    EXPECT_EQ(refused(c.digestNew(env, object)), kNoMemory);
    EXPECT_EQ(jni.context0(object), 0);

    heapFaults().arm(2);
    EXPECT_EQ(refused(c.digestNew(env, object)), kNoReset);
    EXPECT_NE(jni.context0(object), 0) << "the engine stays bound";
    c.updateByte(env, object, 'a');
    EXPECT_EQ(jni.takePending(), kNoUpdate);
    updateAbc(); // the array form makes up for the missing reset
    heapFaults().arm(1);
    EXPECT_EQ(digestHex(), c.ofAbc) << "the digest is good although the reset behind it failed";
    EXPECT_EQ(jni.takePending(), kNoReset);
    heapFaults().arm(1);
    updateAbc();
    EXPECT_EQ(jni.takePending(), kNoUpdate);
    heapFaults().arm(1);
    c.reset(env, object);
    EXPECT_EQ(jni.takePending(), kNoReset);

    const jbyteArray array = jni.newBytes(std::vector<jbyte>(40));
    heapFaults().arm(1);
    EXPECT_EQ(refused(c.digestInto(env, object, array, 0, 40)), kNoReset);
    heapFaults().arm(2);
    EXPECT_EQ(c.digestInto(env, object, array, 0, 40), c.digestBytes);
    EXPECT_EQ(jni.takePending(), kNoReset);
}

TEST_P(DigestEntries, NativeSlots) {
    const std::unique_ptr<ZelShaMessageDigest> engine(c.make());
    std::vector<std::uint8_t> out(static_cast<std::size_t>(c.digestBytes));
    const auto expectDigest = [&](const std::string& expected) {
        EXPECT_EQ(engine->nativeDigest(out.data(), -1), c.digestBytes) << "the length is not used";
        EXPECT_EQ(toHex(out), expected);
    };
    const std::uint8_t abc[] = {'x', 'a', 'b', 'c'};
    expectDigest(c.ofEmpty); // without a first reset
    EXPECT_EQ(engine->nativeUpdate(abc, 1, 3), OK);
    EXPECT_EQ(engine->nativeUpdate(abc, 0, -1), ERR_INVALID_ARG);
    EXPECT_EQ(engine->nativeUpdate(nullptr, 5, 1), ERR_NULL_POINTER);
    expectDigest(c.ofAbc);
    EXPECT_EQ(refused(engine->digest(env, object, nullptr, 99)),
              "java/security/ProviderException: error calculating final digest : ERR_NULL_POINTER");

    // A failed final leaves the context as the core leaves it: SHA-1's hash goes on, SHA-256's is wiped and no longer
    // right.
    EXPECT_EQ(engine->nativeReset(), OK);
    EXPECT_EQ(engine->nativeUpdate(abc, 1, 1), OK);
    EXPECT_EQ(engine->nativeDigest(nullptr, 0), ERR_NULL_POINTER);
    EXPECT_EQ(engine->nativeUpdate(abc, 2, 2), OK);
    EXPECT_EQ(engine->nativeDigest(out.data(), 0), c.digestBytes);
    EXPECT_EQ(toHex(out) == c.ofAbc, c.digestBytes == 20);

    heapFaults().arm(1);
    EXPECT_EQ(engine->nativeReset(), ERR_MEM_ALLOC_FAIL);
    heapFaults().arm(1);
    EXPECT_EQ(engine->nativeUpdate(abc, 0, 4), ERR_MEM_ALLOC_FAIL);
    heapFaults().arm(1);
    EXPECT_EQ(engine->nativeDigest(out.data(), 0), ERR_MEM_ALLOC_FAIL);
    heapFaults().arm(2); // the fresh context behind a good digest
    expectDigest(c.ofEmpty);
}

// Native callers built against these classes call by position in the table of virtual functions. In the C++ ABI of gcc
// and clang the destructor takes the first two places.
TEST_P(DigestEntries, SlotsStandInTheirOrder) {
    const std::unique_ptr<ZelShaMessageDigest> engine(c.make());
    void** const slots = *reinterpret_cast<void***>(engine.get());
    const auto nativeReset = reinterpret_cast<Status (*)(void*)>(slots[3]);
    const auto nativeUpdate = reinterpret_cast<Status (*)(void*, const std::uint8_t*, int, int)>(slots[6]);
    const auto digestInto = reinterpret_cast<int (*)(void*, JNIEnv*, jobject, std::uint8_t*, int)>(slots[7]);
    const auto nativeDigest = reinterpret_cast<int (*)(void*, std::uint8_t*, int)>(slots[10]);
    std::vector<std::uint8_t> out(static_cast<std::size_t>(c.digestBytes));
    const std::uint8_t abc[] = {'a', 'b', 'c'};
    EXPECT_EQ(nativeReset(engine.get()), OK);
    EXPECT_EQ(nativeUpdate(engine.get(), abc, 0, 3), OK);
    EXPECT_EQ(nativeDigest(engine.get(), out.data(), 0), c.digestBytes);
    EXPECT_EQ(toHex(out), c.ofAbc);
    EXPECT_EQ(digestInto(engine.get(), env, object, out.data(), 0), c.digestBytes);
    EXPECT_EQ(toHex(out), c.ofEmpty);
}

INSTANTIATE_TEST_SUITE_P(Classes, DigestEntries, testing::ValuesIn(kClasses),
                         [](const auto& instance) { return instance.index == 0 ? "Sha1" : "Sha256"; });

} // namespace
