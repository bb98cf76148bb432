// EngineUses: one complete use of each kind of engine through its entry points, in a Java environment of its own. A use
// begins with a call that forgets earlier ones, tells right from wrong, and can be repeated on the same objects.
#ifndef ZELSPI_TESTS_BRIDGE_ENGINE_USES_H
#define ZELSPI_TESTS_BRIDGE_ENGINE_USES_H

#include "tests/bridge/aes_cipher_fixture.h"
#include "tests/bridge/signature_fixture.h"

DECLARE_SIGNATURE_ENTRIES(ZelSha256WithRsaSignatureSpi);
DECLARE_SIGNATURE_ENTRIES(ZelSha1WithDsaSignatureSpi);

#define SPI_ENTRY(JavaClass, method) Java_com_vantrel_zel_provider_spi_##JavaClass##_##method
extern "C" {
JNIEXPORT jlong JNICALL Java_com_vantrel_zel_provider_ZelSecurityProvider_initRandomContext0(JNIEnv*, jobject);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSecureRandomSpi, engineSetSeed0)(JNIEnv*, jobject, jbyteArray);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSecureRandomSpi, engineNextBytes0)(JNIEnv*, jobject, jbyteArray);
JNIEXPORT jbyteArray JNICALL SPI_ENTRY(ZelRsaKeyPairGeneratorSpi, generateRsaKeyPair0)(JNIEnv*, jobject, jint, jint);
JNIEXPORT void JNICALL SPI_ENTRY(ZelRsaKeyPairGeneratorSpi, deleteContext0)(JNIEnv*, jobject);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSha256MessageDigestSpi, engineReset0)(JNIEnv*, jobject);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSha256MessageDigestSpi, engineUpdate0___3BII)(JNIEnv*, jobject, jbyteArray, jint,
                                                                                  jint);
JNIEXPORT jbyteArray JNICALL SPI_ENTRY(ZelSha256MessageDigestSpi, engineDigest0__)(JNIEnv*, jobject);
JNIEXPORT void JNICALL SPI_ENTRY(ZelSha256MessageDigestSpi, deleteContext0)(JNIEnv*, jobject);
}

class EngineUses {
public:
    using Bytes = std::vector<jbyte>;

    ~EngineUses() {
        deleteAll();
    }

    // Each returns "right", "wrong", or the exception that ended it, which is then no longer pending.
    std::string digests() {
        SPI_ENTRY(ZelSha256MessageDigestSpi, engineReset0)(env_, digest_);
        if (isPending()) {
            return jni.takePending();
        }
        SPI_ENTRY(ZelSha256MessageDigestSpi, engineUpdate0___3BII)(env_, digest_, jni.newBytes({'a', 'b', 'c'}), 0, 3);
        if (isPending()) {
            return jni.takePending();
        }
        const jbyteArray digest = SPI_ENTRY(ZelSha256MessageDigestSpi, engineDigest0__)(env_, digest_);
        // FIPS 180-2, appendix B.1
        return ended([&] {
            return FakeJni::hexOf(digest) == "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
        });
    }

    std::string encrypts() {
        const jbyteArray key = jni.newBytes(Bytes(32, 1)), iv = jni.newBytes(Bytes(16, 2));
        const Bytes message(1000, 3);
        AES_ENTRY(engineInit0)(env_, cipher_, 1, iv, key);
        const jbyteArray sent =
            isPending() ? nullptr : AES_ENTRY(engineDoFinal0___3BII)(env_, cipher_, jni.newBytes(message), 0, 1000);
        if (!isPending()) {
            AES_ENTRY(engineInit0)(env_, cipher_, 2, iv, key);
        }
        const jbyteArray received =
            isPending() ? nullptr : AES_ENTRY(engineDoFinal0___3BII)(env_, cipher_, sent, 0, 1008);
        return ended([&] { return FakeJni::of(received).bytes == message; });
    }

