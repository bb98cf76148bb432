// What people hold in place of an RSA public key.
#ifndef ZELSPI_TOOLS_PUBLIC_KEY_FILE_H
#define ZELSPI_TOOLS_PUBLIC_KEY_FILE_H

#include "capi/zel.h"

#include <string>
#include <vector>

// whyNoPublicKey: what there is in a file that is no RSA public key, with the command that makes one of it.
// In/out:  status is what zelKeyReadPublic says of the content; name is the file's, for the command.
// Foreign bytes: whatever the content, time in proportion to it, and none of it stands in the result.
std::string whyNoPublicKey(const std::vector<std::uint8_t>& content, const std::string& name, ZelStatus status);

#endif
