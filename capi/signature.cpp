#include "capi/signature.h"

#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/dsa/dsa_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "core/pubkey/rsa/rsa_sign.h"
#include "core/random/shared_random.h"

namespace {

using Digest = const std::uint8_t*;

// The encoded message of k bytes. Errors: ERR_RSA_KEY_LENGTH_TOO_SMALL; ERR_MEM_ALLOC_FAIL.
Status encode(const HashAlgorithm& algorithm, Digest digest, std::uint32_t k, SecretBuffer* encoded) {
    if (k < algorithm.info->bytes() + kPkcs1Overhead) {
        return ERR_RSA_KEY_LENGTH_TOO_SMALL;
    }
    RETURN_IF_ERROR(encoded->alloc(k));
    std::copy_n(digest, algorithm.digestBytes, rsaEncodeDigestInfo(*algorithm.info, k, encoded->data()));
    return OK;
}

Status signRsa(RSAKey* key, const HashAlgorithm& algorithm, Digest digest, Room& room) {
    std::uint32_t k = 0;
    bool isWhole = false;
    SecretBuffer encoded;
    ScopedVlong message(nullptr), signature(nullptr);
    RETURN_IF_ERROR(Rsa_ModulusLength(key, &k));
    RETURN_IF_ERROR(room.demand(k));
    RETURN_IF_ERROR(encode(algorithm, digest, k, &encoded));
    RETURN_IF_ERROR(Rsa_BytesToVlong(encoded.data(), k, message.out()));
    RETURN_IF_ERROR(rsaIsProduct(*key, &isWhole));
    if (!isWhole) { // memory has changed: the signature would leave unchecked
        return ERR_RSA_BAD_SIGNATURE;
    }
    RETURN_IF_ERROR(rsaSign(key, message.get(), signature.out(), nullptr));
    RETURN_IF_ERROR(VLONG_toBytesFixed(signature.get(), room.output(), k));
    return room.answer(k);
}

Status verifyRsa(const RSAKey* key, const HashAlgorithm& algorithm, Digest digest, ByteView signature) {
    std::uint32_t k = 0;
    SecretBuffer expected, opened;
    ScopedVlong s(nullptr), m(nullptr);
    RETURN_IF_ERROR(Rsa_ModulusLength(key, &k));
    if (signature.size() != k) {
        return ERR_RSA_BAD_SIGNATURE;
    }
    RETURN_IF_ERROR(encode(algorithm, digest, k, &expected));
    RETURN_IF_ERROR(Rsa_BytesToVlong(signature.data(), k, s.out()));
    if (VLONG_cmp(s.get(), key->n) >= 0) {
        return ERR_RSA_BAD_SIGNATURE;
    }
    RETURN_IF_ERROR(opened.alloc(k));
    RETURN_IF_ERROR(Rsa_PublicOp(key, s.get(), m.out(), nullptr));
    RETURN_IF_ERROR(VLONG_toBytesFixed(m.get(), opened.data(), k));
    return std::equal(opened.data(), opened.data() + k, expected.data()) ? OK : ERR_RSA_BAD_SIGNATURE;
}

// The integer that DSA signs: the leftmost bits of the digest, as many as q has at most.
Status messageOf(const DSAKey& key, const HashAlgorithm& algorithm, Digest digest, ScopedVlong& m) {
    const std::uint32_t bits = 8 * algorithm.digestBytes, qBits = VLONG_bitLength(key.q);
    RETURN_IF_ERROR(VLONG_fromBytes(digest, static_cast<std::int32_t>(algorithm.digestBytes), m.out(), nullptr));
    return bits > qBits ? VLONG_shiftRight(m.get(), bits - qBits) : OK;
}

// Whether (r, s) is a signature of m.
Status verifyIntegers(const DSAKey& key, const vlong* m, const vlong* r, const vlong* s) {
    bool isValid = false;
    const Status status = Dsa_Verify(&key, m, r, s, &isValid, nullptr);
    if (status != ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST) {
        RETURN_IF_ERROR(status);
    }
    return isValid ? OK : ERR_RSA_BAD_SIGNATURE;
}

Status signDsa(const ZelKey& key, const HashAlgorithm& algorithm, Digest digest, Room& room) {
    const DSAKey& dsaKey = *asymKeyDsa(&key.key);
    RETURN_IF_ERROR(room.demand(zelKeySignatureSize(&key)));
    RandomContext* context = nullptr;
    RETURN_IF_ERROR(sharedRandom(&context));
    ScopedVlong m(nullptr), r(nullptr), s(nullptr);
    RETURN_IF_ERROR(messageOf(dsaKey, algorithm, digest, m));
    // Checked here and not by the signing itself, which does not tell want of memory from a signature that is wrong.
    RETURN_IF_ERROR(Dsa_Sign(sharedBytes(context), &dsaKey, m.get(), nullptr, r.out(), s.out(), nullptr));
    RETURN_IF_ERROR(verifyIntegers(dsaKey, m.get(), r.get(), s.get()));
    std::uint8_t* bytes = nullptr;
    std::uint32_t count = 0;
    SecretBuffer der;
    RETURN_IF_ERROR(createDSASignature(r.get(), s.get(), &bytes, &count));
    der.adopt(bytes, count);
    return room.put(der);
}

// Whether the signature is the one DER encoding of r and s: the parser takes others as well.
Status isCanonical(const vlong* r, const vlong* s, ByteView signature, bool* is) {
    std::uint8_t* bytes = nullptr;
    std::uint32_t count = 0;
    SecretBuffer der;
    RETURN_IF_ERROR(createDSASignature(r, s, &bytes, &count));
    der.adopt(bytes, count);
    *is = std::equal(bytes, bytes + count, signature.begin(), signature.end());
    return OK;
}

Status verifyDsa(const ZelKey& key, const HashAlgorithm& algorithm, Digest digest, ByteView signature) {
    const DSAKey& dsaKey = *asymKeyDsa(&key.key);
    if (signature.empty() || signature.size() > zelKeySignatureSize(&key)) {
        return ERR_RSA_BAD_SIGNATURE;
    }
    ScopedVlong m(nullptr), r(nullptr), s(nullptr);
    if (const Status status = parseDSASignature(signature.data(), lengthOf(signature), r.out(), s.out());
        isError(status)) {
        return status == ERR_MEM_ALLOC_FAIL ? status : ERR_RSA_BAD_SIGNATURE;
    }
    bool is = false;
    RETURN_IF_ERROR(isCanonical(r.get(), s.get(), signature, &is));
    if (!is) {
        return ERR_RSA_BAD_SIGNATURE;
    }
    RETURN_IF_ERROR(messageOf(dsaKey, algorithm, digest, m));
    return verifyIntegers(dsaKey, m.get(), r.get(), s.get());
}

// The digest of a message, or the one given.
Status takeDigest(const HashAlgorithm& algorithm, const void* digest, std::size_t length, std::uint8_t* bytes) {
    RETURN_IF_ERROR(checkInput(digest, length));
    if (length != algorithm.digestBytes) {
        return ERR_BAD_LENGTH;
    }
    std::copy_n(bytesAt(digest), length, bytes);
    return OK;
}

using DigestBytes = SecretArray<std::uint8_t, ZEL_MAX_DIGEST_SIZE>;

// Signs and verifies what take(algorithm, digest) leaves in the digest.
template <typename Take> Status sign(const ZelKey* key, ZelHash hash, Room room, Take take) {
    RETURN_IF_ERROR(checkHandle(key));
    RETURN_IF_ERROR(room.check());
    const HashAlgorithm* const algorithm = findHash(hash);
    if (algorithm == nullptr) {
        return ERR_INVALID_ARG;
    }
    if (!isPrivateKey(*key)) {
        return ERR_BAD_KEY_TYPE;
    }
    if (room.isQuestion()) {
        return room.answer(zelKeySignatureSize(key));
    }
    DigestBytes digest;
    RETURN_IF_ERROR(take(*algorithm, digest.data()));
    RSAKey* const rsaKey = asymKeyRsa(&key->key);
    return rsaKey != nullptr ? signRsa(rsaKey, *algorithm, digest.data(), room)
                             : signDsa(*key, *algorithm, digest.data(), room);
}

template <typename Take>
Status verify(const ZelKey* key, ZelHash hash, const void* signature, std::size_t length, Take take) {
    RETURN_IF_ERROR(checkHandle(key));
    RETURN_IF_ERROR(checkInput(signature, length));
    const HashAlgorithm* const algorithm = findHash(hash);
    if (algorithm == nullptr) {
        return ERR_INVALID_ARG;
    }
    DigestBytes digest;
    RETURN_IF_ERROR(take(*algorithm, digest.data()));
    return verifyDigest(*key, *algorithm, digest.data(), {bytesAt(signature), length});
}

} // namespace

