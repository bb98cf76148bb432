// The secure random engine and the shared context. Without entropy threads, so that making the context takes no time;
// in a program of its own and in this order, because the context is made once in a process.
#include "bridge/pieces.h"
#include "bridge/zel_secure_random.h"
#include "bridge/zel_sha1_with_dsa_signature.h"
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "tests/bridge/fake_jni_test.h"
#include "tests/support/faults.h"

#include <algorithm>
#include <atomic>
#include <thread>

extern "C" {
JNIEXPORT jlong JNICALL Java_com_vantrel_zel_provider_ZelSecurityProvider_initRandomContext0(JNIEnv*, jobject);
JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineSetSeed0(JNIEnv*, jobject,
                                                                                           jbyteArray);
JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineNextBytes0(JNIEnv*, jobject,
                                                                                             jbyteArray);
JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineGenerateSeed0(JNIEnv*, jobject,
                                                                                                      jint);
}

namespace {

constexpr auto initContext = Java_com_vantrel_zel_provider_ZelSecurityProvider_initRandomContext0;
constexpr auto setSeed = Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineSetSeed0;
constexpr auto nextBytes = Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineNextBytes0;
constexpr auto generateSeed = Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineGenerateSeed0;

const std::string kProvider = "java/security/ProviderException: ";
const std::string kUnable = kProvider + "Unable to acquire secure random context : ERR_RTOS_MUTEX_CREATE";
const std::string kNullArray = "java/lang/NullPointerException: array is null";

// The engine stays bound and the context stays made, so this fixture does without the end of FakeJniTest's accounts.
class SecureRandom : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    }
    void TearDown() override {
        testheap::refuse(0);
        EXPECT_EQ(jni.pending(), "");
        EXPECT_EQ(jni.violations, std::vector<std::string>());
        EXPECT_EQ(jni.openRegions(), 0);
        EXPECT_EQ(testheap::dirtyFrees(), dirtyBefore_);
    }
    jbyteArray zeros(std::size_t length) {
        return jni.newBytes(std::vector<jbyte>(length));
    }

    FakeJni jni;
    JNIEnv* env = jni.env();
    jobject object = jni.newEngineObject();

private:
    std::uint64_t dirtyBefore_ = testheap::dirtyFrees();
};

TEST_F(SecureRandom, A_WithoutAContextOneExceptionStandsOnTheOther) {
    struct Case {
        void (*call)(JNIEnv*, jobject, jbyteArray);
        std::size_t length;
        std::string raised;
    };
    const std::string adding = kProvider + "error adding entropy : ERR_NULL_POINTER < " + kUnable;
    const std::string generating = kProvider + "error generating random numbers : ERR_NULL_POINTER < " + kUnable;
    const Case cases[] = {
        {setSeed, 3, adding}, {setSeed, 0, kUnable}, {nextBytes, 3, generating}, {nextBytes, 0, generating}};
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    {
        RandomContext* warm = nullptr; // the seed pool makes its mutexes
        ASSERT_EQ(randomAcquireContext(&warm), OK);
        ASSERT_EQ(randomReleaseContext(&warm), OK);
    }
    for (const Case& c : cases) {
        const Fault fault(PlatformService::mutexCreate, 1);
        c.call(env, object, zeros(c.length));
        EXPECT_EQ(jni.takePending(), c.raised);
    }
    const Fault fault(PlatformService::mutexCreate, 1);
    const jbyteArray seed = generateSeed(env, object, 4);
    EXPECT_EQ(jni.takePending(), generating);
    EXPECT_EQ(FakeJni::of(seed).bytes, std::vector<jbyte>(4)) << "returned although its bytes were not made";
    const Fault again(PlatformService::mutexCreate, 1);
    EXPECT_EQ(initContext(env, object), 0);
    EXPECT_EQ(jni.takePending(), kUnable);
    const std::string signature = "java/security/SignatureException: ";
    ZelSha1WithDsaSignature dsa; // counts as initialised for signing although the key cannot be read
    dsa.initSign(env, object, zeros(1));
    EXPECT_NE(jni.takePending(), "");
    const Fault signing(PlatformService::mutexCreate, 1);
    EXPECT_EQ(dsa.sign(env, object), nullptr);
    EXPECT_EQ(jni.takePending(), signature + "error calculating signature : ERR_INTERNAL_ERROR < " + signature +
                                     "error signing message : ERR_NULL_POINTER < " + kUnable);
}

