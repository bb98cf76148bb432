// Goes through the check's outcomes in the working folder, with debug output on; output.txt says what that prints.
#include "tests/bridge/file_signature/signed_file.h"

#include <cstdlib>

using namespace filetest;

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
    return fine ? 0 : 1;
}
