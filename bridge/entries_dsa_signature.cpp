// The entry points of the class ZelSha1WithDsaSignatureSpi.
#include "bridge/signature_entries.h"
#include "bridge/zel_sha1_with_dsa_signature.h"

namespace {

struct Sha1WithDsa {
    using Engine = ZelSha1WithDsaSignature;
    static Engine* make() {
        return new Engine;
    }
};

} // namespace

ZEL_SIGNATURE_ENTRIES(ZelSha1WithDsaSignatureSpi, Sha1WithDsa)
