// Every engine in 64 threads at once, each thread with engines of its own, from the first use in the process on: the
// making of the random context, the choices of kernels and whatever else happens once meet here. Under the thread
// sanitizer above all.
#include "core/random/random.h"
#include "tests/bridge/aes_cipher_fixture.h"
#include "tests/bridge/signature_fixture.h"

#include <atomic>
#include <latch>
#include <thread>

DECLARE_SIGNATURE_ENTRIES(ZelSha256WithRsaSignatureSpi);
DECLARE_SIGNATURE_ENTRIES(ZelSha1WithDsaSignatureSpi);

#define SPI_ENTRY(JavaClass, method) Java_com_vantrel_zel_provider_spi_##JavaClass##_##method
extern "C" {
JNIEXPORT jlong JNICALL Java_com_vantrel_zel_provider_ZelSecurityProvider_initRandomContext0(JNIEnv*, jobject);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSecureRandomSpi, engineSetSeed0)(JNIEnv*, jobject, jbyteArray);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSecureRandomSpi, engineNextBytes0)(JNIEnv*, jobject, jbyteArray);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSha256MessageDigestSpi, engineUpdate0___3BII)(JNIEnv*, jobject, jbyteArray, jint,
                                                                                  jint);
JNIEXPORT jbyteArray JNICALL SPI_ENTRY(ZelSha256MessageDigestSpi, engineDigest0__)(JNIEnv*, jobject);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSha256MessageDigestSpi, deleteContext0)(JNIEnv*, jobject);
}

namespace {

constexpr std::ptrdiff_t kThreads = 64;
constexpr int kRounds = 3;

using Bytes = std::vector<jbyte>;

struct Keys {
    std::string rsaPublic, rsaPrivate, rsaSignature, dsaPublic, dsaPrivate;
};

const Keys& keys() {
    static const Keys kKeys = [] {
        Keys keys;
#define RSA_KEY(bits, publicKey, privateKey, sha1, tail1, head1, sha256, ...)                                          \
    if (bits == 512) {                                                                                                 \
        keys.rsaPublic = publicKey, keys.rsaPrivate = privateKey, keys.rsaSignature = sha256;                          \
    }
#define DSA_KEY(publicKey, otherAlgorithm, privateKey, signature)                                                      \
    keys.dsaPublic = publicKey, keys.dsaPrivate = privateKey;
#include "tests/bridge/signature_vectors.inc"
#undef RSA_KEY
#undef DSA_KEY
        return keys;
    }();
    return kKeys;
}

// One thread's Java: everything that it calls.
class Caller {
public:
    void digests() {
        const jobject object = jni_.newEngineObject();
        const jbyteArray abc = jni_.newBytes({'a', 'b', 'c'});
        SPI_ENTRY(ZelSha256MessageDigestSpi, engineUpdate0___3BII)(env_, object, abc, 0, 3);
        EXPECT_EQ(hexOf(SPI_ENTRY(ZelSha256MessageDigestSpi, engineDigest0__)(env_, object)),
                  "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"); // FIPS 180-2, appendix B.1
        SPI_ENTRY(ZelSha256MessageDigestSpi, deleteContext0)(env_, object);
    }

    void encrypts() {
        const jobject object = jni_.newEngineObject();
        const jbyteArray key = jni_.newBytes(Bytes(32, 1)), iv = jni_.newBytes(Bytes(16, 2));
        const Bytes message(1000, 3);
        AES_ENTRY(engineInit0)(env_, object, 1, iv, key);
        const jbyteArray sent = AES_ENTRY(engineDoFinal0___3BII)(env_, object, jni_.newBytes(message), 0, 1000);
        AES_ENTRY(engineInit0)(env_, object, 2, iv, key);
        const jbyteArray received = AES_ENTRY(engineDoFinal0___3BII)(env_, object, sent, 0, 1008);
        EXPECT_EQ(FakeJni::of(received).bytes, message);
        AES_ENTRY(deleteContext0)(env_, object);
    }

    // Draws, and adds entropy while others draw; the first of all makes the context.
    void draws() {
        const jobject object = jni_.newEngineObject();
        EXPECT_NE(Java_com_vantrel_zel_provider_ZelSecurityProvider_initRandomContext0(env_, object), 0);
        const jbyteArray bytes = jni_.newBytes(Bytes(500));
        SPI_ENTRY(ZelSecureRandomSpi, engineNextBytes0)(env_, object, bytes);
        EXPECT_NE(FakeJni::of(bytes).bytes, Bytes(500));
        SPI_ENTRY(ZelSecureRandomSpi, engineSetSeed0)(env_, object, bytes);
    }

    void signs(const SignatureEntryPoints& entries, const std::string& publicKey, const std::string& privateKey,
               const std::string& expected) {
        const jobject object = jni_.newEngineObject();
        entries.initSign(env_, object, array(privateKey));
        update(entries, object);
        const jbyteArray signature = entries.sign(env_, object);
        ASSERT_EQ(jni_.pending(), "");
        EXPECT_TRUE(expected.empty() || hexOf(signature) == expected);
        entries.initVerify(env_, object, array(publicKey));
        update(entries, object);
        EXPECT_TRUE(entries.verify(env_, object, signature));
        entries.destroy(env_, object);
    }

    void everything() {
        digests();
        encrypts();
        draws();
        signs(ZelSha256WithRsaSignatureSpi, keys().rsaPublic, keys().rsaPrivate, keys().rsaSignature);
        signs(ZelSha1WithDsaSignatureSpi, keys().dsaPublic, keys().dsaPrivate, "");
    }

    void requireRulesKept() const {
        EXPECT_EQ(jni_.pending(), "");
        EXPECT_EQ(jni_.violations, std::vector<std::string>());
        EXPECT_EQ(jni_.openRegions(), 0);
    }

private:
    jbyteArray array(const std::string& hex) {
        const std::vector<std::uint8_t> bytes = fromHex(hex);
        return jni_.newBytes(Bytes(bytes.begin(), bytes.end()));
    }
    static std::string hexOf(jbyteArray bytes) {
        const Bytes& content = FakeJni::of(bytes).bytes;
        return toHex({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    }
    void update(const SignatureEntryPoints& entries, jobject object) {
        entries.update(env_, object, jni_.newBytes({'a', 'b', 'c'}), 0, 3);
    }

    FakeJni jni_;
    JNIEnv* env_ = jni_.env();
};

TEST(Threads, EveryEngineInSixtyFour) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    (void)keys();
    const std::uint64_t dirty = testheap::dirtyFrees();
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (std::ptrdiff_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&start, i] {
            Caller caller;
            start.arrive_and_wait();
            // Each kind of engine is the first one of some threads.
            for (int round = 0; round < kRounds; ++round) {
                (i % 3 == 0 ? caller.draws() : i % 3 == 1 ? caller.encrypts() : caller.digests());
                caller.everything();
            }
            caller.requireRulesKept();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

} // namespace
