// The entry points of the classes ZelSha1WithRsaSignatureSpi and ZelSha256WithRsaSignatureSpi.
#include "bridge/signature_entries.h"
#include "bridge/zel_sha_with_rsa_signature.h"

namespace {

struct Sha1WithRsa {
    using Engine = ZelShaWithRsaSignature;
    static Engine* make() {
        return new Engine(kSignatureSha1);
    }
};

struct Sha256WithRsa {
    using Engine = ZelShaWithRsaSignature;
    static Engine* make() {
        return new Engine(kSignatureSha256);
    }
};

} // namespace

ZEL_SIGNATURE_ENTRIES(ZelSha1WithRsaSignatureSpi, Sha1WithRsa)
ZEL_SIGNATURE_ENTRIES(ZelSha256WithRsaSignatureSpi, Sha256WithRsa)
