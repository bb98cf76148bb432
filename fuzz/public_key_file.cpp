// Reads anything as a file with a public key. What is no key has a reason; and the same bytes in PEM, written here by the rule
// book, hold the same key or fail in the same way.
#include "tools/public_key_file.h"

#include "fuzz/fuzz_check.h"

#include <string_view>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes pem(const Bytes& der) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text = "-----BEGIN PUBLIC KEY-----";
    for (std::size_t bit = 0; bit < 8 * der.size(); bit += 6) {
        std::size_t digit = 0;
        for (std::size_t at = bit; at < bit + 6; ++at) {
            digit = 2 * digit + (at < 8 * der.size() ? std::size_t{der[at / 8]} >> (7 - at % 8) & 1 : 0);
        }
        text += bit % 384 == 0 ? "\r\n" : "";
        text += kDigits[digit];
    }
    text += std::string(2 - (der.size() + 2) % 3, '=') + "\n-----END PUBLIC KEY-----\n";
    return {text.begin(), text.end()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes content(data, data + size);
    ZelKey *key = nullptr, *fromPem = nullptr;
    const ZelStatus status = zelKeyReadPublic(data, size, &key);
    FUZZ_CHECK((status == ZEL_OK) == (key != nullptr) && !whyNoPublicKey(content, "NAME", status).empty());
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (text.find("-----BEGIN ") == std::string_view::npos) {
        const Bytes block = pem(content);
        FUZZ_CHECK(zelKeyReadPublic(block.data(), block.size(), &fromPem) == status);
        FUZZ_CHECK(zelKeyBits(key) == zelKeyBits(fromPem) && zelKeyType(key) == zelKeyType(fromPem));
    }
    FUZZ_CHECK(zelKeyFree(key) == ZEL_OK && zelKeyFree(fromPem) == ZEL_OK);
    return 0;
}
