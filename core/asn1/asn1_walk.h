// The path walker: follows a constant list of moves and checks through a parsed tree.
#ifndef ZELSPI_CORE_ASN1_ASN1_WALK_H
#define ZELSPI_CORE_ASN1_ASN1_WALK_H

#include "core/asn1/asn1_check.h"

// The instructions. Moves: the current item becomes another one. Checks: it stays.
inline constexpr std::uint32_t kWalkEnd = 0; // the current item is the result
inline constexpr std::uint32_t kWalkFirstChild = 1;
inline constexpr std::uint32_t kWalkNextSibling = 2;
inline constexpr std::uint32_t kWalkParent = 3;
inline constexpr std::uint32_t kWalkContextChild = 4;      // tag = argument: Asn1_FindContextChild
inline constexpr std::uint32_t kWalkCheckUniversalTag = 5; // tag = argument
inline constexpr std::uint32_t kWalkCheckContextTag = 6;   // tag = argument
inline constexpr std::uint32_t kWalkCheckOid = 7;          // oid
inline constexpr std::uint32_t kWalkCheckSmallInteger = 8; // value = argument
inline constexpr std::uint32_t kWalkExplicitField = 9;     // tag = argument: the context child, then its first child
inline constexpr std::uint32_t kWalkSequenceByOid = 10;    // oid: Asn1_FindSequenceByOid
inline constexpr std::uint32_t kWalkNthChild = 11;         // n = argument: Asn1_NthChild
inline constexpr std::uint32_t kWalkIntoOctetString = 12;  // the first child; if that is a constructed OCTET STRING,
                                                           // on to its first child

struct Asn1WalkStep {
    std::uint32_t instruction;
    std::uint32_t argument;
    Asn1Oid oid; // for kWalkCheckOid and kWalkSequenceByOid only
};

// Asn1_WalkPath: runs the steps from start up to the first kWalkEnd and returns the item reached.
// In/out:  *resultOut is null on failure.
// Errors:  ERR_NULL_POINTER                  start, steps or resultOut null
//          ERR_WALKER_VERIFY_FAILED          a check failed
//          ERR_WALKER_OUT_OF_TREE            a move reached no item
//          ERR_WALKER_INVALID_INSTRUCTION    a step that needs an OID has none
//          ERR_WALKER_UNKNOWN_INSTRUCTION    no such instruction
//          ERR_INDEX_OOB, ERR_CERT_INVALID_STRUCT as Asn1_NthChild
Status Asn1_WalkPath(Asn1Node* start, ByteStream stream, const Asn1WalkStep* steps, Asn1Node** resultOut);

#endif
