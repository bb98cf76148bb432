// The entry points: all functions that Java finds by their names, a row for each. The tests read the rows, too, and hold the
// library's exports to them.
//
// ENTRY(result, class, method, arguments, engine, call) finds the engine of the Java object by engine(env, self) and hands
// env, self and the arguments on to its method `call`; without an engine, which leaves an exception pending, the result is
// neutral. FUNCTION(result, class, method, arguments, function) calls function(env, self, arguments). Classes stand below
// com.vantrel.zel.provider, and methods that are overloaded have their argument types behind them, as JNI spells them.
#include "bridge/engine_call.h"
#include "bridge/zel_aes256_cipher.h"
#include "bridge/zel_dsa_key_pair_generator.h"
#include "bridge/zel_rsa_key_pair_generator.h"
#include "bridge/zel_secure_random.h"
#include "bridge/zel_sha1_message_digest.h"
#include "bridge/zel_sha1_with_dsa_signature.h"
#include "bridge/zel_sha256_message_digest.h"
#include "bridge/zel_sha_with_rsa_signature.h"

namespace {

// What the rows name: makers find the engine or make it, the others ask for it.

template <typename Engine, typename Bound = Engine, auto... arguments> Bound* findOrMake(JNIEnv* env, jobject self) {
    return findOrMakeEngine<Bound>(
        env, self, [] { return new Engine(arguments...); }, [](Bound&) {});
}
constexpr auto aes = findOrMake<ZelAes256Cipher>;
constexpr auto rsaKeyPairs = findOrMake<ZelRsaKeyPairGenerator>;
constexpr auto dsaKeyPairs = findOrMake<ZelDsaKeyPairGenerator>;
constexpr auto sha1WithRsa = findOrMake<ZelShaWithRsaSignature, ZelShaWithRsaSignature, kSignatureSha1>;
constexpr auto sha256WithRsa = findOrMake<ZelShaWithRsaSignature, ZelShaWithRsaSignature, kSignatureSha256>;
constexpr auto sha1WithDsa = findOrMake<ZelSha1WithDsaSignature>;
constexpr auto sha1 = findOrMake<ZelSha1MessageDigest, ZelShaMessageDigest>;
constexpr auto sha256 = findOrMake<ZelSha256MessageDigest, ZelShaMessageDigest>;

// An engine that has just been made is reset first, so that a digest is always ready.
template <typename Engine> ZelShaMessageDigest* readyDigest(JNIEnv* env, jobject self) {
    return findOrMakeEngine<ZelShaMessageDigest>(
        env, self, [] { return new Engine; }, [&](ZelShaMessageDigest& engine) { engine.reset(env, self); });
}
constexpr auto sha1Ready = readyDigest<ZelSha1MessageDigest>;
constexpr auto sha256Ready = readyDigest<ZelSha256MessageDigest>;

// The texts differ and are misspelt: programs know them.
ZelAes256Cipher* aesInUpdate(JNIEnv* env, jobject self) {
    return requireEngine<ZelAes256Cipher>(env, self, "aes engine not intialized");
}
ZelAes256Cipher* aesInUse(JNIEnv* env, jobject self) {
    return requireEngine<ZelAes256Cipher>(env, self, "aes engine not initialized");
}
template <typename Engine> Engine* signatureInUse(JNIEnv* env, jobject self) {
    return requireEngine<Engine>(env, self, "sig engine not intialized");
}
constexpr auto rsaInUse = signatureInUse<ZelShaWithRsaSignature>;
constexpr auto dsaInUse = signatureInUse<ZelSha1WithDsaSignature>;

// The one engine of all objects, bound to self on its first call. Null with an exception pending: the binding cannot be read
// or written.
ZelSecureRandom* sharedRandom(JNIEnv* env, jobject self) {
    ZelSecureRandom* const engine = findEngine<ZelSecureRandom>(env, self);
    if (engine == nullptr && env->ExceptionCheck() == JNI_FALSE) {
        ZelObject::setContext(env, self, ZelSecureRandom::instance());
        return env->ExceptionCheck() == JNI_FALSE ? ZelSecureRandom::instance() : nullptr;
    }
    return engine;
}

jlong makeRandomContext(JNIEnv* env, jobject) {
    return static_cast<jlong>(reinterpret_cast<std::intptr_t>(ZelObject::getRandomContext(env)));
}

void deleteDigest(JNIEnv* env, jobject self) {
    if (ZelShaMessageDigest* const engine = findEngine<ZelShaMessageDigest>(env, self)) {
        delete engine; // the digests alone destroy before they clear the field
        ZelObject::setContext(env, self, nullptr);
    }
}

// The result of a method that has no engine to call. Of verify, which alone gives a boolean, it is true.
template <typename Result> Result neutral() {
    return Result();
}
template <> jboolean neutral() {
    return JNI_TRUE;
}

} // namespace

