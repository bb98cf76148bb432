// What a message is here: bytes that came in whole. The work itself are plain functions, which the registered methods call
// with copies of the Java arrays, and a Java that can call C itself with the arrays as they are.
#include "bridge/short_calls.h"

#include "bridge/engine_call.h"
#include "bridge/java_arrays.h"
#include "bridge/native_methods.h"
#include "bridge/zel_sha1_message_digest.h"
#include "bridge/zel_sha256_message_digest.h"
#include "core/aes/aes_kernels.h"

#include <cstring>

namespace {

constexpr jint kMostBytes = 4096;
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

// LocalBytes: the copy of a slice of a Java array, on the stack; what was used of it is wiped.
template <jint capacity> class LocalBytes {
public:
    LocalBytes() = default;
    LocalBytes(const LocalBytes&) = delete;
    LocalBytes& operator=(const LocalBytes&) = delete;
    ~LocalBytes() {
        memWipe(words_, static_cast<std::size_t>(used_));
    }

    // read: copies array[offset .. offset + length), write: copies back to it. The VM checks the slice.
    // Errors:  false with an exception pending: the array is null, the slice not inside, or longer than the capacity.
    bool read(JNIEnv* env, jbyteArray array, jint offset, jint length) {
        if (isAllowed(env, array, length)) {
            used_ = length;
            env->GetByteArrayRegion(array, offset, length, reinterpret_cast<jbyte*>(words_));
        }
        return env->ExceptionCheck() == JNI_FALSE;
    }
    bool write(JNIEnv* env, jbyteArray array, jint offset, jint length) {
        if (isAllowed(env, array, length)) {
            env->SetByteArrayRegion(array, offset, length, reinterpret_cast<const jbyte*>(words_));
        }
        return env->ExceptionCheck() == JNI_FALSE;
    }

    // result: where a result of the whole capacity is put together.
    std::uint32_t* result() {
        used_ = capacity;
        return words_;
    }
    std::uint8_t* data() {
        return reinterpret_cast<std::uint8_t*>(words_);
    }

private:
    static bool isAllowed(JNIEnv* env, jbyteArray array, jint length) {
        if (!requireArray(env, array)) {
            return false;
        }
        if (length < 0 || length > capacity) {
            ZelObject::throwStaticException(env, kArrayIndexOutOfBoundsException, "offset or length out of range", OK);
            return false;
        }
        return true;
    }

    std::uint32_t words_[std::size_t{capacity} / 4]; // words, because an expanded key is read as such
    jint used_ = 0;
};

// The methods of ShortCalls. Each gives the count of bytes that it has written.

jint digest0(JNIEnv* env, jclass, jint digestBytes, jbyteArray input, jint length, jbyteArray output, jint offset) {
    LocalBytes<kMostBytes> message;
    LocalBytes<Sha256DigestHash::kDigestBytes> digest;
    if (!message.read(env, input, 0, length)) {
        return 0;
    }
    (void)digest.result();
    const jint written = digestOf(digestBytes, message.data(), length, digest.data(), 0);
    return digest.write(env, output, offset, written) ? written : 0;
}

jint cbc0(JNIEnv* env, jclass, jint encrypts, jbyteArray stateArray, jbyteArray blocks, jint offset, jint length) {
    LocalBytes<kStateBytes> state;
    LocalBytes<kMostBytes> message;
    if (!state.read(env, stateArray, 0, kStateBytes) || !message.read(env, blocks, offset, length)) {
        return 0;
    }
    const jint written = cbcOver(encrypts, state.data(), message.data(), 0, length / kBlockBytes * kBlockBytes);
    return message.write(env, blocks, offset, written) ? written : 0;
}

// The expanded key of one direction, as cbc0 wants it in front of the chaining value.
jint expandKey0(JNIEnv* env, jclass, jint encrypts, jbyteArray keyArray, jbyteArray output, jint offset) {
    LocalBytes<kKeyBytes> key;
    LocalBytes<kScheduleBytes> schedule;
    if (!key.read(env, keyArray, 0, kKeyBytes)) {
        return 0;
    }
    const AesModes& kernel = aesKernel().run;
    if (encrypts != 0) {
        kernel.expandKey(key.data(), 8 * kKeyBytes, schedule.result());
    } else {
        SecretArray<std::uint32_t, kScheduleWords> encryption;
        kernel.expandKey(key.data(), 8 * kKeyBytes, encryption.data());
        kernel.invertSchedule(encryption.data(), kRounds, schedule.result());
    }
    return schedule.write(env, output, offset, kScheduleBytes) ? kScheduleBytes : 0;
}

// Where the functions above stand, for a Java that calls C itself; 0 for a number that stands for none.
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

// The method of ZelMessageDigestSpi. In the place of an engine that self has, it is given a copy of the other's; of none,
// none.
template <typename Engine> ZelShaMessageDigest* copyOf(const ZelShaMessageDigest& engine) {
    const auto* const original = dynamic_cast<const Engine*>(&engine);
    Engine* const copy = original == nullptr ? nullptr : new Engine;
    if (copy != nullptr && isError(copy->continueFrom(*original))) {
        delete copy;
        return nullptr;
    }
    return copy;
}

void copyEngine0(JNIEnv* env, jobject self, jobject from) {
    if (from == nullptr) {
        ZelObject::throwStaticException(env, kNullPointerException, "digest is null", OK);
        return;
    }
    const ZelShaMessageDigest* const original = findEngine<ZelShaMessageDigest>(env, from);
    if (original == nullptr || env->IsSameObject(self, from) != JNI_FALSE) {
        return;
    }
    ZelShaMessageDigest* copy = copyOf<ZelSha1MessageDigest>(*original);
    copy = copy == nullptr ? copyOf<ZelSha256MessageDigest>(*original) : copy;
    if (copy == nullptr) {
        raiseOutOfMemory(env);
        return;
    }
    destroyEngine<ZelShaMessageDigest>(env, self);
    ZelObject::setContext(env, self, copy);
}

} // namespace

void registerShortCalls(JNIEnv* env) {
    const JNINativeMethod shortCalls[] = {
        nativeMethod("digest0", "(I[BI[BI)I", digest0),
        nativeMethod("cbc0", "(I[B[BII)I", cbc0),
        nativeMethod("expandKey0", "(I[B[BI)I", expandKey0),
        nativeMethod("address0", "(I)J", address0),
    };
    registerMethods(env, "com/vantrel/zel/provider/internal/ShortCalls", shortCalls);
    const JNINativeMethod copyEngine[] = {
        nativeMethod("copyEngine0", "(Lcom/vantrel/zel/provider/spi/ZelMessageDigestSpi;)V", copyEngine0),
    };
    registerMethods(env, "com/vantrel/zel/provider/spi/ZelMessageDigestSpi", copyEngine);
}
