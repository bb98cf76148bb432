// The secure random engine and the shared context; in a program of its own and in this order, because the context is made
// once in a process.
#include "bridge/pieces.h"
#include "bridge/zel_secure_random.h"
#include "bridge/zel_sha1_with_dsa_signature.h"
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "tests/bridge/fake_jni_test.h"
#include "tests/support/faults.h"

#include <algorithm>
#include <array>
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
class SecureRandom : public FakeJniTest {
protected:
    void SetUp() override {
        ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    }
    void TearDown() override {
        expectRulesKept();
    }
    jbyteArray zeros(std::size_t length) {
        return jni.newBytes(std::vector<jbyte>(length));
    }
};

TEST_F(SecureRandom, A_WithoutAContextOneExceptionStandsOnTheOther) {
    const std::string adding = kProvider + "error adding entropy : ERR_NULL_POINTER < " + kUnable;
    const std::string generating = kProvider + "error generating random numbers : ERR_NULL_POINTER < " + kUnable;
    RandomContext* warm = nullptr; // the seed pool makes its mutexes
    ASSERT_EQ(randomAcquireContext(&warm), OK);
    ASSERT_EQ(randomReleaseContext(&warm), OK);
    const auto check = [&](auto call, std::size_t length, const std::string& raised) {
        const Fault fault(PlatformService::mutexCreate, 1);
        call(env, object, zeros(length));
        EXPECT_EQ(jni.takePending(), raised);
    };
    check(setSeed, 3, adding);
    check(setSeed, 0, kUnable);
    check(nextBytes, 3, generating);
    check(nextBytes, 0, generating);
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

// Several first users at once, while it is being seeded: one context.
TEST_F(SecureRandom, B_IsMadeOnce) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
    jlong handles[3] = {};
    std::vector<std::thread> threads;
    for (jlong& handle : handles) {
        threads.emplace_back([&handle] {
            FakeJni own;
            handle = initContext(own.env(), own.newEngineObject());
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_NE(handles[0], 0);
    EXPECT_EQ(handles[1], handles[0]);
    EXPECT_EQ(handles[2], handles[0]);
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
    const auto key = std::to_array(context->state.xkey);
    setSeed(env, object, jni.newBytes(std::vector<jbyte>(100'000, jbyte{2})));
    EXPECT_EQ(context->entropyBitCount, before + 100'000);
    EXPECT_EQ(std::to_array(context->state.xkey), key) << "no lowest bit was set";
    setSeed(env, object, jni.newBytes({1}));
    EXPECT_NE(std::to_array(context->state.xkey), key);
    setSeed(env, object, zeros(0));
    EXPECT_EQ(context->entropyBitCount, before + 100'001);
}

TEST_F(SecureRandom, E_RefusalsAndBadArguments) {
    const std::string noMemory = "java/lang/OutOfMemoryError: ";
    jni.newByteArrayFails = true;
    EXPECT_EQ(refused(generateSeed(env, object, 5)), noMemory + "Java heap space");
    jni.newByteArrayFails = false;
    for (const jint count : std::initializer_list<jint>{-1, INT32_MIN}) {
        EXPECT_EQ(refused(generateSeed(env, object, count)),
                  "java/lang/NegativeArraySizeException: number of bytes is negative");
    }
    for (const auto call : {setSeed, nextBytes}) {
        call(env, object, nullptr);
        EXPECT_EQ(jni.takePending(), kNullArray);
        jni.criticalFails = true;
        call(env, object, zeros(5));
        EXPECT_EQ(jni.takePending(), noMemory + "out of memory");
        jni.criticalFails = false;
    }
    for (const int lookups : {0, 1}) { // of the field, before one fails
        jni.fieldLookupsUntilFailure = lookups;
        nextBytes(env, jni.newEngineObject(), zeros(1));
        EXPECT_EQ(jni.takePending(), "java/lang/NoSuchFieldError: context0");
    }
}

} // namespace