// Many first users at once: one context.
TEST_F(SecureRandom, B_IsMadeOnce) {
    constexpr int kThreads = 8;
    std::atomic<jlong> handles[kThreads] = {};
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (std::atomic<jlong>& handle : handles) {
        threads.emplace_back([&handle, &ready] {
            FakeJni own;
            const jobject provider = own.newEngineObject();
            ++ready;
            while (ready < kThreads) { // so that they meet
            }
            handle = initContext(own.env(), provider);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_NE(handles[0], 0);
    for (const std::atomic<jlong>& handle : handles) {
        EXPECT_EQ(handle, handles[0]);
    }
    EXPECT_EQ(reinterpret_cast<jlong>(ZelObject::getRandomContext(env)), handles[0]);
}

TEST(Pieces, CoverEveryLengthOnce) {
    for (const jint length : std::initializer_list<jint>{0, 1, kPieceBytes - 1, kPieceBytes, kPieceBytes + 1,
                                                         INT32_MAX - 65535, INT32_MAX}) {
        std::int64_t covered = 0;
        EXPECT_TRUE(forEachPiece(length, [&](jint offset, jint count) {
            EXPECT_EQ(offset, covered);
            covered += count;
            return count > 0 && count <= kPieceBytes;
        }));
        EXPECT_EQ(covered, length);
    }
    int calls = 0;
    EXPECT_FALSE(forEachPiece(3 * kPieceBytes, [&](jint, jint) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2);
}

TEST_F(SecureRandom, C_FillsArraysOfEverySize) {
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{1}, std::size_t{65536}, std::size_t{65537}, std::size_t{200'000}}) {
        const jbyteArray array = zeros(length);
        nextBytes(env, object, array);
        EXPECT_EQ(jni.pending(), "");
        const std::vector<jbyte>& bytes = FakeJni::of(array).bytes;
        const auto empty = std::count(bytes.begin(), bytes.end(), 0);
        EXPECT_LE(empty, static_cast<std::ptrdiff_t>(length / 128 + 1)) << "a piece was left out";
    }
    EXPECT_EQ(jni.context0(object), reinterpret_cast<jlong>(ZelSecureRandom::instance()));
    const jobject other = jni.newEngineObject();
    const jbyteArray seed = generateSeed(env, other, 40);
    EXPECT_EQ(jni.context0(other), jni.context0(object)) << "one engine for all";
    EXPECT_NE(FakeJni::of(seed).bytes, FakeJni::of(generateSeed(env, other, 40)).bytes);
    EXPECT_TRUE(FakeJni::of(generateSeed(env, other, 0)).bytes.empty());
}

TEST_F(SecureRandom, D_SeedsWithTheLowestBitOfEachByte) {
    RandomContext* const context = ZelObject::getRandomContext(env);
    const std::uint32_t before = context->entropyBitCount;
    const std::vector<std::uint64_t> key(context->state.xkey, context->state.xkey + 8);
    setSeed(env, object, jni.newBytes(std::vector<jbyte>(100'000, jbyte{2})));
    EXPECT_EQ(context->entropyBitCount, before + 100'000);
    EXPECT_EQ(std::vector<std::uint64_t>(context->state.xkey, context->state.xkey + 8), key) << "no lowest bit was set";
    setSeed(env, object, jni.newBytes({1}));
    EXPECT_NE(std::vector<std::uint64_t>(context->state.xkey, context->state.xkey + 8), key);
    setSeed(env, object, zeros(0));
    EXPECT_EQ(context->entropyBitCount, before + 100'001);
}

TEST_F(SecureRandom, E_RefusalsAndBadArguments) {
    const std::string noMemory = "java/lang/OutOfMemoryError: ";
    setSeed(env, object, nullptr);
    EXPECT_EQ(jni.takePending(), kNullArray);
    nextBytes(env, object, nullptr);
    EXPECT_EQ(jni.takePending(), kNullArray);
    for (const jint count : std::initializer_list<jint>{-1, INT32_MIN}) {
        EXPECT_EQ(generateSeed(env, object, count), nullptr);
        EXPECT_EQ(jni.takePending(), "java/lang/NegativeArraySizeException: number of bytes is negative");
    }
    jni.newByteArrayFails = true;
    EXPECT_EQ(generateSeed(env, object, 5), nullptr);
    EXPECT_EQ(jni.takePending(), noMemory + "Java heap space");
    jni.newByteArrayFails = false;
    jni.criticalFails = true;
    nextBytes(env, object, zeros(5));
    EXPECT_EQ(jni.takePending(), noMemory + "out of memory");
    setSeed(env, object, zeros(5));
    EXPECT_EQ(jni.takePending(), noMemory + "out of memory");
    jni.criticalFails = false;
    for (const auto call : {setSeed, nextBytes}) {
        testheap::refuse(1);
        call(env, object, zeros(5));
        EXPECT_NE(jni.takePending().find(" : ERR_MEM_ALLOC_FAIL"), std::string::npos);
    }
    const jbyteArray array = zeros(200'000);
    const Fault fault(PlatformService::mutexWait, 2);
    nextBytes(env, object, array);
    EXPECT_EQ(jni.takePending(), kProvider + "error generating random numbers : ERR_RTOS_MUTEX_WAIT");
    const std::vector<jbyte>& bytes = FakeJni::of(array).bytes;
    EXPECT_NE(std::vector<jbyte>(bytes.begin(), bytes.begin() + 65536), std::vector<jbyte>(65536)) << "the first piece";
    EXPECT_EQ(std::vector<jbyte>(bytes.begin() + 65536, bytes.end()), std::vector<jbyte>(200'000 - 65536));
    const jobject bare = jni.newEngineObject(false);
    nextBytes(env, bare, zeros(1));
    EXPECT_EQ(jni.takePending(), "java/lang/NoSuchFieldError: context0");
}

} // namespace
