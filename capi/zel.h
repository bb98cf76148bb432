// zel.h: the library for C, and for every language that calls C. No set-up is needed: call any function at any time.
//
// Status.   A function that can fail returns a ZelStatus: ZEL_OK, or a negative code of the list below or any other that
//           zelStatusName has a name for. It never ends the process, and results behind pointers are null or 0 on failure.
// Bytes.    Lengths are in bytes. A buffer of length 0 may be null. A length above PTRDIFF_MAX is ZEL_ERR_BAD_LENGTH.
// Results.  "output[*length]" is a result of a size that only the function knows. Before the call *length is the room at
//           output, after it the size of the result. With a null output nothing is done but that *length is set to a room
//           that is always enough. Too little room is ZEL_ERR_BUFFER_OVERFLOW, with the room that is needed in *length.
// Handles.  A ...New, ...Copy, ...Read or ...Generate function makes one, the ...Free function of its kind wipes and frees
//           it. A pointer to a handle of another kind is ZEL_ERR_INVALID_ARG; the use of a freed handle is undefined.
// Overlap.  Inputs may overlap each other. An output must not overlap an input or another output unless its function says so.
// Threads.  Every function may be called from any thread. A ZelDigest or ZelAes is for one thread at a time. A ZelKey never
//           changes: threads may share it, as long as it is freed after its last use.
// Memory.   Whatever held a secret is wiped before it is freed. The caller's own buffers are the caller's to wipe.
// Errors    of all functions: ZEL_ERR_NULL_POINTER a pointer null that is not said to be allowed; ZEL_ERR_MEM_ALLOC_FAIL no
//           memory. Each function lists what comes besides.
#ifndef ZELSPI_ZEL_H
#define ZELSPI_ZEL_H

#include "zel_export.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Status
// ---------------------------------------------------------------------------------------------------------------

typedef int32_t ZelStatus;
enum {
    ZEL_OK = 0,
    ZEL_ERR_RTOS = -5800,               // the operating system gave no unpredictable bytes
    ZEL_ERR_RTOS_THREAD_CREATE = -5801, // it started no thread
    ZEL_ERR_RTOS_MUTEX_CREATE = -5802,  // it made no mutex
    ZEL_ERR_RTOS_MUTEX_WAIT = -5803,    // a mutex was kept by another thread for five seconds
    ZEL_ERR_NULL_POINTER = -6001,
    ZEL_ERR_BAD_LENGTH = -6003,           // a length that does not fit the work
    ZEL_ERR_MISSING_STATE_CHANGE = -6006, // the handle wants another call first
    ZEL_ERR_BUFFER_OVERFLOW = -6007,      // too little room for the result
    ZEL_ERR_INVALID_ARG = -6010,          // an unknown constant, or a handle of another kind
    ZEL_ERR_MEM_ALLOC_FAIL = -6101,
    ZEL_ERR_FILE_OPEN_FAILED = -7201,
    ZEL_ERR_FILE_READ_FAILED = -7202,
    ZEL_ERR_BAD_KEY_TYPE = -7403,        // the key is of another kind than the work wants
    ZEL_ERR_RSA_INVALID_MODULUS = -7707, // a private RSA key above 16384 bits, or n is not p q
    ZEL_ERR_RSA_KEY_LENGTH_TOO_SMALL = -7710,
    ZEL_ERR_BAD_SIGNATURE = -7711,      // the signature is not valid; named "ERR_RSA_BAD_SIGNATURE", of DSA as well
    ZEL_ERR_AES_BAD_PAD_LENGTH = -7901, // what was decrypted does not end in a padding
    ZEL_ERR_AES_BAD_LENGTH = -7902,     // not a multiple of 16 bytes
    ZEL_ERR_AES_BAD_KEY_LENGTH = -7904,
    ZEL_ERR_AES_BAD_CIPHER_MODE = -7907, // the mode does not have this function
    ZEL_ERR_PEM = -8700,                 // damaged PEM
    ZEL_ERR_DSA_INVALID_KEYLENGTH = -17700
};

