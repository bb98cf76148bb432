#include "bridge/zel_sha1_with_dsa_signature.h"

#include "bridge/java_arrays.h"
#include "bridge/zel_sha1_message_digest.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/dsa/dsa_der.h"
#include "core/pubkey/dsa/dsa_sign.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/random/shared_random.h"

#include <algorithm>

namespace {

// The lengths of signatures by a q of 160 bits, but for one in some sixteen million.
constexpr jsize kMinSignatureBytes = 44;
constexpr jsize kMaxSignatureBytes = 48;

// A private key, of this engine's kind.
Status readPrivateKey(const SecretBuffer& der, AsymmetricKey* key) {
    RETURN_IF_ERROR(asymKeyReadSigner(der.data(), static_cast<std::uint32_t>(der.size()), key));
    if (asymKeyDsa(key) == nullptr) { // the reader reads keys of RSA as well
        (void)AsymKey_Uninit(key, nullptr);
        return ERR_BAD_KEY_TYPE;
    }
    return OK;
}

} // namespace

ZelSha1WithDsaSignature::ZelSha1WithDsaSignature() : digestLength_(kSha1DigestBytes) {
}

ZelSha1WithDsaSignature::~ZelSha1WithDsaSignature() = default;

bool ZelSha1WithDsaSignature::reset(JNIEnv* env, jobject object) {
    return state_.reset(env, object, new ZelSha1MessageDigest);
}

void ZelSha1WithDsaSignature::initVerify(JNIEnv* env, jobject object, jbyteArray publicKey) {
    SecretBuffer copy;
    if (!reset(env, object) || !requireArray(env, publicKey) || !copyOfArray(env, publicKey, &copy)) {
        return;
    }
    const Status status = parseDSAPublicKey(copy.data(), static_cast<std::uint32_t>(copy.size()), state_.key());
    if (requireOk(env, kProviderException, "unable to read dsa public key", status)) {
        state_.setMode(SignatureState::kVerifying);
    }
}

void ZelSha1WithDsaSignature::initSign(JNIEnv* env, jobject object, jbyteArray privateKey) {
    SecretBuffer copy;
    if (!reset(env, object) || !requireArray(env, privateKey) || !copyOfArray(env, privateKey, &copy)) {
        return;
    }
    // Also when the key cannot be read: sign then fails because the key is missing, not the initialisation. On purpose.
    state_.setMode(SignatureState::kSigning);
    (void)requireOk(env, kProviderException, "unable to read dsa private key", readPrivateKey(copy, state_.key()));
}

void ZelSha1WithDsaSignature::update(JNIEnv* env, jobject object, jbyte input) {
    state_.update(env, object, input);
}

void ZelSha1WithDsaSignature::update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length) {
    state_.update(env, object, input, offset, length);
}

// Ends the message; its digest as an integer.
bool ZelSha1WithDsaSignature::finishMessage(JNIEnv* env, jobject object, vlong** message) {
    std::uint8_t digest[kSha1DigestBytes];
    return state_.finishDigest(env, object, digest, digestLength_) &&
           requireOk(env, "converting message to vlong",
                     VLONG_fromBytes(digest, static_cast<std::int32_t>(digestLength_), message, nullptr));
}

// The signature in a new buffer. On failure the status is a general one; that of the failed step is in the exception.
Status ZelSha1WithDsaSignature::sign(JNIEnv* env, jobject object, std::uint8_t** signature, std::uint32_t* length) {
    if (!state_.requireMode(env, SignatureState::kSigning)) {
        return ERR_INVALID_ARG;
    }
    ScopedVlong message(nullptr);
    if (!finishMessage(env, object, message.out())) {
        return ERR_INTERNAL_ERROR;
    }
    RandomContext* const context = getRandomContext(env); // without one, its exception is the cause of the next
    ScopedVlong r(nullptr);
    ScopedVlong s(nullptr);
    bool verified = false;
    const Status status = context == nullptr ? ERR_NULL_POINTER
                                             : dsaSignMakingY(sharedBytes(context), asymKeyDsa(state_.key()),
                                                              message.get(), &verified, r.out(), s.out(), nullptr);
    if (!requireOk(env, "error signing message", status)) {
        return ERR_INTERNAL_ERROR;
    }
    if (!verified) {
        throwException(env, kSignatureException, "error signing message, failed to verify");
        return ERR_PKCS7_INVALID_SIGNATURE;
    }
    const Status encoding = createDSASignature(r.get(), s.get(), signature, length);
    return requireOk(env, "error creating dsa signature", encoding) ? OK : ERR_INTERNAL_ERROR;
}

