// The key pair generators through their entry points.
#include "bridge/key_pair_steps.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/key_der.h"
#include "core/random/random.h"
#include "tests/bridge/fake_jni_test.h"
#include "tests/support/faults.h"

#include <algorithm>

extern "C" {
#define RSA_ENTRY(name) Java_com_vantrel_zel_provider_spi_ZelRsaKeyPairGeneratorSpi_##name
#define DSA_ENTRY(name) Java_com_vantrel_zel_provider_spi_ZelDsaKeyPairGeneratorSpi_##name
JNIEXPORT jbyteArray JNICALL RSA_ENTRY(generateRsaKeyPair0)(JNIEnv*, jobject, jint, jint);
JNIEXPORT void JNICALL RSA_ENTRY(deleteContext0)(JNIEnv*, jobject);
JNIEXPORT jbyteArray JNICALL DSA_ENTRY(generateDsaKeyPair0__I)(JNIEnv*, jobject, jint);
JNIEXPORT jbyteArray JNICALL DSA_ENTRY(generateDsaKeyPair0__I_3B_3B_3B)(JNIEnv*, jobject, jint, jbyteArray, jbyteArray,
                                                                        jbyteArray);
JNIEXPORT void JNICALL DSA_ENTRY(deleteContext0)(JNIEnv*, jobject);
}

namespace {

class KeyPairs : public FakeJniTest {
protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
        FakeJni jni;
        ASSERT_NE(ZelObject::getRandomContext(jni.env()), nullptr);
    }
    void TearDown() override {
        RSA_ENTRY(deleteContext0)(env, object);
        DSA_ENTRY(deleteContext0)(env, dsaObject);
        EXPECT_EQ(FakeJni::context0(dsaObject), 0);
        FakeJniTest::TearDown();
    }
    jbyteArray rsa(jint size, jint exponent = 65537) {
        return RSA_ENTRY(generateRsaKeyPair0)(env, object, size, exponent);
    }
    jbyteArray dsa(jint size) {
        return DSA_ENTRY(generateDsaKeyPair0__I_3B_3B_3B)(env, dsaObject, size, nullptr, nullptr, jni.newBytes({}));
    }

    jobject dsaObject = jni.newEngineObject();
};

TEST_F(KeyPairs, RsaExponentIsTheCoresOwn) {
    std::vector<jbyte>& der = FakeJni::of(rsa(1024, 3)).bytes;
    ScopedKey key;
    ASSERT_EQ(RsaKey_FromPublicDer(reinterpret_cast<const std::uint8_t*>(der.data()),
                                   static_cast<std::uint32_t>(der.size()), key.get()),
              OK);
    const RSAKey* const record = asymKeyRsa(key.get());
    EXPECT_EQ(record->privateKey, 1u);
    EXPECT_EQ(VLONG_bitLength(record->n), 1024u);
    EXPECT_EQ(VLONG_cmpUnit(record->e, 65537), 0);
}

// p, q and g are not read: null and empty arrays do.
TEST_F(KeyPairs, DsaParametersAreFresh) {
    const std::vector<jbyte> first = FakeJni::of(dsa(1024)).bytes;
    const std::vector<jbyte> second = FakeJni::of(DSA_ENTRY(generateDsaKeyPair0__I)(env, dsaObject, 1024)).bytes;
    ASSERT_GT(std::min(first.size(), second.size()), 400u);
    EXPECT_FALSE(std::equal(first.begin() + 7, first.begin() + 140, second.begin() + 7)); // p
}

TEST_F(KeyPairs, Refusals) {
    const std::string provider = "java/security/ProviderException: ";
    for (const auto& [size, status] : {std::pair{-1, "ERR_INVALID_ARG"},
                                       {-1024, "ERR_INVALID_ARG"},
                                       {897, "ERR_INVALID_ARG"},
                                       {1023, "ERR_INVALID_ARG"},
                                       {1100, "ERR_INVALID_ARG"},
                                       {16512, "ERR_INVALID_ARG"},
                                       {INT32_MAX, "ERR_INVALID_ARG"},
                                       {INT32_MIN, "ERR_INVALID_ARG"},
                                       {0, "ERR_RSA_KEY_LENGTH_TOO_SMALL"},
                                       {1, "ERR_RSA_KEY_LENGTH_TOO_SMALL"},
                                       {895, "ERR_RSA_KEY_LENGTH_TOO_SMALL"},
                                       {896, "ERR_RSA_KEY_LENGTH_TOO_SMALL"}}) {
        EXPECT_EQ(rsa(size), nullptr);
        EXPECT_EQ(jni.takePending(), provider + "error generating rsa key pair : " + status);
    }
    for (const jint size : {0, 512, 1023, 2048, 3072, -1024}) {
        EXPECT_EQ(dsa(size), nullptr);
        EXPECT_EQ(jni.takePending(), provider + "error generating dsa key pair : ERR_DSA_INVALID_KEYLENGTH");
    }
    const KeyPairSteps nothingMade = {
        "", "", AsymKey_MakeRsa, [](const RandomBytes&, AsymmetricKey*, jint) -> Status { return OK; }, RsaKey_ToDer};
    EXPECT_EQ(refused(newKeyPair(env, 1024, nothingMade)),
              provider + "error generating DER from key : ERR_RSA_KEY_NOT_READY");
    for (const bool isRsa : {true, false}) {
        const std::string name = isRsa ? "rsa" : "dsa";
        const auto generate = [&] {
            return isRsa ? rsa(1024) : dsa(1024);
        };
        testheap::refuse(1);
        EXPECT_EQ(generate(), nullptr);
        EXPECT_EQ(jni.takePending().find(provider + "error creating " + name + " key pair : ERR_"), 0u);
        const Fault fault(PlatformService::mutexWait, 1); // waits once more
        jni.newByteArrayGivesNull = true;
        EXPECT_EQ(generate(), nullptr);
        EXPECT_EQ(jni.takePending(), "java/lang/OutOfMemoryError: out of memory");
        jni.newByteArrayGivesNull = false;
    }
}

} // namespace
