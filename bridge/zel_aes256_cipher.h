// ZelAes256Cipher: the engine of the Java cipher AES-256-CBC with PKCS#5 padding.
//
// The operation modes are those of javax.crypto.Cipher: 1 encrypt, 2 decrypt. update moves whole blocks through and
// keeps the rest pending; doFinal adds or strips the padding. The engine has habits that its callers depend on: init
// and doFinal leave pending bytes pending, update takes what it keeps pending from the array without the offset, and
// padding is judged by its last byte alone.
//
// update and doFinal raise, in this order: ProviderException "error creating aes context" without a successful init,
// NullPointerException for a null array, ArrayIndexOutOfBoundsException for an input slice outside its array, what each
// lists but "invalid padding", ArrayIndexOutOfBoundsException for a negative output offset, OutOfMemoryError or "invalid
// padding". The engine is then unchanged. Input and output may be the same array.
#ifndef ZELSPI_BRIDGE_ZEL_AES256_CIPHER_H
#define ZELSPI_BRIDGE_ZEL_AES256_CIPHER_H

#include "bridge/aes_cbc_stream.h"
#include "bridge/zel_object.h"

class ZEL_EXPORT ZelAes256Cipher : public ZelObject {
public:
    ZelAes256Cipher();
    ZelAes256Cipher(const ZelAes256Cipher&) = delete;
    ZelAes256Cipher& operator=(const ZelAes256Cipher&) = delete;
    virtual ~ZelAes256Cipher();

    // isInitialized: whether there is a context, that is whether the last init succeeded.
    bool isInitialized() const;

    // init: takes the mode, the iv (16 bytes) and the key (32 bytes) of a new message.
    // Errors:  in this order: UnsupportedOperationException "unsupported cipher mode"; NullPointerException "key or iv
    //          is null"; InvalidAlgorithmParameterException "invalid iv provided"; InvalidKeyException "invalid key
    //          size"; ProviderException "error creating aes context" with ERR_AES: mode and iv are then taken, and
    //          there is no context.
    void init(JNIEnv* env, jobject object, jint opmode, jbyteArray iv, jbyteArray key);

    // update: the whole blocks of the pending bytes and input[offset .. offset + length), as a new array, maybe an
    // empty one. Errors: null after raising.
    jbyteArray update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length);

    // update: the same into output[outputOffset ..]; the number of bytes written.
    // Errors:  0 after raising: ShortBufferException "output buffer has insufficient space".
    jint update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length, jbyteArray output,
                jint outputOffset);

    // doFinal: the rest of the message as a new array.
    // Errors:  null after raising: on decryption BadPaddingException "invalid source buffer size" (nothing, or no whole
    //          number of blocks) or "invalid padding" (more padding than message).
    jbyteArray doFinal(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length);

    // doFinal: the same into output[outputOffset ..]; the number of bytes written. Decryption asks for room for the
    // message with its padding.
    // Errors:  0 after raising, nothing is written: BadPaddingException "invalid source buffer size" as above, then
    //          ShortBufferException "insufficient bytes in output buffer", then BadPaddingException "invalid padding".
    jint doFinal(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length, jbyteArray output,
                 jint outputOffset);

private:
    bool hasContext(JNIEnv* env);
    bool isWholeBlocks(JNIEnv* env, jint length);
    bool hasRoom(JNIEnv* env, jbyteArray output, jint outputOffset, std::uint64_t size, const char* message);
    bool isDone(JNIEnv* env, enum_errDescrValues status);
    jint finishInto(JNIEnv* env, jbyteArray input, jint offset, jint length, jbyteArray output, jint outputOffset,
                    std::uint64_t size);

    AesCbcStream stream_;
};

#endif
