#include "bridge/zel_sha1_message_digest.h"

ZelSha1MessageDigest::~ZelSha1MessageDigest() = default;