// zelStatusName: the name of a code as text, such as "ERR_NULL_POINTER" for ZEL_ERR_NULL_POINTER. The text is static.
// Errors:  null for a code that has no name.
ZEL_EXPORT const char* zelStatusName(ZelStatus status);

// zelVersion: the version of the library as text, such as "0.1.0". The text is static.
ZEL_EXPORT const char* zelVersion(void);

// Digests: FIPS 180-2
// ---------------------------------------------------------------------------------------------------------------

typedef int32_t ZelHash;
enum { ZEL_SHA1 = 1, ZEL_SHA224 = 2, ZEL_SHA256 = 3, ZEL_SHA384 = 4, ZEL_SHA512 = 5 };

enum { ZEL_MAX_DIGEST_SIZE = 64 };

typedef struct ZelDigest ZelDigest;

// zelDigestSize: the bytes of a digest: 20, 28, 32, 48, 64; 0 for an unknown hash.
ZEL_EXPORT size_t zelDigestSize(ZelHash hash);

// zelDigestOnce: digest[zelDigestSize(hash)] := the digest of data[length]. The two may overlap.
// In/out:  allocates nothing. digestRoom is the room at digest.
// Errors:  ZEL_ERR_INVALID_ARG an unknown hash; ZEL_ERR_BUFFER_OVERFLOW.
ZEL_EXPORT ZelStatus zelDigestOnce(ZelHash hash, const void* data, size_t length, void* digest, size_t digestRoom);

// zelDigestNew: *digest := a new message. zelDigestCopy: *copy := a second handle that stands where source does.
// Errors:  ZEL_ERR_INVALID_ARG an unknown hash.
ZEL_EXPORT ZelStatus zelDigestNew(ZelHash hash, ZelDigest** digest);
ZEL_EXPORT ZelStatus zelDigestCopy(const ZelDigest* source, ZelDigest** copy);

// zelDigestUpdate: appends data[length] to the message.
ZEL_EXPORT ZelStatus zelDigestUpdate(ZelDigest* digest, const void* data, size_t length);

// zelDigestFinish: output[zelDigestSize(hash)] := the digest of the message, and the handle begins a new one.
// zelDigestReset: begins a new message.
// In/out:  room is the room at output.
// Errors:  ZEL_ERR_BUFFER_OVERFLOW, the message goes on then.
ZEL_EXPORT ZelStatus zelDigestFinish(ZelDigest* digest, void* output, size_t room);
ZEL_EXPORT ZelStatus zelDigestReset(ZelDigest* digest);

// zelDigestFree: wipes and frees; null is OK.
ZEL_EXPORT ZelStatus zelDigestFree(ZelDigest* digest);

// AES: FIPS-197, with keys of 16, 24 or 32 bytes, in the modes of SP 800-38A
// ---------------------------------------------------------------------------------------------------------------
//
// None of the modes authenticates: whoever can change a ciphertext can change the message.
// Secrets: constant time where the processor has AES instructions; elsewhere tables are looked up by key and data.

typedef int32_t ZelAesMode;
enum { ZEL_AES_ECB = 1, ZEL_AES_CBC = 2, ZEL_AES_CFB128 = 4, ZEL_AES_OFB = 5 };

typedef int32_t ZelDirection;
enum { ZEL_DECRYPT = 0, ZEL_ENCRYPT = 1 };

enum { ZEL_AES_BLOCK_SIZE = 16 };

typedef struct ZelAes ZelAes;

// zelAesNew: *aes := a key for one mode and one direction, at the start of a message.
// Shapes:  key[keyLength]; iv[16], which mode ZEL_AES_ECB does not look at.
// Errors:  ZEL_ERR_AES_BAD_KEY_LENGTH; ZEL_ERR_INVALID_ARG an unknown mode or direction.
ZEL_EXPORT ZelStatus zelAesNew(ZelAesMode mode, ZelDirection direction, const void* key, size_t keyLength,
                               const void* iv, ZelAes** aes);