// The names of up to five arguments behind their types, and alone.
#define NAMED_0()
#define NAMED_1(A) , A a
#define NAMED_2(A, B) NAMED_1(A), B b
#define NAMED_3(A, B, C) NAMED_2(A, B), C c
#define NAMED_4(A, B, C, D) NAMED_3(A, B, C), D d
#define NAMED_5(A, B, C, D, E) NAMED_4(A, B, C, D), E e
#define NAMES_0()
#define NAMES_1(A) , a
#define NAMES_2(A, B) , a, b
#define NAMES_3(A, B, C) , a, b, c
#define NAMES_4(A, B, C, D) , a, b, c, d
#define NAMES_5(A, B, C, D, E) , a, b, c, d, e
#define SIXTH_OF(_1, _2, _3, _4, _5, _6, ...) _6
#define COUNT_OF(...) SIXTH_OF(__VA_ARGS__ __VA_OPT__(, ) 5, 4, 3, 2, 1, 0)
#define JOIN(a, b) JOIN_NOW(a, b)
#define JOIN_NOW(a, b) a##b
#define NAMED(...) JOIN(NAMED_, COUNT_OF(__VA_ARGS__))(__VA_ARGS__)
#define NAMES(...) JOIN(NAMES_, COUNT_OF(__VA_ARGS__))(__VA_ARGS__)

#define FUNCTION(Result, Class, method, arguments, function)                                                           \
    extern "C" JNIEXPORT Result JNICALL Java_com_vantrel_zel_provider_##Class##_##method(                              \
        JNIEnv* env, jobject self NAMED arguments) {                                                                   \
        return function(env, self NAMES arguments);                                                                    \
    }
#define ENTRY(Result, Class, method, arguments, engine, call)                                                          \
    extern "C" JNIEXPORT Result JNICALL Java_com_vantrel_zel_provider_##Class##_##method(                              \
        JNIEnv* env, jobject self NAMED arguments) {                                                                   \
        auto* const receiver = engine(env, self);                                                                      \
        return receiver == nullptr ? neutral<Result>()                                                                 \
                                   : static_cast<Result>(receiver->call(env, self NAMES arguments));                   \
    }

// The start of the provider.
FUNCTION(jlong, ZelSecurityProvider, initRandomContext0, (), makeRandomContext)

