// Modular exponentiation: base^exponent mod modulus. The general conventions stand at the head of vlong.h.
//
// Odd moduli of two units and more go through Montgomery arithmetic with windows over the exponent, all others through
// a right-to-left binary scan with Barrett's reduction. k is the length of the modulus in units, R is 2^(64 k).
//
// Signs: those of base and exponent are not looked at; the result is a power of |base|. The modulus is not negative.
// Limits: moduli above 4094 units need not fit the double-length intermediates, from 4096 they never do:
// ERR_BAD_LENGTH. For the same reason base and an odd modulus together must stay below kMaxUnits units. Queue:
// temporaries come from the queue and go back to it; without one an exponentiation makes its own and drains it.
// Secrets: the exponent, unless it is named as a secret, is public, and the time depends on it; it depends on base and
// modulus too where Montgomery's method does not take them as they are (a base above the modulus, an even modulus).
#ifndef ZELSPI_CORE_BIGNUM_MODEXP_H
#define ZELSPI_CORE_BIGNUM_MODEXP_H

#include "core/bignum/vlong.h"

// MontgomeryCtx: what exponentiations with one modulus share. All zero is a state that is safe to release. Read-only
// during exponentiations; a context, like a record, belongs to one thread.
struct MontgomeryCtx {
    Unit negInverse; // -1/modulus modulo 2^64
    vlong* R;        // 2^(64 k); null, like RInverse, in a ScopedMontgomeryCtx: VLONG_montExpBinary alone reads them
    vlong* RInverse; // 1/R mod modulus
    vlong* modulus;  // a copy of its own
    // R^2 mod modulus, which may be 0, in k units; empty where no exponentiation takes the modulus.
    vlong* radixSquared;
};

// VLONG_modExp: a new record := base^exponent mod modulus.
// In/out:  decided in this order: a zero modulus is an error; a zero base gives 0 (also for 0^0); a zero exponent gives
//          1 (also for modulus 1). Base may exceed the modulus.
// Oddity:  for an even or one-unit modulus a result that is 0 can come out as the modulus itself (3^2 mod 9 gives 9).
// Errors:  ERR_NULL_POINTER; ERR_BAD_MODULO modulus zero; growth.
Status VLONG_modExp(const vlong* base, const vlong* exponent, const vlong* modulus, vlong** out, vlong** queue);

// VLONG_newMontgomeryCtx: a new context; release it with VLONG_deleteMontgomeryCtx.
// VLONG_initMontgomeryCtx: a context in the storage given, whose contents are overwritten; release its records with
// VLONG_clearMontgomeryCtx.
// In/out:  the modulus is to be odd, which is not checked: another one (from a foreign key) gives a context whose
//          powers mean nothing but are below the modulus, or, when it is zero, ERR_DIVIDE_BY_ZERO. Nothing is held on
//          failure.
// Errors:  ERR_NULL_POINTER; growth.
Status VLONG_newMontgomeryCtx(MontgomeryCtx** out, const vlong* modulus, vlong** queue);
Status VLONG_initMontgomeryCtx(MontgomeryCtx* context, const vlong* modulus, vlong** queue);

// VLONG_initPowerCtx: VLONG_initMontgomeryCtx without R and RInverse, for every power but that of VLONG_montExpBinary.
Status VLONG_initPowerCtx(MontgomeryCtx* context, const vlong* modulus, vlong** queue);

// VLONG_newSecretMontgomeryCtx: VLONG_newMontgomeryCtx in a time that shows no more of the modulus than its bit length, if
// takesResidues (residues.h) holds for it.
Status VLONG_newSecretMontgomeryCtx(MontgomeryCtx** out, const vlong* modulus, vlong** queue);

// VLONG_clearMontgomeryCtx: releases the records of a context and sets all of it to zero. Null is accepted; never fails.
// VLONG_deleteMontgomeryCtx: the same for a context of the heap, which is freed; *context becomes null. A null pointer
// or a null context is accepted; never fails.
Status VLONG_clearMontgomeryCtx(MontgomeryCtx* context, vlong** queue);
Status VLONG_deleteMontgomeryCtx(MontgomeryCtx** context, vlong** queue);

// VLONG_cloneMontgomeryCtx: a new context equal to source, for another thread. Errors as VLONG_newMontgomeryCtx.
Status VLONG_cloneMontgomeryCtx(const MontgomeryCtx* source, MontgomeryCtx** out, vlong** queue);

