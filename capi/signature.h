// What the checks of messages and of files have in common.
#ifndef ZELSPI_CAPI_SIGNATURE_H
#define ZELSPI_CAPI_SIGNATURE_H

#include "capi/digest.h"
#include "capi/key.h"

// verifyDigest: whether signature[length] is the key's for digest[algorithm.digestBytes].
// Errors:  as zelVerifyDigest, whose arguments these are, checked.
Status verifyDigest(const ZelKey& key, const HashAlgorithm& algorithm, const std::uint8_t* digest,
                    const std::uint8_t* signature, std::size_t length);

#endif
