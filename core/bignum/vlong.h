// vlong: the big integer under RSA, DSA and the prime tests. Records, storage, single units and bits, comparison.
// Conversions stand in vlong_convert.h, arithmetic in vlong_math.h, exponentiation in modexp.h.
//
// Representation. Sign and magnitude. The magnitude is an array of 64-bit units, least significant first: unit i holds
// bits 64*i to 64*i+63. `length` units are significant, `capacity` units are allocated; what stands above `length` has
// no meaning. A record is never sized above kMaxUnits units: such a request gives ERR_BAD_LENGTH.
//
// Normalised form. The top significant unit is not zero, so zero has length 0. Every operation that can shorten a value
// trims it. Two results deviate: a Montgomery product that is zero has length 1 (modexp.h), and the sign flag of a zero
// is whatever the operation left there (a right shift that clears a negative value, a difference or product that is
// zero, a remainder of a negative dividend). So zero is tested by VLONG_isZero, which looks at the length alone;
// VLONG_cmpUnit believes the flag.
//
// Ownership. Whoever holds the pointer owns the record. A function that returns a new record passes ownership to its
// caller, who releases it with VLONG_free; on failure it returns none and the out-pointer is null (where a null argument
// is the failure, the out-pointer is left as it was).
//
// Spare-record queue. A singly linked list of released records, threaded through `next`, that one computation owns and
// passes down by the address of its head. Records taken from it keep their unit buffers, so a long computation recycles
// its memory instead of going to the heap; parked buffers are not wiped until VLONG_freeQueue. Null means no queue. No
// locking: a queue, like a record, belongs to one thread.
//
// Conventions. Pointer arguments are checked first, in their order: ERR_NULL_POINTER. Functions that return a number or
// a truth value read a null record as zero. Growth is the only thing that can fail beyond that: ERR_BAD_LENGTH above
// the size limit, ERR_MEM_ALLOC_FAIL when the heap refuses; "Errors: growth" below means these two. After a failure a
// record that was to be changed holds an unspecified, valid value. Whatever is not promised otherwise takes time that
// depends on the values: secrets go by residues.h and modexp.h.
#ifndef ZELSPI_CORE_BIGNUM_VLONG_H
#define ZELSPI_CORE_BIGNUM_VLONG_H

#include "core/status/status.h"

#include <cstdint>

using Unit = std::uint64_t;

inline constexpr std::uint32_t kUnitBits = 64;
inline constexpr std::uint32_t kMaxUnits = 8192;

struct vlong {
    Unit* units;            // null while capacity is 0
    std::uint32_t capacity; // in units
    std::uint32_t length;   // in units
    std::uint32_t negative; // 0 or 1
    vlong* next;            // the next spare record while this one is in a queue, null otherwise
};

// Records
// ---------------------------------------------------------------------------------------------------------------

// VLONG_alloc: a zero record, the head of the queue if it has one (its buffer comes along), else a new one with
// capacity 0.
// Errors:  ERR_NULL_POINTER out null; ERR_MEM_ALLOC_FAIL.
Status VLONG_alloc(vlong** out, vlong** queue);

// VLONG_free: releases *value and clears it: into the queue unchanged, or, without one, wiped and back to the heap.
// Errors:  ERR_NULL_POINTER value or *value null.
Status VLONG_free(vlong** value, vlong** queue);

// VLONG_freeQueue: wipes and frees every spare record. A null queue is accepted; never fails.
Status VLONG_freeQueue(vlong** queue);

// VLONG_newValue: a new record holding value.
// VLONG_newCopy: a new record equal to source, sign included.
// Errors:  ERR_NULL_POINTER; growth.
Status VLONG_newValue(Unit value, vlong** out, vlong** queue);
Status VLONG_newCopy(const vlong* source, vlong** out, vlong** queue);

// VLONG_copy: target := source. VLONG_copyMagnitude: target := |source|.
// In/out:  target may be source: then nothing changes, not even the sign.
// Errors:  ERR_NULL_POINTER; growth.
Status VLONG_copy(vlong* target, const vlong* source);
Status VLONG_copyMagnitude(vlong* target, const vlong* source);

// VLONG_clear: value := 0 with its sign flag 0; the buffer stays and is not wiped.
// VLONG_setValue: value := the unit given.
// Errors:  ERR_NULL_POINTER; growth.
Status VLONG_clear(vlong* value);
Status VLONG_setValue(vlong* value, Unit unit);

// VLONG_growKeep: makes the capacity at least unitCount and keeps the value. A new buffer has 3 units more than asked
// for, to absorb later carries. VLONG_growDiscard: the same with 1 unit more; when a new buffer is needed the length
// becomes 0. For outputs that are about to be overwritten.
// In/out:  nothing changes when the capacity suffices, or on failure. The old buffer is wiped.
// Errors:  ERR_NULL_POINTER; ERR_BAD_LENGTH unitCount above kMaxUnits, also when the spare units of an earlier growth
//          would hold it; ERR_MEM_ALLOC_FAIL.
Status VLONG_growKeep(vlong* value, std::uint64_t unitCount);
Status VLONG_growDiscard(vlong* value, std::uint64_t unitCount);

// Units and bits
// --------------------------------------------------------------------------------------------------------

// VLONG_setUnit: stores a unit of the magnitude. Below the length the value is trimmed if it became shorter; above, the
// value grows and the units between are zero, except that a zero is never stored there.
// Errors:  ERR_NULL_POINTER; growth.
Status VLONG_setUnit(vlong* value, std::uint32_t index, Unit unit);

// VLONG_setBit: sets a bit of the magnitude; the value grows as needed. Errors as VLONG_setUnit.
Status VLONG_setBit(vlong* value, std::uint32_t index);

// VLONG_getUnit, VLONG_getByte, VLONG_testBit: unit, byte or bit of the magnitude, counted from the least significant
// end; 0 beyond the length.
Unit VLONG_getUnit(const vlong* value, std::uint32_t index);
std::uint8_t VLONG_getByte(const vlong* value, std::uint32_t index);
bool VLONG_testBit(const vlong* value, std::uint32_t index);

// VLONG_isZero: whether the length is 0; the sign flag does not count.
bool VLONG_isZero(const vlong* value);

// VLONG_bitLength: the significant bits of the magnitude, 0 for zero.
std::uint32_t VLONG_bitLength(const vlong* value);

// VLONG_normalise: trims zero top units.
void VLONG_normalise(vlong* value);

// Comparison: -1, 0 or 1
// ------------------------------------------------------------------------------------------------

// VLONG_cmpMagnitude: |a| against |b|. The longer one wins, so both must be normalised for a true answer.
std::int32_t VLONG_cmpMagnitude(const vlong* a, const vlong* b);

// VLONG_cmp: a against b with signs; a flagged zero counts as zero.
std::int32_t VLONG_cmp(const vlong* a, const vlong* b);

// VLONG_cmpUnit: a against an unsigned unit. -1 for every a whose sign flag is set, a flagged zero too.
std::int32_t VLONG_cmpUnit(const vlong* a, Unit unit);

#endif
