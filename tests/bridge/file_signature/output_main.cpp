// Goes through the check's outcomes in the working folder, with debug output on; output.txt says what that prints.
#include "tests/bridge/file_signature/signed_file.h"

#include <algorithm>
#include <cstdint>
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

// Nor does reading, which is to fail once, behind that many bytes. The end of the file is not reached then.
static std::size_t readable = SIZE_MAX;
extern "C" std::size_t __real_fread(void*, std::size_t, std::size_t, std::FILE*);
extern "C" std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* file) {
    const std::size_t allowed = std::min(count, readable);
    readable = allowed < count || readable == SIZE_MAX ? SIZE_MAX : readable - count;
    return __real_fread(to, size, allowed, file);
}

int main() {
    static char on[] = "zel_debug=1";
    const Octets noKey = fromHex("30 00"), data = content(5), signature = fromHex(kSignedFiles[1].signature);
    const SignedFile& file = *std::rbegin(kSignedFiles);
    bool fine = writeFile("data", content(file.size + 50000)) && writeFile("data.sig", fromHex(file.signature));
    readable = file.size; // what has been read is checked as if it were the file
    fine &= check(kPublicKey, "data") == 0 && readable == SIZE_MAX;
    (void)std::remove("data");
    (void)std::remove("data.sig");
    fine &= putenv(on) == 0;
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