// Digests.
ENTRY(void, spi_ZelSha1MessageDigestSpi, engineUpdate0__B, (jbyte), sha1Ready, update)
ENTRY(void, spi_ZelSha1MessageDigestSpi, engineUpdate0___3BII, (jbyteArray, jint, jint), sha1Ready, update)
ENTRY(void, spi_ZelSha1MessageDigestSpi, engineReset0, (), sha1, reset)
ENTRY(jbyteArray, spi_ZelSha1MessageDigestSpi, engineDigest0__, (), sha1Ready, digest)
ENTRY(jint, spi_ZelSha1MessageDigestSpi, engineDigest0___3BII, (jbyteArray, jint, jint), sha1Ready, digest)
FUNCTION(void, spi_ZelSha1MessageDigestSpi, deleteContext0, (), deleteDigest)
ENTRY(void, spi_ZelSha256MessageDigestSpi, engineUpdate0__B, (jbyte), sha256Ready, update)
ENTRY(void, spi_ZelSha256MessageDigestSpi, engineUpdate0___3BII, (jbyteArray, jint, jint), sha256Ready, update)
ENTRY(void, spi_ZelSha256MessageDigestSpi, engineReset0, (), sha256, reset)
ENTRY(jbyteArray, spi_ZelSha256MessageDigestSpi, engineDigest0__, (), sha256Ready, digest)
ENTRY(jint, spi_ZelSha256MessageDigestSpi, engineDigest0___3BII, (jbyteArray, jint, jint), sha256Ready, digest)
FUNCTION(void, spi_ZelSha256MessageDigestSpi, deleteContext0, (), deleteDigest)

// The cipher.
ENTRY(void, spi_ZelAes256CipherSpi, engineInit0, (jint, jbyteArray, jbyteArray), aes, init)
ENTRY(jbyteArray, spi_ZelAes256CipherSpi, engineUpdate0___3BII, (jbyteArray, jint, jint), aesInUpdate, update)
ENTRY(jint, spi_ZelAes256CipherSpi, engineUpdate0___3BII_3BI, (jbyteArray, jint, jint, jbyteArray, jint), aesInUse,
      update)
ENTRY(jbyteArray, spi_ZelAes256CipherSpi, engineDoFinal0___3BII, (jbyteArray, jint, jint), aesInUse, doFinal)
ENTRY(jint, spi_ZelAes256CipherSpi, engineDoFinal0___3BII_3BI, (jbyteArray, jint, jint, jbyteArray, jint), aesInUse,
      doFinal)
FUNCTION(void, spi_ZelAes256CipherSpi, deleteContext0, (), destroyEngine<ZelAes256Cipher>)

// Random bytes.
ENTRY(void, spi_ZelSecureRandomSpi, engineSetSeed0, (jbyteArray), sharedRandom, setSeed)
ENTRY(void, spi_ZelSecureRandomSpi, engineNextBytes0, (jbyteArray), sharedRandom, nextBytes)
ENTRY(jbyteArray, spi_ZelSecureRandomSpi, engineGenerateSeed0, (jint), sharedRandom, generateSeed)

