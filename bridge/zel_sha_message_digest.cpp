#include "bridge/zel_sha_message_digest.h"

ZelShaMessageDigest::~ZelShaMessageDigest() = default;
