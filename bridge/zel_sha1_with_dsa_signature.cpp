#include "bridge/zel_sha1_with_dsa_signature.h"

#include "bridge/java_arrays.h"
#include "bridge/java_exceptions.h"
#include "bridge/shared_random.h"
#include "bridge/zel_sha1_message_digest.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/pubkey/dsa.h"
#include "core/pubkey/dsa_der.h"
#include "core/pubkey/key_der.h"

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

// The content of the array, which has kMaxSignatureBytes at most, as r and s. False when the array cannot be opened.
bool parseSignature(JNIEnv* env, jbyteArray signature, vlong** r, vlong** s, Status* status) {
    const jsize length = env->GetArrayLength(signature);
    const CriticalBytes bytes(env, signature);
    if (bytes.isOpen()) {
        *status = parseDSASignature(bytes.data(), static_cast<std::uint32_t>(length), r, s);
    }
    return bytes.isOpen();
}

} // namespace

ZelSha1WithDsaSignature::ZelSha1WithDsaSignature() : digestLength_(kSha1DigestBytes) {
}

ZelSha1WithDsaSignature::~ZelSha1WithDsaSignature() = default;

bool ZelSha1WithDsaSignature::reset(JNIEnv* env, jobject object) {
    return state_.reset(env, object, new ZelSha1MessageDigest);
}

// Raises a SignatureException for a status that is an error; whether it is none.
bool ZelSha1WithDsaSignature::raise(JNIEnv* env, const char* message, Status status) {
    if (isError(status)) {
        throwException(env, kSignatureException, message, status);
    }
    return !isError(status);
}

void ZelSha1WithDsaSignature::initVerify(JNIEnv* env, jobject object, jbyteArray publicKey) {
    SecretBuffer copy;
    if (!reset(env, object) || !requireArray(env, publicKey) || !copyOfArray(env, publicKey, &copy)) {
        return;
    }
    const Status status = parseDSAPublicKey(copy.data(), static_cast<std::uint32_t>(copy.size()), &state_.key);
    if (isError(status)) {
        throwException(env, kProviderException, "unable to read dsa public key", status);
        return;
    }
    state_.mode = SignatureState::kVerifying;
}

void ZelSha1WithDsaSignature::initSign(JNIEnv* env, jobject object, jbyteArray privateKey) {
    SecretBuffer copy;
    if (!reset(env, object) || !requireArray(env, privateKey) || !copyOfArray(env, privateKey, &copy)) {
        return;
    }
    // Also when the key cannot be read: sign then fails for want of a key, not of an initialisation. Meant.
    state_.mode = SignatureState::kSigning;
    if (const Status status = readPrivateKey(copy, &state_.key); isError(status)) {
        throwException(env, kProviderException, "unable to read dsa private key", status);
    }
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
           raise(env, "converting message to vlong",
                 VLONG_fromBytes(digest, static_cast<std::int32_t>(digestLength_), message, nullptr));
}

// The signature in a new buffer. What the caller is told on failure is not what has happened, which is in the exception.
Status ZelSha1WithDsaSignature::sign(JNIEnv* env, jobject object, std::uint8_t** signature, std::uint32_t* length) {
    if (!state_.requireMode(env, SignatureState::kSigning)) {
        return ERR_INVALID_ARG;
    }
    ScopedVlong message(nullptr);
    if (!finishMessage(env, object, message.out())) {
        return ERR_INTERNAL_ERROR;
    }
    RandomContext* const context = getRandomContext(env); // without one its exception stands below the next
    ScopedVlong r(nullptr);
    ScopedVlong s(nullptr);
    bool verified = false;
    const Status status = context == nullptr ? ERR_NULL_POINTER
                                             : dsaSignMakingY(sharedBytes(context), asymKeyDsa(&state_.key),
                                                              message.get(), &verified, r.out(), s.out(), nullptr);
    if (!raise(env, "error signing message", status)) {
        return ERR_INTERNAL_ERROR;
    }
    if (!verified) {
        throwException(env, kSignatureException, "error signing message, failed to verify");
        return ERR_PKCS7_INVALID_SIGNATURE;
    }
    if (!raise(env, "error creating dsa signature", createDSASignature(r.get(), s.get(), signature, length))) {
        return ERR_INTERNAL_ERROR;
    }
    reset(env, object); // Java sees an exception that it leaves, in place of the signature
    return OK;
}

// The same with the exception of both public forms.
bool ZelSha1WithDsaSignature::signInto(JNIEnv* env, jobject object, SecretBuffer* signature) {
    std::uint8_t* bytes = nullptr;
    std::uint32_t length = 0;
    const Status status = sign(env, object, &bytes, &length);
    signature->adopt(bytes, length);
    // On top of the one that the step itself has raised.
    return raise(env, "error calculating signature", status) && env->ExceptionCheck() == JNI_FALSE;
}

jbyteArray ZelSha1WithDsaSignature::sign(JNIEnv* env, jobject object) {
    SecretBuffer signature;
    if (!state_.requireMode(env, SignatureState::kSigning) || !signInto(env, object, &signature)) {
        return nullptr;
    }
    return newArray(env, signature.data(), static_cast<std::uint32_t>(signature.size()));
}

jint ZelSha1WithDsaSignature::sign(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length) {
    SecretBuffer signature;
    if (!state_.requireMode(env, SignatureState::kSigning) || !requireArray(env, output) ||
        !signInto(env, object, &signature)) {
        return 0;
    }
    const auto count = static_cast<jint>(signature.size());
    // The caller's length less the offset, not the room in the array, is what is judged: meant. The array is
    // judged besides, so that nothing outside it is written. 64 bits, because the differences could overflow.
    if (std::int64_t{length} - offset < count || offset < 0 ||
        std::int64_t{env->GetArrayLength(output)} - offset < count) {
        throwException(env, kSignatureException, "insufficient space for signature");
        return 0;
    }
    const CriticalBytes out(env, output);
    if (!out.isOpen()) {
        raiseOutOfMemory(env);
        return 0;
    }
    std::copy_n(signature.data(), count, out.data() + offset);
    return count;
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
    if (!parseSignature(env, signature, r.out(), s.out(), &status)) {
        raiseOutOfMemory(env);
        return false;
    }
    if (!raise(env, "error parsing signature", status)) {
        return false;
    }
    bool valid = false;
    status = Dsa_Verify(asymKeyDsa(&state_.key), message.get(), r.get(), s.get(), &valid, nullptr);
    if (isError(status) || !valid) {
        throwException(env, kSignatureException, "error verifying signature", status); // OK has no name
        return false;
    }
    reset(env, object);
    return true;
}
