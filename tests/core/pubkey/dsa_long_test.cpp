// The generation of a DSA key of 3072 bits, whose p is tested in fifty rounds.
#include "tests/core/pubkey/dsa_vectors.h"

namespace {

TEST(DsaLong, KnownKey) {
    const dsatest::KnownKey kKeys[] = {
#include "tests/core/pubkey/dsa_long_keys.inc"
    };
    DSAKey key{};
    dsatest::generateKnownKey(kKeys[0], key);
    dsaKeyClear(&key, nullptr);
}

} // namespace