// zelAesSetIv: begins a new message with iv[16].
ZEL_EXPORT ZelStatus zelAesSetIv(ZelAes* aes, const void* iv);

// zelAesUpdate: transforms the next whole blocks of the message from input[length] to output[length], which may be the same
// buffer.
// Errors:  ZEL_ERR_AES_BAD_LENGTH length not a multiple of 16; ZEL_ERR_INVALID_ARG the two overlap in part;
//          ZEL_ERR_MISSING_STATE_CHANGE the message has been finished. Nothing is written then.
ZEL_EXPORT ZelStatus zelAesUpdate(ZelAes* aes, const void* input, size_t length, void* output);

// zelAesFinish: the last part of a message in mode ZEL_AES_CBC, with the padding of PKCS#5, from input[inputLength] to
// output[*length], which may be the same buffer. The handle then wants zelAesSetIv.
// In/out:  encryption takes any inputLength, 0 too, and writes 1 to 16 bytes more than that, a multiple of 16. Decryption
//          takes a multiple of 16 above 0 and writes 1 to 16 bytes fewer; inputLength is always enough room.
// Errors:  ZEL_ERR_AES_BAD_CIPHER_MODE; ZEL_ERR_AES_BAD_LENGTH; ZEL_ERR_BUFFER_OVERFLOW; ZEL_ERR_INVALID_ARG the two
//          overlap in part; ZEL_ERR_MISSING_STATE_CHANGE; ZEL_ERR_AES_BAD_PAD_LENGTH. Nothing is written then, and the handle
//          stays where it was.
// Secrets: all of the padding is looked at, in constant time, but the status says whether it is good: hide it from strangers.
// Source:  RFC 8018 section 6.1.1.
ZEL_EXPORT ZelStatus zelAesFinish(ZelAes* aes, const void* input, size_t inputLength, void* output, size_t* length);

// zelAesFree: wipes and frees; null is OK.
ZEL_EXPORT ZelStatus zelAesFree(ZelAes* aes);

// zelAesCbcEncrypt, zelAesCbcDecrypt: a whole message: zelAesNew in mode ZEL_AES_CBC and zelAesFinish, with their errors.
// In/out:  allocates nothing.
ZEL_EXPORT ZelStatus zelAesCbcEncrypt(const void* key, size_t keyLength, const void* iv, const void* input,
                                      size_t inputLength, void* output, size_t* length);
ZEL_EXPORT ZelStatus zelAesCbcDecrypt(const void* key, size_t keyLength, const void* iv, const void* input,
                                      size_t inputLength, void* output, size_t* length);

// Random bytes: FIPS 186-2, from one context for the whole process, which engines for Java in the process share
// ---------------------------------------------------------------------------------------------------------------
//
// The first caller that wants randomness makes the context: that blocks for some six seconds, and others wait for it. After
// fork without exec both processes draw the same bytes.

// zelRandomIsReady: 1 when nobody would have to wait for the context, else 0. Starts nothing.
ZEL_EXPORT int zelRandomIsReady(void);

// zelRandomWait: returns when the context is ready; makes it if nobody has begun to. A program that must not wait
// calls it in a thread of its own.
// Errors:  ZEL_ERR_RTOS; ZEL_ERR_RTOS_MUTEX_CREATE; ZEL_ERR_RTOS_MUTEX_WAIT; ZEL_ERR_RTOS_THREAD_CREATE;
//          ZEL_ERR_NULL_POINTER no memory. The next call tries again.
ZEL_EXPORT ZelStatus zelRandomWait(void);

// zelRandomBytes: buffer[length] := random bytes. Errors as zelRandomWait.
ZEL_EXPORT ZelStatus zelRandomBytes(void* buffer, size_t length);