// Signatures.
ENTRY(void, spi_ZelSha1WithRsaSignatureSpi, engineInitVerify0, (jbyteArray), sha1WithRsa, initVerify)
ENTRY(void, spi_ZelSha1WithRsaSignatureSpi, engineInitSign0, (jbyteArray), sha1WithRsa, initSign)
ENTRY(void, spi_ZelSha1WithRsaSignatureSpi, engineUpdate0__B, (jbyte), rsaInUse, update)
ENTRY(void, spi_ZelSha1WithRsaSignatureSpi, engineUpdate0___3BII, (jbyteArray, jint, jint), rsaInUse, update)
ENTRY(jbyteArray, spi_ZelSha1WithRsaSignatureSpi, engineSign0__, (), rsaInUse, sign)
ENTRY(jint, spi_ZelSha1WithRsaSignatureSpi, engineSign0___3BII, (jbyteArray, jint, jint), rsaInUse, sign)
ENTRY(jboolean, spi_ZelSha1WithRsaSignatureSpi, engineVerify0___3B, (jbyteArray), rsaInUse, verify)
ENTRY(jboolean, spi_ZelSha1WithRsaSignatureSpi, engineVerify0___3BII, (jbyteArray, jint, jint), rsaInUse, verify)
FUNCTION(void, spi_ZelSha1WithRsaSignatureSpi, deleteContext0, (), destroyEngine<ZelShaWithRsaSignature>)
ENTRY(void, spi_ZelSha256WithRsaSignatureSpi, engineInitVerify0, (jbyteArray), sha256WithRsa, initVerify)
ENTRY(void, spi_ZelSha256WithRsaSignatureSpi, engineInitSign0, (jbyteArray), sha256WithRsa, initSign)
ENTRY(void, spi_ZelSha256WithRsaSignatureSpi, engineUpdate0__B, (jbyte), rsaInUse, update)
ENTRY(void, spi_ZelSha256WithRsaSignatureSpi, engineUpdate0___3BII, (jbyteArray, jint, jint), rsaInUse, update)
ENTRY(jbyteArray, spi_ZelSha256WithRsaSignatureSpi, engineSign0__, (), rsaInUse, sign)
ENTRY(jint, spi_ZelSha256WithRsaSignatureSpi, engineSign0___3BII, (jbyteArray, jint, jint), rsaInUse, sign)
ENTRY(jboolean, spi_ZelSha256WithRsaSignatureSpi, engineVerify0___3B, (jbyteArray), rsaInUse, verify)
ENTRY(jboolean, spi_ZelSha256WithRsaSignatureSpi, engineVerify0___3BII, (jbyteArray, jint, jint), rsaInUse, verify)
FUNCTION(void, spi_ZelSha256WithRsaSignatureSpi, deleteContext0, (), destroyEngine<ZelShaWithRsaSignature>)
ENTRY(void, spi_ZelSha1WithDsaSignatureSpi, engineInitVerify0, (jbyteArray), sha1WithDsa, initVerify)
ENTRY(void, spi_ZelSha1WithDsaSignatureSpi, engineInitSign0, (jbyteArray), sha1WithDsa, initSign)
ENTRY(void, spi_ZelSha1WithDsaSignatureSpi, engineUpdate0__B, (jbyte), dsaInUse, update)
ENTRY(void, spi_ZelSha1WithDsaSignatureSpi, engineUpdate0___3BII, (jbyteArray, jint, jint), dsaInUse, update)
ENTRY(jbyteArray, spi_ZelSha1WithDsaSignatureSpi, engineSign0__, (), dsaInUse, sign)
ENTRY(jint, spi_ZelSha1WithDsaSignatureSpi, engineSign0___3BII, (jbyteArray, jint, jint), dsaInUse, sign)
ENTRY(jboolean, spi_ZelSha1WithDsaSignatureSpi, engineVerify0___3B, (jbyteArray), dsaInUse, verify)
ENTRY(jboolean, spi_ZelSha1WithDsaSignatureSpi, engineVerify0___3BII, (jbyteArray, jint, jint), dsaInUse, verify)
FUNCTION(void, spi_ZelSha1WithDsaSignatureSpi, deleteContext0, (), destroyEngine<ZelSha1WithDsaSignature>)

// Key pairs.
ENTRY(jbyteArray, spi_ZelRsaKeyPairGeneratorSpi, generateRsaKeyPair0, (jint, jint), rsaKeyPairs, generateKeyPair)
FUNCTION(void, spi_ZelRsaKeyPairGeneratorSpi, deleteContext0, (), destroyEngine<ZelRsaKeyPairGenerator>)
ENTRY(jbyteArray, spi_ZelDsaKeyPairGeneratorSpi, generateDsaKeyPair0__I, (jint), dsaKeyPairs, generateKeyPair)
ENTRY(jbyteArray, spi_ZelDsaKeyPairGeneratorSpi, generateDsaKeyPair0__I_3B_3B_3B,
      (jint, jbyteArray, jbyteArray, jbyteArray), dsaKeyPairs, generateKeyPair)
FUNCTION(void, spi_ZelDsaKeyPairGeneratorSpi, deleteContext0, (), destroyEngine<ZelDsaKeyPairGenerator>)
