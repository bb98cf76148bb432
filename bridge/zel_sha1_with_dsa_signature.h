// ZelSha1WithDsaSignature: the engine of the signature SHA1withDSA. Signatures are DER: SEQUENCE { INTEGER r, INTEGER s }.
//
// All operations leave a Java exception pending on failure, "java/security/SignatureException" where no other is named,
// with a status where it says so; a null array raises NullPointerException, and where memory is short
// OutOfMemoryError. Every completed sign or verify drops the key: the engine must then be initialised again. A failed
// one leaves the engine initialised with its hash spent.
#ifndef ZELSPI_BRIDGE_ZEL_SHA1_WITH_DSA_SIGNATURE_H
#define ZELSPI_BRIDGE_ZEL_SHA1_WITH_DSA_SIGNATURE_H

#include "bridge/signature_state.h"
#include "core/memory/secret.h"

class ZEL_EXPORT ZelSha1WithDsaSignature : public ZelObject {
public:
    ZelSha1WithDsaSignature();
    ZelSha1WithDsaSignature(const ZelSha1WithDsaSignature&) = delete;
    ZelSha1WithDsaSignature& operator=(const ZelSha1WithDsaSignature&) = delete;
    virtual ~ZelSha1WithDsaSignature();

    // initVerify: takes a public key (X.509 SubjectPublicKeyInfo). Raises "java/security/ProviderException" "unable to
    // read dsa public key" with the status; the engine is then not initialised.
    void initVerify(JNIEnv* env, jobject object, jbyteArray publicKey);

    // initSign: takes a private key (PKCS#8 PrivateKeyInfo of a DSA key). Raises "java/security/ProviderException" "unable
    // to read dsa private key" with the status, ERR_BAD_KEY_TYPE for an RSA key. The engine then counts as initialised
    // all the same, without a key.
    void initSign(JNIEnv* env, jobject object, jbyteArray privateKey);

    // update: appends a byte, or input[offset .. offset + length), to the message. Raises "signature not initialized",
    // and what the digest engine's update raises.
    void update(JNIEnv* env, jobject object, jbyte input);
    void update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length);

    // sign: the signature of the message as a new array.
    // Errors:  null after raising "signature not initialized for signing", or "error calculating signature" with the
    //          status of the failure, whose own exception is the cause.
    jbyteArray sign(JNIEnv* env, jobject object);

    // sign: the same into output[offset ..]; returns the signature's length.
    // Errors:  0 after raising as above, or "insufficient space for signature": length - offset is less than the
    //          signature, or it does not fit in the array. The signature is then lost.
    jint sign(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length);

    // verify: true if the array is a signature of the message.
    // In/out:  offset and length are not looked at: it is always the whole array.
    // Errors:  false after raising, in this order: "signature not initialized for verifying"; "invalid signature size"
    //          (not 44 to 48 bytes; the hash is untouched); "error calculating final digest"; with the status
    //          "converting message to vlong", "error parsing signature", "error verifying signature"; and without a
    //          status "error verifying signature" for a wrong signature: the result is never false without an exception.
    bool verify(JNIEnv* env, jobject object, jbyteArray signature);
    bool verify(JNIEnv* env, jobject object, jbyteArray signature, jint offset, jint length);

private:
    bool reset(JNIEnv* env, jobject object);
    enum_errDescrValues sign(JNIEnv* env, jobject object, std::uint8_t** signature, std::uint32_t* length);
    bool signInto(JNIEnv* env, jobject object, SecretBuffer* signature);
    bool finishMessage(JNIEnv* env, jobject object, vlong** message);

    SignatureState state_;
    std::uint32_t digestLength_;
};

#endif
