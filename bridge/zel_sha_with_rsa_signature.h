// ZelShaWithRsaSignature: the engine of the signatures SHA1withRSA and SHA256withRSA (RSASSA-PKCS1-v1_5).
//
// The operations with a JNI environment leave a Java exception pending on failure, "java/security/SignatureException"
// where no other is named, with a status where it says so; a null array raises NullPointerException, and where memory
// is short OutOfMemoryError. Those named native... are for native callers and return a status.
//
// Every completed sign or verify drops the key: the engine must then be initialised again. A failed one leaves the
// engine initialised, but the hash may be spent: the next signature is then one of what comes after. k stands for the
// length of the key's modulus in bytes, T for that of the DigestInfo (35 or 51).
#ifndef ZELSPI_BRIDGE_ZEL_SHA_WITH_RSA_SIGNATURE_H
#define ZELSPI_BRIDGE_ZEL_SHA_WITH_RSA_SIGNATURE_H

#include "bridge/signature_state.h"
#include "core/memory/secret.h"

enum SignatureDigestType : std::int32_t { kSignatureSha1 = 0, kSignatureSha256 = 1 };

class ZEL_EXPORT ZelShaWithRsaSignature : public ZelObject {
public:
    explicit ZelShaWithRsaSignature(SignatureDigestType digestType);
    ZelShaWithRsaSignature(const ZelShaWithRsaSignature&) = delete;
    ZelShaWithRsaSignature& operator=(const ZelShaWithRsaSignature&) = delete;
    virtual ~ZelShaWithRsaSignature();

    // initVerify: takes a public key (PKCS#1 RSAPublicKey). Raises "java/security/ProviderException" "unable to read
    // rsa public key" with the status; the engine is then not initialised.
    void initVerify(JNIEnv* env, jobject object, jbyteArray publicKey);

    // initSign: takes a private key (PKCS#8 PrivateKeyInfo of an RSA key). Raises "java/security/ProviderException"
    // "unable to read rsa private key" with the status, ERR_BAD_KEY_TYPE for a DSA key.
    void initSign(JNIEnv* env, jobject object, jbyteArray privateKey);

    // nativeInitVerify, nativeInitSign: the same with bytes[length].
    // Errors:  ERR_INVALID_ARG length negative; ERR_BAD_KEY_TYPE; ERR_MEM_ALLOC_FAIL; those of the reader (key_der.h).
    enum_errDescrValues nativeInitVerify(int length, const std::uint8_t* bytes);
    enum_errDescrValues nativeInitSign(int length, const std::uint8_t* bytes);

    // update: appends a byte, or input[offset .. offset + length), to the message. Raises "signature not initialized",
    // and what the digest engine's update raises.
    void update(JNIEnv* env, jobject object, jbyte input);
    void update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length);

    // nativeUpdate: the same with length bytes from input + offset.
    // Errors:  ERR_GENERAL not initialised; as ZelShaMessageDigest::nativeUpdate.
    enum_errDescrValues nativeUpdate(const std::uint8_t* input, int offset, int length);

    // sign: the signature of the message as a new array of k bytes.
    // Errors:  null after raising "signature not initialized for signing" or OutOfMemoryError. After raising otherwise,
    //          as below, the array is returned all the same.
    jbyteArray sign(JNIEnv* env, jobject object);

    // sign: the same into output[offset ..]; returns k.
    // Errors:  0 after raising, in this order: "signature not initialized for signing"; "output buffer space is
    //          insufficient" (length below k); "message too long" (k below T + 11); ArrayIndexOutOfBoundsException;
    //          "error calculating final digest"; and with the status "error generating integer representative message",
    //          "error generating integer representative signature", "error generating signature array". The array is
    //          then untouched.
    jint sign(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length);

    // nativeSign: not offered. Errors: ERR_INTERNAL_ERROR, always.
    enum_errDescrValues nativeSign(const std::uint8_t* output, int offset, int length);

    // verify: whether the whole array, or signature[offset .. offset + length), is a signature of the message.
    // Errors:  false after raising, in this order: "signature not initialized for verifying"; "invalid signature"
    //          (length is not k, or the array is shorter); ArrayIndexOutOfBoundsException (offset negative); with the
    //          status "error generating integer representative signature" or "invalid signature"; "error calculating
    //          final digest". Up to the last one the hash is untouched.
    bool verify(JNIEnv* env, jobject object, jbyteArray signature);
    bool verify(JNIEnv* env, jobject object, jbyteArray signature, jint offset, jint length);

    // nativeVerify: OK if the k bytes from signature + offset are a signature of the message. Looks at the first bytes
    // of the DigestInfo only, as many as the digest is long, and not at length.
    // Errors:  ERR_INTERNAL_ERROR not initialised for verifying; ERR_RSA_BAD_SIGNATURE; that of the digest; those of
    //          Rsa_OpenPkcs1Signature. The engine is reset after a comparison only.
    enum_errDescrValues nativeVerify(const std::uint8_t* signature, int offset, int length);

private:
    bool reset(JNIEnv* env, jobject object);
    enum_errDescrValues nativeReset();
    ZelShaMessageDigest* newDigest() const;
    enum_errDescrValues takeKey(std::int32_t mode, int length, const std::uint8_t* bytes);
    void init(JNIEnv* env, jobject object, jbyteArray keyBytes, std::int32_t mode, const char* unreadable);

    std::uint32_t modulusLength() const; // k; 0 without a key
    std::uint32_t digestInfoLength() const {
        return prefixLength_ + digestLength_;
    }
    bool encode(JNIEnv* env, jobject object, std::uint32_t k, std::uint8_t* encoded);
    bool signEncoded(JNIEnv* env, const std::uint8_t* encoded, std::uint32_t k, SecretBuffer* signature);
    bool openSignature(JNIEnv* env, jbyteArray signature, jint offset, std::uint32_t k, std::uint8_t* opened);

    SignatureState state_;
    SignatureDigestType digestType_;
    const std::uint8_t* prefix_; // of the DigestInfo
    std::uint32_t prefixLength_;
    std::uint32_t digestLength_;
};

#endif