    // Draws, and adds entropy; the first of all makes the context.
    std::string draws() {
        const jbyteArray bytes = jni.newBytes(Bytes(500));
        (void)Java_com_vantrel_zel_provider_ZelSecurityProvider_initRandomContext0(env_, random_);
        if (!isPending()) {
            SPI_ENTRY(ZelSecureRandomSpi, engineNextBytes0)(env_, random_, bytes);
        }
        if (!isPending()) {
            SPI_ENTRY(ZelSecureRandomSpi, engineSetSeed0)(env_, random_, bytes);
        }
        return ended([&] { return FakeJni::of(bytes).bytes != Bytes(500); });
    }

    std::string signsRsa() {
        return signs(ZelSha256WithRsaSignatureSpi, rsa_, keys().rsaPublic, keys().rsaPrivate, keys().rsaSignature);
    }
    std::string signsDsa() {
        return signs(ZelSha1WithDsaSignatureSpi, dsa_, keys().dsaPublic, keys().dsaPrivate, "");
    }

    std::string generates() {
        const jbyteArray key = SPI_ENTRY(ZelRsaKeyPairGeneratorSpi, generateRsaKeyPair0)(env_, generator_, 1024, 3);
        return ended([&] { return FakeJni::of(key).bytes.size() > 600; });
    }

    // Ends all engines but the one for random numbers, which is not any caller's.
    void deleteAll() {
        SPI_ENTRY(ZelSha256MessageDigestSpi, deleteContext0)(env_, digest_);
        AES_ENTRY(deleteContext0)(env_, cipher_);
        ZelSha256WithRsaSignatureSpi.destroy(env_, rsa_);
        ZelSha1WithDsaSignatureSpi.destroy(env_, dsa_);
        SPI_ENTRY(ZelRsaKeyPairGeneratorSpi, deleteContext0)(env_, generator_);
    }

    FakeJni jni;

    // A key of each kind, with the signature of "abc" where there is only one.
    struct Keys {
        std::string rsaPublic, rsaPrivate, rsaSignature, dsaPublic, dsaPrivate;
    };

    static const Keys& keys() {
        static const Keys kKeys = [] {
            Keys keys;
#define RSA_KEY(bits, publicKey, privateKey, sha1, tail1, head1, sha256, ...)                                          \
    if (bits == 512) {                                                                                                 \
        keys.rsaPublic = publicKey, keys.rsaPrivate = privateKey, keys.rsaSignature = sha256;                          \
    }
#include "tests/bridge/rsa_vectors.inc"
#undef RSA_KEY
#define DSA_KEY(publicKey, otherAlgorithm, privateKey, signature)                                                      \
    keys.dsaPublic = publicKey, keys.dsaPrivate = privateKey;
#include "tests/bridge/dsa_example.inc"
#undef DSA_KEY
            return keys;
        }();
        return kKeys;
    }

private:
    bool isPending() const {
        return !jni.pending().empty();
    }
    template <typename Check> std::string ended(Check isRight) {
        const std::string raised = jni.takePending();
        return !raised.empty() ? raised : isRight() ? "right" : "wrong";
    }
    // Initialised with the key, and fed "abc"; whether nothing has been raised.
    bool isFed(const SignatureEntryPoints& entries, jobject object, bool forSigning, const std::string& key) {
        (forSigning ? entries.initSign : entries.initVerify)(env_, object, jni.newHex(key));
        if (!isPending()) {
            entries.update(env_, object, jni.newBytes({'a', 'b', 'c'}), 0, 3);
        }
        return !isPending();
    }
    std::string signs(const SignatureEntryPoints& entries, jobject object, const std::string& publicKey,
                      const std::string& privateKey, const std::string& expected) {
        const jbyteArray signature = isFed(entries, object, true, privateKey) ? entries.sign(env_, object) : nullptr;
        bool isValid = false;
        if (!isPending() && isFed(entries, object, false, publicKey)) {
            isValid = entries.verify(env_, object, signature) != JNI_FALSE;
        }
        return ended([&] { return isValid && (expected.empty() || FakeJni::hexOf(signature) == expected); });
    }

    JNIEnv* env_ = jni.env();
    jobject digest_ = jni.newEngineObject(), cipher_ = jni.newEngineObject(), random_ = jni.newEngineObject(),
            rsa_ = jni.newEngineObject(), dsa_ = jni.newEngineObject(), generator_ = jni.newEngineObject();
};

#endif
