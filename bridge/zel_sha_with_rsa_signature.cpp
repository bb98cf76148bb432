#include "bridge/zel_sha_with_rsa_signature.h"

#include "bridge/java_arrays.h"
#include "bridge/zel_sha1_message_digest.h"
#include "bridge/zel_sha256_message_digest.h"
#include "bridge/zel_util.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "core/pubkey/rsa/rsa_pkcs1.h"
#include "core/pubkey/rsa/rsa_sign.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// What an encoded message has in front of the DigestInfo without any FF: what can be encoded at all.
constexpr std::uint32_t kLeastOverhead = 3;

constexpr const char* kInvalidSignature = "invalid signature";
constexpr const char* kNoSignatureInteger = "error generating integer representative signature";

} // namespace

ZelShaWithRsaSignature::ZelShaWithRsaSignature(SignatureDigestType digestType)
    : digestType_(digestType), prefix_(kSha1DigestInfo.prefix), prefixLength_(kSha1DigestInfo.prefixBytes),
      digestLength_(kSha1DigestBytes) {
    if (digestType == kSignatureSha256) {
        prefix_ = kSha256DigestInfo.prefix;
        prefixLength_ = kSha256DigestInfo.prefixBytes;
        digestLength_ = kSha256DigestBytes;
    }
}

ZelShaWithRsaSignature::~ZelShaWithRsaSignature() = default;

ZelShaMessageDigest* ZelShaWithRsaSignature::newDigest() const {
    if (digestType_ == kSignatureSha256) {
        return new ZelSha256MessageDigest;
    }
    return new ZelSha1MessageDigest;
}

bool ZelShaWithRsaSignature::reset(JNIEnv* env, jobject object) {
    return state_.reset(env, object, newDigest());
}

enum_errDescrValues ZelShaWithRsaSignature::nativeReset() {
    return state_.nativeReset(newDigest());
}

std::uint32_t ZelShaWithRsaSignature::modulusLength() const {
    std::uint32_t length = 0;
    (void)Rsa_ModulusLength(asymKeyRsa(state_.key()), &length); // fails without a key only
    return length;
}

// Reads a key into the fresh state.
Status ZelShaWithRsaSignature::takeKey(std::int32_t mode, int length, const std::uint8_t* bytes) {
    if (length < 0) {
        return ERR_INVALID_ARG;
    }
    const auto count = static_cast<std::uint32_t>(length);
    AsymmetricKey* const key = state_.key();
    if (mode == SignatureState::kVerifying) {
        RETURN_IF_ERROR(RsaKey_FromPublicDer(bytes, count, key));
    } else {
        RETURN_IF_ERROR(asymKeyReadSigner(bytes, count, key));
    }
    if (asymKeyRsa(key) == nullptr) { // the reader of private keys reads those of DSA as well
        (void)AsymKey_Uninit(key, nullptr);
        return ERR_BAD_KEY_TYPE;
    }
    state_.setMode(mode);
    return OK;
}

void ZelShaWithRsaSignature::init(JNIEnv* env, jobject object, jbyteArray keyBytes, std::int32_t mode,
                                  const char* unreadable) {
    SecretBuffer copy;
    if (!reset(env, object) || !requireArray(env, keyBytes) || !copyOfArray(env, keyBytes, &copy)) {
        return;
    }
    (void)requireOk(env, kProviderException, unreadable, takeKey(mode, static_cast<int>(copy.size()), copy.data()));
}

void ZelShaWithRsaSignature::initVerify(JNIEnv* env, jobject object, jbyteArray publicKey) {
    init(env, object, publicKey, SignatureState::kVerifying, "unable to read rsa public key");
}

void ZelShaWithRsaSignature::initSign(JNIEnv* env, jobject object, jbyteArray privateKey) {
    init(env, object, privateKey, SignatureState::kSigning, "unable to read rsa private key");
}

enum_errDescrValues ZelShaWithRsaSignature::nativeInitVerify(int length, const std::uint8_t* bytes) {
    RETURN_IF_ERROR(nativeReset());
    return takeKey(SignatureState::kVerifying, length, bytes);
}