Status verifyDigest(const ZelKey& key, const HashAlgorithm& algorithm, const std::uint8_t* digest, ByteView signature) {
    const RSAKey* const rsaKey = asymKeyRsa(&key.key);
    return rsaKey != nullptr ? verifyRsa(rsaKey, algorithm, digest, signature)
                             : verifyDsa(key, algorithm, digest, signature);
}

ZelStatus zelSign(const ZelKey* key, ZelHash hash, const void* message, size_t messageLength, void* signature,
                  size_t* length) {
    return sign(key, hash, Room(signature, length), [&](const HashAlgorithm&, std::uint8_t* digest) {
        return static_cast<Status>(zelDigestOnce(hash, message, messageLength, digest, ZEL_MAX_DIGEST_SIZE));
    });
}

ZelStatus zelSignDigest(const ZelKey* key, ZelHash hash, const void* digest, size_t digestLength, void* signature,
                        size_t* length) {
    return sign(key, hash, Room(signature, length), [&](const HashAlgorithm& algorithm, std::uint8_t* bytes) {
        return takeDigest(algorithm, digest, digestLength, bytes);
    });
}

ZelStatus zelVerify(const ZelKey* key, ZelHash hash, const void* message, size_t messageLength, const void* signature,
                    size_t length) {
    return verify(key, hash, signature, length, [&](const HashAlgorithm&, std::uint8_t* digest) {
        return static_cast<Status>(zelDigestOnce(hash, message, messageLength, digest, ZEL_MAX_DIGEST_SIZE));
    });
}

ZelStatus zelVerifyDigest(const ZelKey* key, ZelHash hash, const void* digest, size_t digestLength,
                          const void* signature, size_t length) {
    return verify(key, hash, signature, length, [&](const HashAlgorithm& algorithm, std::uint8_t* bytes) {
        return takeDigest(algorithm, digest, digestLength, bytes);
    });
}
