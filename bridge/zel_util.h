// ZelUtil: services for native callers in the same process.
#ifndef ZELSPI_BRIDGE_ZEL_UTIL_H
#define ZELSPI_BRIDGE_ZEL_UTIL_H

#include "zel_export.h"

class ZEL_EXPORT ZelUtil {
public:
    // isDebugEnabled: 1 when the environment variable zel_debug is defined, with any value or none, else 0. Asked
    // afresh at every call.
    static int isDebugEnabled();

    // checkFileSignature: whether the file filePath + ".sig" is a signature of the file filePath with SHA256withRSA
    // (RSASSA-PKCS1-v1_5). Returns 0 if it is. The file is read in pieces: memory does not grow with it.
    // Shapes:  key[keyLength]: the public key, an RSAPublicKey of PKCS#1 in DER. filePath is a narrow string that ends
    //          with NUL; pathLength is checked, and otherwise not used. The signature file holds the bare signature,
    //          as many bytes as the modulus.
    // In/out:  prints its progress to standard output when debug output is enabled. Moduli of up to 3888 bits fit the
    //          limit of the key (with the exponent 65537): a 4096-bit key is refused.
    // Oddity:  of what a signature opens to, the first 32 bytes are compared, which are 13 bytes of the digest, and what
    //          stands behind them is not looked at. With a public exponent of 3 anybody can make such a signature without
    //          the private key: give keys with 65537 only. What is missing from a signature file that is too short counts
    //          as zeros; what is too much does not count.
    // Errors:  in this order:
    //          -6103 (ERR_MEM_ALLOC_SIZE)         filePath null, pathLength not within 1 to 255
    //          -7701 (ERR_RSA_INVALID_KEY)        key null, keyLength not within 0 to 500
    //          the status of the key's reader     key unreadable
    //          -7201 (ERR_FILE_OPEN_FAILED)       the file cannot be opened, or is a directory
    //          -7202 (ERR_FILE_READ_FAILED)       hashing failed
    //          -7201                              the same for the signature file
    //          -7701                              the signature file has more than 500 bytes
    //          -7711 (ERR_RSA_BAD_SIGNATURE)      the signature is another one; or another status of opening it, such as
    //          -7702 (ERR_RSA_DECRYPTION)         there is no signature in it at all
    //          -6101 (ERR_MEM_ALLOC_FAIL)         memory ran out, anywhere
    static int checkFileSignature(const unsigned char* key, int keyLength, const char* filePath, int pathLength);
};

#endif
