#include "core/asn1/asn1_walk.h"

namespace {

Asn1Node* firstChildOrNull(const Asn1Node* item) {
    return item == nullptr ? nullptr : asn1FirstChild(item);
}

Status verified(Status check) {
    return isError(check) ? ERR_WALKER_VERIFY_FAILED : OK;
}

bool isConstructedOctetString(const Asn1Node& item) {
    return item.id == (kAsn1Universal | kAsn1Constructed) && item.tag == kAsn1OctetString;
}

// Takes one step from *current. A move that reaches no item leaves *current null and succeeds.
Status takeStep(const Asn1WalkStep& step, ByteStream stream, Asn1Node** current) {
    Asn1Node* const item = *current;
    switch (step.instruction) {
    case kWalkFirstChild:
        *current = asn1FirstChild(item);
        return OK;
    case kWalkNextSibling:
        *current = asn1NextSibling(item);
        return OK;
    case kWalkParent:
        *current = asn1Parent(item);
        return OK;
    case kWalkContextChild:
        return Asn1_FindContextChild(item, step.argument, current);
    case kWalkCheckUniversalTag:
        return verified(Asn1_CheckUniversalTag(item, step.argument));
    case kWalkCheckContextTag:
        return verified(Asn1_CheckContextTag(item, step.argument));
    case kWalkCheckOid:
        return step.oid == nullptr ? ERR_WALKER_INVALID_INSTRUCTION : verified(Asn1_CheckOid(item, stream, step.oid));
    case kWalkCheckSmallInteger:
        return verified(Asn1_CheckSmallInteger(item, step.argument));
    case kWalkExplicitField:
        RETURN_IF_ERROR(Asn1_FindContextChild(item, step.argument, current));
        *current = firstChildOrNull(*current);
        return OK;
    case kWalkSequenceByOid:
        return step.oid == nullptr ? ERR_WALKER_INVALID_INSTRUCTION
                                   : Asn1_FindSequenceByOid(item, stream, step.oid, current);
    case kWalkNthChild:
        return Asn1_NthChild(item, step.argument, current);
    case kWalkIntoOctetString:
        *current = asn1FirstChild(item);
        if (*current != nullptr && isConstructedOctetString(**current)) {
            *current = asn1FirstChild(*current);
        }
        return OK;
    default:
        return ERR_WALKER_UNKNOWN_INSTRUCTION;
    }
}

} // namespace

Status Asn1_WalkPath(Asn1Node* start, ByteStream stream, const Asn1WalkStep* steps, Asn1Node** resultOut) {
    if (resultOut != nullptr) {
        *resultOut = nullptr;
    }
    if (start == nullptr || steps == nullptr || resultOut == nullptr) {
        return ERR_NULL_POINTER;
    }
    Asn1Node* current = start;
    for (; steps->instruction != kWalkEnd; ++steps) {
        RETURN_IF_ERROR(takeStep(*steps, stream, &current));
        if (current == nullptr) {
            return ERR_WALKER_OUT_OF_TREE;
        }
    }
    *resultOut = current;
    return OK;
}
