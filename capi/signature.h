// What the checks of messages and of files have in common.
#ifndef ZELSPI_CAPI_SIGNATURE_H
#define ZELSPI_CAPI_SIGNATURE_H

#include "capi/digest.h"
#include "capi/key.h"
#include "core/memory/byte_view.h"

// verifyDigest: whether the signature is the key's for digest[algorithm.digestBytes].
// Errors:  as zelVerifyDigest, whose arguments these are, checked.
Status verifyDigest(const ZelKey& key, const HashAlgorithm& algorithm, const std::uint8_t* digest, ByteView signature);

#endif
