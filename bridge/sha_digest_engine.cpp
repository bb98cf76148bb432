#include "bridge/sha_digest_engine.h"

#include "bridge/java_arrays.h"
#include "bridge/zel_sha1_message_digest.h"
#include "bridge/zel_sha256_message_digest.h"

template <typename Hash> ShaDigestEngine<Hash>::~ShaDigestEngine() {
    (void)Hash::release(&context_); // null is skipped
}

template <typename Hash> void ShaDigestEngine<Hash>::reset(JNIEnv* env, jobject) {
    (void)requireOk(env, kProviderException, "error resetting digest", nativeReset());
}

template <typename Hash> enum_errDescrValues ShaDigestEngine<Hash>::nativeReset() {
    (void)Hash::release(&context_); // null is skipped
    RETURN_IF_ERROR(Hash::alloc(&context_));
    return Hash::init(context_);
}

template <typename Hash>
void ShaDigestEngine<Hash>::update(JNIEnv* env, jobject, jbyteArray input, jint offset, jint length) {
    Status status = OK;
    const auto work = [&](const std::uint8_t* bytes) {
        status = nativeUpdate(bytes, offset, length);
    };
    if (requireSlice(env, input, offset, length) && withBytes(env, input, offset + length, work) && isError(status)) {
        throwException(env, kProviderException, "unable to update digest");
    }
}

template <typename Hash> void ShaDigestEngine<Hash>::update(JNIEnv* env, jobject, jbyte input) {
    const auto byte = static_cast<std::uint8_t>(input);
    // Alone among the updates this one does not reset first: without a context it fails.
    if (isError(Hash::update(context_, &byte, 1))) {
        throwException(env, kProviderException, "unable to update digest");
    }
}

template <typename Hash>
enum_errDescrValues ShaDigestEngine<Hash>::nativeUpdate(const std::uint8_t* input, int offset, int length) {
    if (length < 0) {
        return ERR_INVALID_ARG;
    }
    if (context_ == nullptr) {
        RETURN_IF_ERROR(nativeReset());
    }
    return Hash::update(context_, input == nullptr ? nullptr : input + offset, static_cast<std::uint32_t>(length));
}

template <typename Hash> int ShaDigestEngine<Hash>::digest(JNIEnv* env, jobject object, std::uint8_t* output, int) {
    if (!ensureReady(env, object)) {
        return 0;
    }
    return resetOrRaise(env, object, Hash::finish(context_, output)) ? Hash::kDigestBytes : 0;
}

template <typename Hash>
jint ShaDigestEngine<Hash>::digest(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length) {
    if (!ensureReady(env, object) || !requireArray(env, output)) {
        return 0;
    }
    // The room is judged by the caller's length, although the whole digest is written; what is really written is judged
    // after that. 64 bits, because a negative offset could overflow.
    const jsize size = env->GetArrayLength(output);
    const std::int64_t room = std::int64_t{size} - offset;
    if (room < length || (offset >= 0 && room < Hash::kDigestBytes)) {
        throwException(env, kDigestException, "insufficient space for digest");
        return 0;
    }
    if (!requireSlice(env, size, offset, Hash::kDigestBytes)) {
        return 0;
    }
    return finishInto(env, object, output, offset) ? Hash::kDigestBytes : 0;
}

template <typename Hash> jbyteArray ShaDigestEngine<Hash>::digest(JNIEnv* env, jobject object) {
    if (!ensureReady(env, object)) {
        return nullptr;
    }
    const jbyteArray output = newArray(env, Hash::kDigestBytes);
    return output != nullptr && finishInto(env, object, output, 0) ? output : nullptr;
}

template <typename Hash> int ShaDigestEngine<Hash>::nativeDigest(std::uint8_t* output, int) {
    if (context_ == nullptr) {
        RETURN_IF_ERROR(nativeReset());
    }
    RETURN_IF_ERROR(Hash::finish(context_, output));
    (void)nativeReset(); // the digest is good even if this fails: the next call makes the missing context
    return Hash::kDigestBytes;
}

template <typename Hash> bool ShaDigestEngine<Hash>::ensureReady(JNIEnv* env, jobject object) {
    if (context_ == nullptr) {
        reset(env, object);
    }
    return context_ != nullptr;
}

template <typename Hash> bool ShaDigestEngine<Hash>::resetOrRaise(JNIEnv* env, jobject object, Status status) {
    if (!requireOk(env, kProviderException, "error calculating final digest", status)) {
        return false;
    }
    reset(env, object);
    return true;
}

template <typename Hash>
bool ShaDigestEngine<Hash>::finishInto(JNIEnv* env, jobject object, jbyteArray output, jint offset) {
    Status status = OK;
    const auto work = [&](std::uint8_t* bytes) {
        status = Hash::finish(context_, bytes + offset);
    };
    return withBytes(env, output, offset + Hash::kDigestBytes, work) && resetOrRaise(env, object, status);
}

ZelShaMessageDigest* copyOf(const ZelShaMessageDigest& engine) {
    const auto continued = [](auto* copy, const auto& original) -> ZelShaMessageDigest* {
        if (copy != nullptr && original.context_ != nullptr) {
            if (isError(copy->nativeReset())) {
                delete copy;
                return nullptr;
            }
            *copy->context_ = *original.context_;
        }
        return copy;
    };
    const auto* const sha1 = dynamic_cast<const ZelSha1MessageDigest*>(&engine);
    return sha1 != nullptr ? continued(new ZelSha1MessageDigest, *sha1)
                           : continued(new ZelSha256MessageDigest, static_cast<const ZelSha256MessageDigest&>(engine));
}

template class ShaDigestEngine<Sha1DigestHash>;
template class ShaDigestEngine<Sha256DigestHash>;
