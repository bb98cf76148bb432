// The inverse of a public exponent, as it is needed for dP, dQ and d. For use inside core/pubkey.
#ifndef ZELSPI_CORE_PUBKEY_RSA_INTERNAL_EXPONENT_INVERSE_H
#define ZELSPI_CORE_PUBKEY_RSA_INTERNAL_EXPONENT_INVERSE_H

#include "core/bignum/vlong.h"

// inverseOfExponent: a new record := VLONG_modInverse(exponent, modulus), for every modulus and exponent, but many times
// faster where exponent is odd, has at most 32 bits and no common divisor with the modulus.
// Errors:  ERR_NULL_POINTER; as VLONG_modInverse. Secrets: in that case the time depends on the exponent and on the length
//          of the modulus only.
Status inverseOfExponent(const vlong* exponent, const vlong* modulus, vlong** out, vlong** queue);

#endif
