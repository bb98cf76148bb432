// The work itself is plain functions. The registered methods call them, and so does Java itself where it has foreign function
// calls. The methods check every argument; for foreign calls the Java side has done that.
#include "bridge/short_calls.h"

#include "bridge/engine_call.h"
#include "bridge/java_arrays.h"
#include "bridge/native_methods.h"
#include "bridge/zel_secure_random.h"
#include "bridge/zel_sha1_message_digest.h"
#include "bridge/zel_sha256_message_digest.h"
#include "core/aes/aes_kernels.h"

#include <cstring>

namespace {

constexpr jint kKeyBytes = 32;
constexpr std::int32_t kRounds = 14;
constexpr jint kBlockBytes = 16;
constexpr jint kScheduleWords = 60;
constexpr jint kScheduleBytes = 4 * kScheduleWords;
// What stands in the array that Java keeps for a cipher: the expanded key of one direction, then the chaining value.
constexpr jint kStateBytes = kScheduleBytes + kBlockBytes;

// digestOf: the digest of input[length] in output[offset ..]; which hash, its length says.
// Errors:  0 instead of the digest's length: there is no such hash.
jint digestOf(jint digestBytes, const std::uint8_t* input, jint length, std::uint8_t* output, jint offset) {
    const auto inputBytes = static_cast<std::uint32_t>(length);
    switch (digestBytes) {
    case Sha1DigestHash::kDigestBytes:
        return isError(sha1Digest(input, inputBytes, output + offset)) ? 0 : digestBytes;
    case Sha256DigestHash::kDigestBytes:
        return isError(sha256Digest(input, inputBytes, output + offset)) ? 0 : digestBytes;
    default:
        return 0;
    }
}

// cbcOver: AES-256 in CBC mode over blocks[offset .. offset + length), whole blocks, in place; encrypts is 0 for decryption.
// Shapes:  state[kStateBytes], only read. The result is length.
jint cbcOver(jint encrypts, const std::uint8_t* state, std::uint8_t* blocks, jint offset, jint length) {
    const AesModes& kernel = aesKernel().run;
    std::uint8_t chaining[kBlockBytes]; // an IV or ciphertext: no secret
    std::memcpy(chaining, state + kScheduleBytes, sizeof chaining);
    (encrypts != 0 ? kernel.cbcEncrypt : kernel.cbcDecrypt)(reinterpret_cast<const std::uint32_t*>(state), kRounds,
                                                            chaining, blocks + offset, blocks + offset,
                                                            static_cast<std::size_t>(length / kBlockBytes));
    return length;
}

// give: writes bytes[length] to output[offset ..], whose bounds the VM checks.
jint give(JNIEnv* env, const std::uint8_t* bytes, jbyteArray output, jint offset, jint length) {
    env->SetByteArrayRegion(output, offset, length, reinterpret_cast<const jbyte*>(bytes));
    return length;
}

// The methods of ShortCalls. Each returns how many bytes it has written, which means nothing with an exception pending.

jint digest0(JNIEnv* env, jclass, jint digestBytes, jbyteArray input, jint length, jbyteArray output, jint offset) {
    SecretArray<std::uint8_t, Sha256DigestHash::kDigestBytes> digest;
    jint written = 0;
    const auto work = [&](const std::uint8_t* message) {
        written = digestOf(digestBytes, message, length, digest.data(), 0);
    };
    return requireArray(env, output) && requireSlice(env, input, 0, length) && withBytes(env, input, length, work)
               ? give(env, digest.data(), output, offset, written)
               : 0;
}

jint cbc0(JNIEnv* env, jclass, jint encrypts, jbyteArray state, jbyteArray blocks, jint offset, jint length) {
    if (!requireSlice(env, state, 0, kStateBytes) || !requireSlice(env, blocks, offset, length)) {
        return 0;
    }
    {
        const CriticalBytes text(env, blocks, offset + length); // first: the state may be the same array
        if (text.isOpen()) {
            const CriticalBytes key(env, state, kStateBytes);
            if (key.isOpen()) {
                return cbcOver(encrypts, key.data(), text.data(), offset, length / kBlockBytes * kBlockBytes);
            }
        }
    }
    raiseOutOfMemory(env);
    return 0;
}

// The expanded key of one direction, as cbc0 wants it in front of the chaining value.
jint expandKey0(JNIEnv* env, jclass, jint encrypts, jbyteArray keyArray, jbyteArray output, jint offset) {
    if (!requireArray(env, output) || !requireSlice(env, keyArray, 0, kKeyBytes)) {
        return 0;
    }
    const AesModes& kernel = aesKernel().run;
    SecretArray<std::uint32_t, kScheduleWords> encryption, decryption;
    const auto work = [&](const std::uint8_t* key) {
        kernel.expandKey(key, 8 * kKeyBytes, encryption.data());
    };
    if (!withBytes(env, keyArray, kKeyBytes, work)) {
        return 0;
    }
    kernel.invertSchedule(encryption.data(), kRounds, decryption.data());
    const auto& schedule = encrypts != 0 ? encryption : decryption;
    return give(env, reinterpret_cast<const std::uint8_t*>(schedule.data()), output, offset, kScheduleBytes);
}

// The one engine of all random objects needs none of them.
void nextBytes0(JNIEnv* env, jclass, jbyteArray bytes) {
    ZelSecureRandom::instance()->nextBytes(env, nullptr, bytes);
}

// The address of one of the plain functions, for foreign function calls; 0 for a number that stands for none.
jlong address0(JNIEnv*, jclass, jint function) {
    switch (function) {
    case 0:
        return static_cast<jlong>(reinterpret_cast<std::intptr_t>(digestOf));
    case 1:
        return static_cast<jlong>(reinterpret_cast<std::intptr_t>(cbcOver));
    default:
        return 0;
    }
}

// The method of ZelMessageDigestSpi. An engine that self has already stays; if `from` has none, nothing happens.
void copyEngine0(JNIEnv* env, jobject self, jobject from) {
    if (from == nullptr) {
        ZelObject::throwStaticException(env, kNullPointerException, "digest is null", OK);
        return;
    }
    if (const auto* const original = findEngine<ZelShaMessageDigest>(env, from)) {
        const auto copy = [original] {
            return copyOf(*original);
        };
        (void)findOrMakeEngine<ZelShaMessageDigest>(env, self, copy, [](const ZelShaMessageDigest&) {});
    }
}

} // namespace

void registerShortCalls(JNIEnv* env) {
    const JNINativeMethod shortCalls[] = {
        nativeMethod("digest0", "(I[BI[BI)I", digest0),      nativeMethod("cbc0", "(I[B[BII)I", cbc0),
        nativeMethod("expandKey0", "(I[B[BI)I", expandKey0), nativeMethod("nextBytes0", "([B)V", nextBytes0),
        nativeMethod("address0", "(I)J", address0),
    };
    registerMethods(env, "com/vantrel/zel/provider/internal/ShortCalls", shortCalls);
    const JNINativeMethod copyEngine[] = {
        nativeMethod("copyEngine0", "(Lcom/vantrel/zel/provider/spi/ZelMessageDigestSpi;)V", copyEngine0),
    };
    registerMethods(env, "com/vantrel/zel/provider/spi/ZelMessageDigestSpi", copyEngine);
}
