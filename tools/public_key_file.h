// The RSA public key in a file, in the forms that other programs write.
#ifndef ZELSPI_TOOLS_PUBLIC_KEY_FILE_H
#define ZELSPI_TOOLS_PUBLIC_KEY_FILE_H

#include <cstdint>
#include <string>
#include <vector>

struct PublicKeyFile {
    // The RSAPublicKey of PKCS#1 in DER, or what looks like one. Empty if there is none; reason then says what there is
    // instead, with the command that makes a public key of it.
    std::vector<std::uint8_t> pkcs1;
    std::string reason;
};

// readPublicKeyFile: finds the key in a file's content: an RSAPublicKey of PKCS#1 or a SubjectPublicKeyInfo of X.509, each
// in DER or in PEM, of which the first block counts.
// In/out:  name is the file's, for the command. The numbers in the key are not examined.
// Foreign bytes: whatever the content, time and memory in proportion to it, and none of it stands in reason.
// Source:  RFC 7468 (parsed as its "lax" syntax), RFC 5280 section 4.1, RFC 8017 appendix A.1.
PublicKeyFile readPublicKeyFile(const std::vector<std::uint8_t>& content, const std::string& name);

#endif