// The same with the exception of both public forms, and the end of the message.
bool ZelSha1WithDsaSignature::signInto(JNIEnv* env, jobject object, SecretBuffer* signature) {
    std::uint8_t* bytes = nullptr;
    std::uint32_t length = 0;
    const Status status = sign(env, object, &bytes, &length);
    signature->adopt(bytes, length);
    // The exception has the step's own one as its cause. One that reset raises, Java sees in place of the signature.
    return requireOk(env, "error calculating signature", status) && reset(env, object);
}

jbyteArray ZelSha1WithDsaSignature::sign(JNIEnv* env, jobject object) {
    SecretBuffer signature;
    if (!state_.requireMode(env, SignatureState::kSigning) || !signInto(env, object, &signature)) {
        return nullptr;
    }
    return arrayOf(env, signature.data(), static_cast<std::uint32_t>(signature.size()));
}

jint ZelSha1WithDsaSignature::sign(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length) {
    SecretBuffer signature;
    if (!state_.requireMode(env, SignatureState::kSigning) || !requireArray(env, output) ||
        !signInto(env, object, &signature)) {
        return 0;
    }
    const auto count = static_cast<jint>(signature.size());
    // The caller's length less the offset, not the room in the array, is what is judged: on purpose. The array is
    // judged besides, so that nothing outside it is written. 64 bits, because the differences could overflow.
    if (std::int64_t{length} - offset < count || offset < 0 ||
        std::int64_t{env->GetArrayLength(output)} - offset < count) {
        throwException(env, kSignatureException, "insufficient space for signature");
        return 0;
    }
    const auto write = [&](std::uint8_t* bytes) {
        std::copy_n(signature.data(), count, bytes + offset);
    };
    return withBytes(env, output, offset + count, write) ? count : 0;
}

bool ZelSha1WithDsaSignature::verify(JNIEnv* env, jobject object, jbyteArray signature) {
    return verify(env, object, signature, 0, 0);
}

bool ZelSha1WithDsaSignature::verify(JNIEnv* env, jobject object, jbyteArray signature, jint, jint) {
    if (!state_.requireMode(env, SignatureState::kVerifying) || !requireArray(env, signature)) {
        return false;
    }
    const jsize size = env->GetArrayLength(signature);
    if (size < kMinSignatureBytes || size > kMaxSignatureBytes) {
        throwException(env, kSignatureException, "invalid signature size");
        return false;
    }
    ScopedVlong message(nullptr);
    if (!finishMessage(env, object, message.out())) {
        return false;
    }
    ScopedVlong r(nullptr);
    ScopedVlong s(nullptr);
    Status status = OK;
    const auto parse = [&](const std::uint8_t* bytes) {
        status = parseDSASignature(bytes, static_cast<std::uint32_t>(size), r.out(), s.out());
    };
    if (!withBytes(env, signature, size, parse) || !requireOk(env, "error parsing signature", status)) {
        return false;
    }
    bool valid = false;
    status = Dsa_Verify(asymKeyDsa(state_.key()), message.get(), r.get(), s.get(), &valid, nullptr);
    if (isError(status) || !valid) {
        throwException(env, kSignatureException, "error verifying signature", status); // OK has no name
        return false;
    }
    reset(env, object);
    return true;
}
