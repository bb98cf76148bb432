// AesCipherTest: the cipher's entry points on one Java object, and the ciphertexts that they ought to give, computed
// from the core's AES.
#ifndef ZELSPI_TESTS_BRIDGE_AES_CIPHER_FIXTURE_H
#define ZELSPI_TESTS_BRIDGE_AES_CIPHER_FIXTURE_H

#include "core/aes/aes.h"
#include "tests/bridge/fake_jni_test.h"

extern "C" {
#define AES_ENTRY(name) Java_com_vantrel_zel_provider_spi_ZelAes256CipherSpi_##name
JNIEXPORT void JNICALL AES_ENTRY(engineInit0)(JNIEnv*, jobject, jint, jbyteArray, jbyteArray);
JNIEXPORT jbyteArray JNICALL AES_ENTRY(engineUpdate0___3BII)(JNIEnv*, jobject, jbyteArray, jint, jint);
JNIEXPORT jint JNICALL AES_ENTRY(engineUpdate0___3BII_3BI)(JNIEnv*, jobject, jbyteArray, jint, jint, jbyteArray, jint);
JNIEXPORT jbyteArray JNICALL AES_ENTRY(engineDoFinal0___3BII)(JNIEnv*, jobject, jbyteArray, jint, jint);
JNIEXPORT jint JNICALL AES_ENTRY(engineDoFinal0___3BII_3BI)(JNIEnv*, jobject, jbyteArray, jint, jint, jbyteArray, jint);
JNIEXPORT void JNICALL AES_ENTRY(deleteContext0)(JNIEnv*, jobject);
}

class AesCipherTest : public FakeJniTest {
public:
    using Bytes = std::vector<jbyte>;

    static constexpr jint kEncrypt = 1, kDecrypt = 2;
    const Bytes key = numbers(32, 7), iv = numbers(16, 100);
    const std::string kNotMade = "java/security/ProviderException: error creating aes context";
    const std::string kBadSize = "javax/crypto/BadPaddingException: invalid source buffer size";
    const std::string kBadPadding = "javax/crypto/BadPaddingException: invalid padding";
    const std::string kUpdateTooShort = "javax/crypto/ShortBufferException: output buffer has insufficient space";
    const std::string kFinalTooShort = "javax/crypto/ShortBufferException: insufficient bytes in output buffer";
    const std::string kOutside = "java/lang/ArrayIndexOutOfBoundsException: offset or length out of range";
    const std::string kNullArray = "java/lang/NullPointerException: array is null";
    const std::string kNoMemory = "java/lang/OutOfMemoryError: out of memory";

    void TearDown() override {
        AES_ENTRY(deleteContext0)(env, object);
        FakeJniTest::TearDown();
    }

    static Bytes numbers(std::size_t count, std::size_t first = 1) {
        Bytes bytes(count);
        for (std::size_t i = 0; i < count; ++i) {
            bytes[i] = static_cast<jbyte>(first + 3 * i);
        }
        return bytes;
    }
    static Bytes slice(const Bytes& bytes, std::size_t from, std::size_t to) {
        return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(to)};
    }
    static Bytes joined(Bytes a, const Bytes& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }
    static Bytes padded(Bytes message) {
        const std::size_t padding = 16 - message.size() % 16;
        message.insert(message.end(), padding, static_cast<jbyte>(padding));
        return message;
    }

    // Whole blocks through CBC from the IV given, without padding.
    Bytes encrypted(Bytes blocks, Bytes chain) const {
        AesContext context;
        EXPECT_EQ(aesInitKey(&context, 256, bytesOf(key), 1, kAesModeCbc), OK);
        EXPECT_EQ(aesDoBlocks(&context, bytesOf(blocks), static_cast<std::uint32_t>(blocks.size()), 1, bytesOf(chain)),
                  OK);
        return blocks;
    }
    Bytes encrypted(const Bytes& blocks) const {
        return encrypted(blocks, iv);
    }

    // A fresh engine.
    void start(jint mode) {
        AES_ENTRY(deleteContext0)(env, object);
        init(mode);
    }
    void init(jint mode) {
        AES_ENTRY(engineInit0)(env, object, mode, jni.newBytes(iv), jni.newBytes(key));
    }

    // The calls as they are, on arrays that the test has made.
    jbyteArray updateNew(jbyteArray in, jint offset, jint length) {
        return AES_ENTRY(engineUpdate0___3BII)(env, object, in, offset, length);
    }
    jbyteArray doFinalNew(jbyteArray in, jint offset, jint length) {
        return AES_ENTRY(engineDoFinal0___3BII)(env, object, in, offset, length);
    }
    jint updateInto(jbyteArray in, jint offset, jint length, jbyteArray out, jint outOffset) {
        return AES_ENTRY(engineUpdate0___3BII_3BI)(env, object, in, offset, length, out, outOffset);
    }
    jint doFinalInto(jbyteArray in, jint offset, jint length, jbyteArray out, jint outOffset) {
        return AES_ENTRY(engineDoFinal0___3BII_3BI)(env, object, in, offset, length, out, outOffset);
    }

    // Calls that are expected to succeed.
    static Bytes contents(jbyteArray array) {
        EXPECT_NE(array, nullptr);
        return array == nullptr ? Bytes() : FakeJni::of(array).bytes;
    }
    Bytes update(const Bytes& in, jint offset, jint length) {
        return contents(updateNew(jni.newBytes(in), offset, length));
    }
    Bytes update(const Bytes& in) {
        return update(in, 0, static_cast<jint>(in.size()));
    }
    Bytes doFinal(const Bytes& in) {
        return contents(doFinalNew(jni.newBytes(in), 0, static_cast<jint>(in.size())));
    }

    static std::uint8_t* bytesOf(Bytes& bytes) {
        return reinterpret_cast<std::uint8_t*>(bytes.data());
    }
    static const std::uint8_t* bytesOf(const Bytes& bytes) {
        return reinterpret_cast<const std::uint8_t*>(bytes.data());
    }
};

#endif
