// check_file KEY FILE: asks the library whether FILE.sig is a signature of FILE by the key in KEY (a PKCS#1 RSAPublicKey
// in DER, at most 500 bytes), and prints the status that it answers. How far that answer goes stands in zel_util.h.
#include <zelspi/zel_util.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: check_file KEY FILE\n");
        return 2;
    }
    unsigned char key[501];
    std::FILE* const file = std::fopen(argv[1], "rb");
    if (file == nullptr) {
        std::fprintf(stderr, "%s: cannot be opened\n", argv[1]);
        return 2;
    }
    const std::size_t keyLength = std::fread(key, 1, sizeof key, file);
    std::fclose(file);

    const int status =
        ZelUtil::checkFileSignature(key, static_cast<int>(keyLength), argv[2], static_cast<int>(std::strlen(argv[2])));
    std::printf("%d\n", status);
    return status == 0 ? 0 : 1;
}
