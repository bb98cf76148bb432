// Reads anything as a DSA signature. What is read comes back from its minimal encoding, and is a signature of "abc" by the
// example key of FIPS 186-2, appendix 5, only if it has the numbers of the example.
#include "bridge/dsa_der.h"
#include "core/pubkey/dsa.h"
#include "fuzz/key_check.h"
#include "tests/support/hex.h"

using namespace keyfuzz;

namespace {

const char* const kPublicKey =
#define DSA_KEY(publicKey, otherAlgorithm, privateKey, signature) publicKey;
#include "tests/bridge/signature_vectors.inc"
#undef DSA_KEY
    const char* const kSignature =
#define DSA_KEY(publicKey, otherAlgorithm, privateKey, signature) signature;
#include "tests/bridge/signature_vectors.inc"
#undef DSA_KEY
        const char* const kDigestOfAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";

// Signature: the two numbers.
struct Signature {
    Number r, s;

    Status parse(const std::uint8_t* der, std::size_t length) {
        return parseDSASignature(der, static_cast<std::uint32_t>(length), r.out(), s.out());
    }
    bool operator==(const Signature& other) const {
        return VLONG_cmp(r.get(), other.r.get()) == 0 && VLONG_cmp(s.get(), other.s.get()) == 0;
    }
};

// Example: the known key with its one signature.
struct Example {
    ScopedKey key;
    Signature signature;
    Number message;

    Example() {
        const std::vector<std::uint8_t> info = fromHex(kPublicKey), der = fromHex(kSignature),
                                        digest = fromHex(kDigestOfAbc);
        FUZZ_CHECK(parseDSAPublicKey(info.data(), static_cast<std::uint32_t>(info.size()), key.get()) == OK);
        FUZZ_CHECK(signature.parse(der.data(), der.size()) == OK);
        FUZZ_CHECK(VLONG_fromBytes(digest.data(), 20, message.out(), nullptr) == OK);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint8_t kNothing = 0;
    Signature signature;
    if (isError(signature.parse(size == 0 ? &kNothing : data, size))) {
        FUZZ_CHECK(signature.r.get() == nullptr && signature.s.get() == nullptr);
        return 0;
    }
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    FUZZ_CHECK(createDSASignature(signature.r.get(), signature.s.get(), &der, &length) == OK);
    Signature again;
    FUZZ_CHECK(again.parse(der, length) == OK && again == signature);
    void* block = der;
    FUZZ_CHECK(!isError(memWipeAndFree(&block, length)));

    static Example& example = *new Example; // kept to the end, like any fuzzer's state
    bool valid = true;
    const Status status = Dsa_Verify(asymKeyDsa(example.key.get()), example.message.get(), signature.r.get(),
                                     signature.s.get(), &valid, nullptr);
    FUZZ_CHECK(valid == (signature == example.signature));
    FUZZ_CHECK(!(isError(status) && valid));
    return 0;
}