// VLONG_modExpCtx: VLONG_modExp with a prepared context, always by Montgomery's method.
// Errors:  ERR_NULL_POINTER; ERR_DIVIDE_BY_ZERO modulus zero; growth.
Status VLONG_modExpCtx(const MontgomeryCtx* context, const vlong* base, const vlong* exponent, vlong** out,
                       vlong** queue);

// ModExpOperands: an exponentiation with a prepared context: *out := a new record, base^exponent mod modulus.
//
// A secret exponent, of a modulus for which takesResidues (residues.h) holds, has no more bits than secretBits, its public
// length. Time and addresses then depend on lengths alone, 0^0 is 1, and the result has k units to be read, zeros above
// its length.
struct ModExpOperands {
    const MontgomeryCtx* context;
    const vlong* base;
    const vlong* exponent;
    vlong** out;
    std::uint32_t secretBits = 0; // 0 for a public exponent
    bool isBasePublic = false;    // with a secret exponent: base and modulus are no secrets
};

// VLONG_modExpOne: one of them. Errors: as VLONG_modExpCtx.
Status VLONG_modExpOne(const ModExpOperands& power, vlong** queue);

// VLONG_modExpCtxPair: two exponentiations as by VLONG_modExpCtx, side by side where a kernel can do that: for the two
// primes of an RSA key, or the two powers of a DSA verification.
// Errors:  as VLONG_modExpCtx; both out-pointers are null on failure.
Status VLONG_modExpCtxPair(const ModExpOperands& first, const ModExpOperands& second, vlong** queue);

// VLONG_montMultiply: a := a * b / R mod modulus, in place. VLONG_montSquare: a := a * a / R mod modulus.
// In/out:  0 <= a, b < modulus. A record a of less than k units capacity grows and keeps its value; scratch is any
//          record but a and b, grown as needed and overwritten. A zero result has length 1 with unit 0, not length 0:
//          on purpose.
// Errors:  ERR_NULL_POINTER; ERR_BAD_MODULO the context has no modulus; ERR_BAD_LENGTH a or b longer than the modulus;
//          growth.
Status VLONG_montMultiply(const MontgomeryCtx* context, vlong* a, const vlong* b, vlong* scratch);
Status VLONG_montSquare(const MontgomeryCtx* context, vlong* a, vlong* scratch);

// VLONG_montNegInverse64: -1/modulus modulo 2^64, of which unit 0 of the modulus decides. Means nothing when that is
// even.
Unit VLONG_montNegInverse64(const vlong* modulus);

// VLONG_windowWidth: the window for an exponent of that many bits, 2 to 6.
std::uint32_t VLONG_windowWidth(std::uint32_t exponentBits);

// The two engines behind VLONG_modExp, for base and exponent other than zero, and the forms of the first: by windows
// and by single bits (which the width table never asks for). Both take an exponent of 0.
// Errors:  VLONG_modExpMontgomery ERR_BAD_MODULO for an even modulus; else as VLONG_modExp.
Status VLONG_modExpMontgomery(const vlong* base, const vlong* exponent, const vlong* modulus, vlong** out,
                              vlong** queue);
Status VLONG_modExpBarrett(const vlong* base, const vlong* exponent, const vlong* modulus, vlong** out, vlong** queue);
Status VLONG_montExpWindow(const MontgomeryCtx* context, const vlong* base, const vlong* exponent, vlong** out,
                           vlong** queue);
Status VLONG_montExpBinary(const MontgomeryCtx* context, const vlong* base, const vlong* exponent, vlong** out,
                           vlong** queue);

// VLONG_barrettMu: a new record := 2^(128 k) div modulus.
// VLONG_barrettReduce: a new record := x mod modulus, or the modulus itself in place of 0; mu from VLONG_barrettMu.
// VLONG_barrettMulMod: a new record := x * y reduced in the same way.
// Errors:  ERR_NULL_POINTER; ERR_DIVIDE_BY_ZERO modulus zero; ERR_BAD_LENGTH the value to reduce has more than 2 k
//          units; growth.
// Source:  Barrett 1986; Menezes, van Oorschot, Vanstone, Handbook of Applied Cryptography, algorithm 14.42.
Status VLONG_barrettMu(const vlong* modulus, vlong** out, vlong** queue);
Status VLONG_barrettReduce(const vlong* x, const vlong* modulus, const vlong* mu, vlong** out, vlong** queue);
Status VLONG_barrettMulMod(const vlong* x, const vlong* y, const vlong* modulus, const vlong* mu, vlong** out,
                           vlong** queue);

#endif
