// encrypt_text TEXT: encrypts TEXT with AES-256-CBC under a random key, prints the ciphertext's length, decrypts it again and
// prints what comes out. Shows how handles and statuses go into C++: an owner for the one, an exception for the other.
#include <zelspi/zel.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct FreeAes {
    void operator()(ZelAes* aes) const {
        zelAesFree(aes);
    }
};
using Aes = std::unique_ptr<ZelAes, FreeAes>;

void require(ZelStatus status) {
    if (status != ZEL_OK) {
        const char* const name = zelStatusName(status);
        throw std::runtime_error(name != nullptr ? name : "unknown status");
    }
}

std::vector<unsigned char> crypt(ZelDirection direction, const unsigned char* key, const unsigned char* iv,
                                 const std::vector<unsigned char>& input) {
    ZelAes* handle = nullptr;
    require(zelAesNew(ZEL_AES_CBC, direction, key, 32, iv, &handle));
    const Aes aes(handle);
    std::size_t length = 0;
    require(zelAesFinish(aes.get(), input.data(), input.size(), nullptr, &length));
    std::vector<unsigned char> output(length);
    require(zelAesFinish(aes.get(), input.data(), input.size(), output.data(), &length));
    output.resize(length);
    return output;
}

} // namespace

int main(int argc, char** argv) {
    const std::string text = argc > 1 ? argv[1] : "";
    try {
        unsigned char key[32], iv[ZEL_AES_BLOCK_SIZE];
        require(zelRandomBytes(key, sizeof key)); // the first use of randomness in a process: some six seconds
        require(zelRandomBytes(iv, sizeof iv));
        const auto ciphertext = crypt(ZEL_ENCRYPT, key, iv, std::vector<unsigned char>(text.begin(), text.end()));
        const auto back = crypt(ZEL_DECRYPT, key, iv, ciphertext);
        std::printf("%zu bytes of ciphertext: %s\n", ciphertext.size(), std::string(back.begin(), back.end()).c_str());
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
