// RSA signatures that are checked before they leave the library.
#ifndef ZELSPI_CORE_PUBKEY_RSA_RSA_SIGN_H
#define ZELSPI_CORE_PUBKEY_RSA_RSA_SIGN_H

#include "core/pubkey/key/asym_key.h"

// rsaIsProduct: whether p q = n in a prepared private key, which is public. Errors: ERR_MEM_ALLOC_FAIL.
Status rsaIsProduct(const RSAKey& key, bool* answer);

// rsaSign: *out := message^d mod n, unblinded, for a message below n. Where p q = n the result is checked by the public
// operation: a fault of the machine in one half, or a key whose values do not belong together, would give away a prime.
// Errors:  as Rsa_PrivateCrt and Rsa_PublicOp; ERR_RSA_BAD_SIGNATURE the check has failed.
Status rsaSign(RSAKey* rsaKey, const vlong* message, vlong** out, vlong** queue);

#endif
