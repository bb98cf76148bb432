// Reads anything as a file with a public key. What is found is part of the content; the same bytes in PEM, written here
// by the rule book, hold the same key; and a key that is found is found again.
#include "tools/public_key_file.h"

#include "fuzz/fuzz_check.h"

#include <algorithm>
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
    const PublicKeyFile file = readPublicKeyFile(content, "NAME");
    FUZZ_CHECK(file.pkcs1.empty() != file.reason.empty());
    FUZZ_CHECK(file.pkcs1.empty() || readPublicKeyFile(file.pkcs1, "").pkcs1 == file.pkcs1 ||
               file.pkcs1.size() < content.size());
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (text.find("-----BEGIN ") == std::string_view::npos && !text.starts_with("ssh-")) {
        FUZZ_CHECK(std::search(content.begin(), content.end(), file.pkcs1.begin(), file.pkcs1.end()) != content.end() ||
                   file.pkcs1.empty());
        FUZZ_CHECK(readPublicKeyFile(pem(content), "NAME").pkcs1 == file.pkcs1);
    }
    return 0;
}