enum_errDescrValues ZelShaWithRsaSignature::nativeInitSign(int length, const std::uint8_t* bytes) {
    RETURN_IF_ERROR(nativeReset());
    return takeKey(SignatureState::kSigning, length, bytes);
}

void ZelShaWithRsaSignature::update(JNIEnv* env, jobject object, jbyte input) {
    state_.update(env, object, input);
}

void ZelShaWithRsaSignature::update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length) {
    state_.update(env, object, input, offset, length);
}

enum_errDescrValues ZelShaWithRsaSignature::nativeUpdate(const std::uint8_t* input, int offset, int length) {
    return state_.nativeUpdate(input, offset, length);
}

// Writes 00 01 FF ... FF 00 DigestInfo to encoded[k], k being at least T + 3.
bool ZelShaWithRsaSignature::encode(JNIEnv* env, jobject object, std::uint32_t k, std::uint8_t* encoded) {
    const DigestInfo& info = digestType_ == kSignatureSha256 ? kSha256DigestInfo : kSha1DigestInfo;
    return state_.finishDigest(env, object, rsaEncodeDigestInfo(info, k, encoded), digestLength_);
}

jbyteArray ZelShaWithRsaSignature::sign(JNIEnv* env, jobject object) {
    if (!state_.requireMode(env, SignatureState::kSigning)) {
        return nullptr;
    }
    const std::uint32_t k = modulusLength();
    const jbyteArray signature = newArray(env, k);
    if (signature != nullptr) {
        sign(env, object, signature, 0, static_cast<jint>(k));
    }
    return signature; // also when sign has raised
}

jint ZelShaWithRsaSignature::sign(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length) {
    if (!state_.requireMode(env, SignatureState::kSigning)) {
        return 0;
    }
    const std::uint32_t k = modulusLength();
    // The caller's length, not what the array really has: that is judged after the key.
    if (length < static_cast<jint>(k)) {
        throwException(env, kSignatureException, "output buffer space is insufficient");
        return 0;
    }
    if (k < digestInfoLength() + kPkcs1Overhead) {
        throwException(env, kSignatureException, "message too long");
        return 0;
    }
    if (!requireSlice(env, output, offset, static_cast<jint>(k))) {
        return 0;
    }
    SecretBuffer encoded;
    SecretBuffer signature;
    if (isError(encoded.alloc(k))) {
        raiseOutOfMemory(env);
        return 0;
    }
    if (!encode(env, object, k, encoded.data()) || !signEncoded(env, encoded.data(), k, &signature)) {
        return 0;
    }
    const auto write = [&](std::uint8_t* bytes) {
        std::copy_n(signature.data(), k, bytes + offset);
    };
    if (!withBytes(env, output, offset + static_cast<jint>(k), write)) {
        return 0;
    }
    reset(env, object); // Java sees an exception that it leaves, though the signature is good
    return static_cast<jint>(k);
}

// Puts the signature of the encoded message into a buffer of k bytes.
bool ZelShaWithRsaSignature::signEncoded(JNIEnv* env, const std::uint8_t* encoded, std::uint32_t k,
                                         SecretBuffer* signature) {
    ScopedVlong message(nullptr);
    ScopedVlong result(nullptr);
    if (!requireOk(env, "error generating integer representative message",
                   Rsa_BytesToVlong(encoded, k, message.out())) ||
        // Unblinded: no random source is passed. On purpose.
        !requireOk(env, kNoSignatureInteger, rsaSign(asymKeyRsa(state_.key()), message.get(), result.out(), nullptr))) {
        return false;
    }
    std::uint8_t* bytes = nullptr;
    const Status status = Rsa_VlongToFixedBytes(result.get(), k, &bytes);
    signature->adopt(bytes, k);
    return requireOk(env, "error generating signature array", status);
}

enum_errDescrValues ZelShaWithRsaSignature::nativeSign(const std::uint8_t*, int, int) {
    return ERR_INTERNAL_ERROR; // signing is for Java only
}

bool ZelShaWithRsaSignature::verify(JNIEnv* env, jobject object, jbyteArray signature) {
    return verify(env, object, signature, 0, signature == nullptr ? 0 : env->GetArrayLength(signature));
}

