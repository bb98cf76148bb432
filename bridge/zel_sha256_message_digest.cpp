#include "bridge/zel_sha256_message_digest.h"

ZelSha256MessageDigest::~ZelSha256MessageDigest() = default;
