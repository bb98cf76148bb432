// Goes through the check's outcomes in the working folder, with debug output on; output.txt says what that prints.
#include "tests/bridge/file_signature/signed_file.h"

#include <cstdlib>

using namespace filetest;

// The linker puts the second of these in place of the first (--wrap). Hashing a file never fails by itself.
static int failsWith = 0;
extern "C" int __real__ZN22ZelShaWithRsaSignature12nativeUpdateEPKhii(void*, const std::uint8_t*, int, int);
extern "C" int __wrap__ZN22ZelShaWithRsaSignature12nativeUpdateEPKhii(void* engine, const std::uint8_t* input,
                                                                      int offset, int length) {
    return failsWith != 0 ? failsWith
                          : __real__ZN22ZelShaWithRsaSignature12nativeUpdateEPKhii(engine, input, offset, length);
}

int main() {
    static char on[] = "zel_debug=1";
    const Octets noKey = fromHex("30 00"), data = content(5), signature = fromHex(kSignedFiles[1].signature);
    (void)std::remove("data");
    (void)std::remove("data.sig");
    bool fine = putenv(on) == 0;
    fine &= ZelUtil::checkFileSignature(kPublicKey.data(), 270, "data", 256) == -6103;
    fine &= ZelUtil::checkFileSignature(kPublicKey.data(), 501, "data", 4) == -7701;
    fine &= check(noKey, "data") == -7703;
    fine &= check(kPublicKey, "data") == -7201;
    fine &= writeFile("data", data) && check(kPublicKey, "data") == -7201;
    fine &= writeFile("data.sig", Octets(501)) && check(kPublicKey, "data") == -7701;
    fine &= writeFile("data.sig", Octets(256)) && check(kPublicKey, "data") == -7702;
    fine &= writeFile("data.sig", signature) && check(kPublicKey, "data") == 0;
    fine &= writeFile("data", content(4)) && check(kPublicKey, "data") == -7711;
    for (const int status : {-6015, -1}) { // with a name and without
        failsWith = status;
        fine &= check(kPublicKey, "data") == -7202;
    }
    return fine ? 0 : 1;
}
