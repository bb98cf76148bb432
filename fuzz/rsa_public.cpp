// Reads anything as an RSA public key. What is read must do the public operation as slow arithmetic does it, survive
// writing and reading, and open any signature or say why not.
#include "fuzz/key_check.h"

using namespace keyfuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxBytes = 700; // operations grow with the cube of a key's size
    constexpr std::uint8_t kNothing = 0;
    if (size > kMaxBytes) {
        return 0;
    }
    ScopedKey key;
    const Status status =
        RsaKey_FromPublicDer(size == 0 ? &kNothing : data, static_cast<std::uint32_t>(size), key.get());
    FUZZ_CHECK((key.get()->type == kKeyEmpty) == isError(status));
    if (isError(status)) {
        return 0;
    }
    const RSAKey& rsa = *asymKeyRsa(key.get());
    Number base;
    takeBase(data, size, base);
    checkPublic(rsa, base.get());
    checkRewritten(key.get());
    std::uint32_t modulusLength = 0, length = 1;
    FUZZ_CHECK(Rsa_ModulusLength(&rsa, &modulusLength) == OK && modulusLength <= size);
    std::uint8_t signature[kMaxBytes] = {}, block[kMaxBytes];
    (void)memCopy(signature, data, static_cast<std::int64_t>(size)); // not null
    const Status opened = Rsa_OpenPkcs1Signature(&rsa, signature, block, &length, nullptr);
    FUZZ_CHECK(isError(opened) ? length == 0 : length < modulusLength);
    return 0;
}