bool ZelShaWithRsaSignature::verify(JNIEnv* env, jobject object, jbyteArray signature, jint offset, jint length) {
    if (!state_.requireMode(env, SignatureState::kVerifying) || !requireArray(env, signature)) {
        return false;
    }
    const std::uint32_t k = modulusLength();
    // 64 bits, because the sum could overflow.
    if (length != static_cast<jint>(k) || env->GetArrayLength(signature) < std::int64_t{offset} + length) {
        throwException(env, kSignatureException, kInvalidSignature);
        return false;
    }
    if (!requireSlice(env, signature, offset, length)) { // a negative offset
        return false;
    }
    // Room for a DigestInfo also where the modulus is shorter: such a key has no valid signatures.
    const std::uint32_t size = std::max(k, digestInfoLength() + kLeastOverhead);
    SecretBuffer expected;
    SecretBuffer opened;
    if (isError(expected.alloc(size)) || isError(opened.alloc(size))) {
        raiseOutOfMemory(env);
        return false;
    }
    if (!openSignature(env, signature, offset, k, opened.data()) || !encode(env, object, size, expected.data())) {
        return false;
    }
    const bool isEqual = k == size && std::equal(opened.data(), opened.data() + k, expected.data());
    reset(env, object);
    return isEqual;
}

// Writes what the public key makes of signature[offset .. offset + k) to opened[k].
bool ZelShaWithRsaSignature::openSignature(JNIEnv* env, jbyteArray signature, jint offset, std::uint32_t k,
                                           std::uint8_t* opened) {
    ScopedVlong input(nullptr);
    ScopedVlong result(nullptr);
    Status status = OK;
    const auto read = [&](const std::uint8_t* bytes) {
        status = Rsa_BytesToVlong(bytes + offset, k, input.out());
    };
    if (!withBytes(env, signature, offset + static_cast<jint>(k), read) ||
        !requireOk(env, kNoSignatureInteger, status)) {
        return false;
    }
    status = Rsa_PublicOp(asymKeyRsa(state_.key()), input.get(), result.out(), nullptr);
    return requireOk(env, kInvalidSignature, isError(status) ? status : VLONG_toBytesFixed(result.get(), opened, k));
}

enum_errDescrValues ZelShaWithRsaSignature::nativeVerify(const std::uint8_t* signature, int offset, int) {
    if (state_.mode() != SignatureState::kVerifying) {
        return ERR_INTERNAL_ERROR;
    }
    // At least T, so that the comparison stays inside whatever the key is.
    const std::uint32_t size = std::max(modulusLength(), digestInfoLength());
    SecretBuffer expected;
    SecretBuffer opened;
    RETURN_IF_ERROR(expected.alloc(size));
    RETURN_IF_ERROR(opened.alloc(size));
    std::memset(expected.data(), 0xFF, size);
    std::memset(opened.data(), 0xFF, size);
    std::copy_n(prefix_, prefixLength_, expected.data());
    const int written = state_.nativeDigest(expected.data() + prefixLength_, digestLength_);
    if (written != static_cast<int>(digestLength_)) {
        return written < 0 ? static_cast<Status>(written) : ERR_RSA_BAD_SIGNATURE;
    }
    std::uint32_t openedLength = 0;
    RETURN_IF_ERROR(Rsa_OpenPkcs1Signature(asymKeyRsa(state_.key()),
                                           signature == nullptr ? nullptr : signature + offset, opened.data(),
                                           &openedLength, nullptr));
    if (ZelUtil::isDebugEnabled() != 0) {
        std::printf("Comparing signatures:\n\n");
        hexdump(expected.data(), digestInfoLength());
        std::printf("\nwith:\n");
        hexdump(opened.data(), openedLength);
    }
    // The first digestLength bytes of the DigestInfo, not all of it, and not its length: on purpose, as files signed for this
    // path must keep their verdicts.
    const bool isEqual = std::memcmp(expected.data(), opened.data(), digestLength_) == 0;
    (void)nativeReset(); // the verdict stands without a new digest
    return isEqual ? OK : ERR_RSA_BAD_SIGNATURE;
}