// Keys of RSA and DSA
// ---------------------------------------------------------------------------------------------------------------
//
// Foreign bytes: any bytes give a key or a status. Private RSA keys have two primes, exponents of 2 to 31 bits.
// Public RSA keys are taken up to 524,279 bits and work up to 262,080, with which checking a signature takes up to two
// seconds, and more if the exponent is long: refuse by zelKeyBits what you do not want.

typedef struct ZelKey ZelKey;

typedef int32_t ZelKeyType;
enum { ZEL_KEY_RSA = 1, ZEL_KEY_DSA = 3 };

typedef int32_t ZelKeyFormat;
enum {
    ZEL_PKCS1 = 1, // RSA alone: RSAPrivateKey of a private key, RSAPublicKey of a public one (RFC 8017 appendix A.1)
    ZEL_PKCS8 = 2, // PrivateKeyInfo, of private keys alone (RFC 5208 section 5)
    ZEL_X509 = 3   // SubjectPublicKeyInfo, also the public half of a private key (RFC 5280 section 4.1)
};

typedef int32_t ZelEncoding;
enum { ZEL_DER = 1, ZEL_PEM = 2 };

// zelKeyReadPrivate: *key := the private key in bytes[length]: PKCS#8 (RSA, DSA) or PKCS#1, in DER or PEM.
// zelKeyReadPublic: *key := the public key: X.509 SubjectPublicKeyInfo (RSA, DSA) or PKCS#1, in DER or PEM.
// In/out:  of text the first PEM block counts, whatever stands around it. What follows the key's DER is not looked at.
// Errors:  ZEL_ERR_PEM; ZEL_ERR_BAD_LENGTH above 1 MiB, or a modulus above the limit; ZEL_ERR_BAD_KEY_TYPE a public key for
//          a private one or the reverse; ZEL_ERR_RSA_INVALID_MODULUS; ZEL_ERR_DSA_INVALID_KEYLENGTH p above 16384 bits, q or x
//          above 4096; ZEL_ERR_RTOS_MUTEX_CREATE; else a code of the parser.
// Secrets: time shows the lengths of the key's numbers, and where the lines of PEM end.
ZEL_EXPORT ZelStatus zelKeyReadPrivate(const void* bytes, size_t length, ZelKey** key);
ZEL_EXPORT ZelStatus zelKeyReadPublic(const void* bytes, size_t length, ZelKey** key);

// zelKeyGenerateRsa: *key := a new private key of `bits` bits, 1024 to 16384 in steps of 128, with e = 65537.
// zelKeyGenerateDsa: *key := a new private key with fresh parameters; (pBits, qBits) is (1024, 160), (2048, 224), (2048, 256)
// or (3072, 256).
// In/out:  waits for random bytes. Takes from a hundredth of a second to minutes, depending on the size.
// Errors:  ZEL_ERR_BAD_LENGTH another RSA size; ZEL_ERR_DSA_INVALID_KEYLENGTH another DSA size; as zelRandomWait.
// Source:  FIPS 186-4 B.3.6; FIPS 186-3 A.1.1.2.
ZEL_EXPORT ZelStatus zelKeyGenerateRsa(size_t bits, ZelKey** key);
ZEL_EXPORT ZelStatus zelKeyGenerateDsa(size_t pBits, size_t qBits, ZelKey** key);

// zelKeyWrite: output[*length] := the key. PEM has lines of 64 characters and no NUL behind it.
// Errors:  ZEL_ERR_BAD_KEY_TYPE the key has no such form; ZEL_ERR_INVALID_ARG an unknown format or encoding;
//          ZEL_ERR_BUFFER_OVERFLOW.
ZEL_EXPORT ZelStatus zelKeyWrite(const ZelKey* key, ZelKeyFormat format, ZelEncoding encoding, void* output,
                                 size_t* length);

