// Files with signatures for the tests of the file signature check.
#ifndef ZELSPI_TESTS_BRIDGE_SIGNED_FILE_H
#define ZELSPI_TESTS_BRIDGE_SIGNED_FILE_H

#include "bridge/zel_util.h"
#include "tests/support/hex.h"

#include <cstdio>
#include <string>

namespace filetest {

using Octets = std::vector<std::uint8_t>;

inline const Octets kPublicKey = fromHex(
#define PUBLIC_KEY(hex) hex
#include "tests/bridge/file_signature/vectors.inc"
#undef PUBLIC_KEY
);

struct SignedFile {
    unsigned size;
    const char* signature;
};
inline const SignedFile kSignedFiles[] = {
#define SIGNED_FILE(...) {__VA_ARGS__},
#include "tests/bridge/file_signature/vectors.inc"
#undef SIGNED_FILE
};

// content: the bytes of a file of that size.
inline Octets content(unsigned size) {
    Octets bytes(size);
    for (unsigned i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(7 * i + i / 256);
    }
    return bytes;
}

// writeFile: whether the file now holds these bytes.
inline bool writeFile(const std::string& path, const Octets& bytes) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

// check: the check with a key and a path of their own lengths.
inline int check(const Octets& key, const std::string& path) {
    return ZelUtil::checkFileSignature(key.data(), static_cast<int>(key.size()), path.c_str(),
                                       static_cast<int>(path.size() < 255 ? path.size() : 255));
}

} // namespace filetest

#endif
