// The computation by the two primes of an RSA key, by residues. For use inside core/pubkey.
//
// It takes prepared keys whose p and q are odd, of two units and more: hasHiddenCrt. That holds for every real key; for
// other values of strangers rsa_private.cpp computes by division.
#ifndef ZELSPI_CORE_PUBKEY_RSA_INTERNAL_RSA_CRT_H
#define ZELSPI_CORE_PUBKEY_RSA_INTERNAL_RSA_CRT_H

#include "core/pubkey/key/asym_key.h"

// isSmaller: whether a is below b, both not negative. The answer is public: of the primes of a key it is their order.
bool isSmaller(const vlong* a, const vlong* b);

// hasHiddenCrt: whether the functions below take a key. The answer is public.
bool hasHiddenCrt(const RSAKey& key);

// rsaHiddenPower: *out := input^d mod p q in all units of p and q, not normalised.
// rsaHiddenInverse: *out := 1/input mod p q in the same form when p and q are prime; else a number without meaning.
// Errors:  growth. Secrets: time depends on lengths only.
Status rsaHiddenPower(const RSAKey& key, const vlong* input, vlong** out, vlong** queue);
Status rsaHiddenInverse(const RSAKey& key, const vlong* input, vlong** out, vlong** queue);

// rsaInverseModPrime: *out := VLONG_modInverse(a, p). Errors: as VLONG_modInverse.
// Secrets: time depends on lengths only for a prime p of 2 to 128 units.
Status rsaInverseModPrime(const vlong* a, const vlong* p, vlong** out, vlong** queue);

#endif
