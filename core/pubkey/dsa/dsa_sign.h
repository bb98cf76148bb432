// DSA signatures with a key as asymKeyReadSigner reads it.
#ifndef ZELSPI_CORE_PUBKEY_DSA_DSA_SIGN_H
#define ZELSPI_CORE_PUBKEY_DSA_DSA_SIGN_H

#include "core/pubkey/dsa/dsa.h"

// dsaSignMakingY: Dsa_Sign; a y that the key lacks is computed side by side with r, for the check alone.
Status dsaSignMakingY(const RandomBytes& random, const DSAKey* dsaKey, const vlong* m, bool* verified, vlong** r,
                      vlong** s, vlong** queue);

#endif