// zelKeyType: a ZelKeyType. zelKeyIsPrivate: 1 or 0. zelKeyBits: the bits of RSA's modulus or of DSA's p.
// zelKeySignatureSize: the bytes of a signature by this key: of RSA exactly, of DSA at most.
// In/out:  all are 0 for a null pointer or another handle.
ZEL_EXPORT ZelKeyType zelKeyType(const ZelKey* key);
ZEL_EXPORT int zelKeyIsPrivate(const ZelKey* key);
ZEL_EXPORT size_t zelKeyBits(const ZelKey* key);
ZEL_EXPORT size_t zelKeySignatureSize(const ZelKey* key);

// zelKeyFree: wipes and frees; null is OK.
ZEL_EXPORT ZelStatus zelKeyFree(ZelKey* key);

// Signatures: RSASSA-PKCS1-v1_5 (RFC 8017 section 8.2), DSA (FIPS 186-3 section 4) as a DER SEQUENCE of r and s
// ---------------------------------------------------------------------------------------------------------------
//
// Of a digest that is longer than DSA's q the leftmost bits count, as the standard says.

// zelSign: signature[*length] := the signature of message[messageLength]. zelSignDigest: the same of a digest.
// In/out:  digestLength must be zelDigestSize(hash). DSA waits for random bytes; RSA draws none. The room has to be
//          zelKeySignatureSize(key); *length is less by some bytes for most signatures of DSA.
// Errors:  ZEL_ERR_INVALID_ARG an unknown hash; ZEL_ERR_BAD_LENGTH; ZEL_ERR_BAD_KEY_TYPE a public key;
//          ZEL_ERR_RSA_KEY_LENGTH_TOO_SMALL a modulus that does not hold the digest; ZEL_ERR_BUFFER_OVERFLOW;
//          ZEL_ERR_BAD_SIGNATURE the signature failed its own check, because of a fault of the machine or of values of a key
//          that do not belong together; of DSA as zelRandomWait, and other codes for values that no DSA key has.
// Secrets: time shows the lengths of the key's numbers, not their values.
ZEL_EXPORT ZelStatus zelSign(const ZelKey* key, ZelHash hash, const void* message, size_t messageLength,
                             void* signature, size_t* length);
ZEL_EXPORT ZelStatus zelSignDigest(const ZelKey* key, ZelHash hash, const void* digest, size_t digestLength,
                                   void* signature, size_t* length);

// zelVerify: ZEL_OK when signature[length] is a signature of message[messageLength]. zelVerifyDigest: the same of a digest.
// In/out:  a private key will do. All of the encoded message is compared, and DER must be the one right encoding.
// Errors:  ZEL_ERR_BAD_SIGNATURE it is not, in whatever way; ZEL_ERR_INVALID_ARG; ZEL_ERR_BAD_LENGTH;
//          ZEL_ERR_RSA_KEY_LENGTH_TOO_SMALL; other codes: the check could not be made.
ZEL_EXPORT ZelStatus zelVerify(const ZelKey* key, ZelHash hash, const void* message, size_t messageLength,
                               const void* signature, size_t length);
ZEL_EXPORT ZelStatus zelVerifyDigest(const ZelKey* key, ZelHash hash, const void* digest, size_t digestLength,
                                     const void* signature, size_t length);

// zelCheckFile: ZEL_OK when the file signaturePath holds the bare signature of the file path.
// Shapes:  both are narrow strings that end with NUL, on Windows in the code page of the process. A null signaturePath stands
//          for path with ".sig" behind it.
// In/out:  files are read in pieces. Regular files alone are opened: a pipe or a device keeps nobody waiting.
// Errors:  ZEL_ERR_FILE_OPEN_FAILED and ZEL_ERR_FILE_READ_FAILED either file; as zelVerify.
ZEL_EXPORT ZelStatus zelCheckFile(const ZelKey* key, ZelHash hash, const char* path, const char* signaturePath);

#ifdef __cplusplus
}
#endif

#endif
