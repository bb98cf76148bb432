// The functions of zel.h on anything. A key that is read is written in every form that it has and read again as the same key,
// and judges the input as a signature; whole messages come back from AES, and what does not end in a padding is refused by the
// rule book. The first byte of the input chooses.
#include "capi/zel.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"

#include <iterator>

namespace {

using Reader = ZelStatus (*)(const void*, std::size_t, ZelKey**);

// Operations grow with the cube of a key's size.
constexpr std::size_t kMaxKeyBytes = 700;

// Nothing when the key has no such form.
Bytes written(const ZelKey* key, ZelKeyFormat format, ZelEncoding encoding) {
    std::size_t length = 0;
    const ZelStatus status = zelKeyWrite(key, format, encoding, nullptr, &length);
    Bytes out(length);
    FUZZ_CHECK(status == ZEL_OK || length == 0);
    FUZZ_CHECK(status != ZEL_OK ||
               (zelKeyWrite(key, format, encoding, out.data(), &length) == ZEL_OK && length == out.size()));
    return out;
}

void judge(const ZelKey* key, const Bytes& input) {
    Bytes signature(input);
    signature.resize(zelKeySignatureSize(key));
    const ZelStatus status = zelVerify(key, ZEL_SHA1, input.data(), input.size(), signature.data(), signature.size());
    FUZZ_CHECK(status != ZEL_OK); // it would be a forgery
    std::size_t length = 0;
    FUZZ_CHECK((zelSign(key, ZEL_SHA1, nullptr, 0, nullptr, &length) == ZEL_OK) == (zelKeyIsPrivate(key) == 1));
}

void keys(FuzzInput& input) {
    const bool isPrivate = input.byte() % 2 == 0;
    const Bytes bytes = input.rest();
    if (bytes.size() > kMaxKeyBytes) {
        return;
    }
    ZelKey *key = nullptr, *again = nullptr;
    const ZelStatus status = (isPrivate ? zelKeyReadPrivate : zelKeyReadPublic)(bytes.data(), bytes.size(), &key);
    FUZZ_CHECK((status == ZEL_OK) == (key != nullptr));
    if (key == nullptr) {
        return;
    }
    FUZZ_CHECK(zelKeyIsPrivate(key) == (isPrivate ? 1 : 0));
    for (const ZelKeyFormat format : {ZEL_PKCS1, ZEL_PKCS8, ZEL_X509}) {
        for (const ZelEncoding encoding : {ZEL_DER, ZEL_PEM}) {
            const Bytes form = written(key, format, encoding);
            const bool isWhole = isPrivate && format != ZEL_X509;
            // Exponents that are no key's may come out longer than they may be read.
            if (!form.empty() &&
                (isWhole ? zelKeyReadPrivate : zelKeyReadPublic)(form.data(), form.size(), &again) == ZEL_OK) {
                FUZZ_CHECK(zelKeyBits(again) == zelKeyBits(key) && zelKeyType(again) == zelKeyType(key));
                FUZZ_CHECK(written(again, format, encoding) == form);
                FUZZ_CHECK(zelKeyFree(again) == ZEL_OK);
            }
        }
    }
    judge(key, bytes);
    FUZZ_CHECK(zelKeyFree(key) == ZEL_OK);
}

void messages(FuzzInput& input) {
    Bytes key = input.take(32), iv = input.take(16), ciphertext(1000), plaintext(1000);
    key.resize(key.size() < 24 ? 16 : key.size() / 8 * 8);
    iv.resize(16);
    const Bytes message = input.rest();
    if (message.size() > 900) {
        return;
    }
    std::size_t length = ciphertext.size(), back = plaintext.size();
    FUZZ_CHECK(zelAesCbcEncrypt(key.data(), key.size(), iv.data(), dataOf(message), message.size(), ciphertext.data(),
                                &length) == ZEL_OK);
    FUZZ_CHECK(length == message.size() / 16 * 16 + 16);
    FUZZ_CHECK(zelAesCbcDecrypt(key.data(), key.size(), iv.data(), ciphertext.data(), length, plaintext.data(),
                                &back) == ZEL_OK);
    FUZZ_CHECK(back == message.size() && std::equal(message.begin(), message.end(), plaintext.begin()));

    // The message itself as a ciphertext: its blocks by the handle, and the padding by the standard's words.
    const Bytes whole(message.begin(), message.end() - static_cast<std::ptrdiff_t>(message.size() % 16));
    if (whole.empty()) {
        return;
    }
    ZelAes* aes = nullptr;
    Bytes blocks(whole.size());
    FUZZ_CHECK(zelAesNew(ZEL_AES_CBC, ZEL_DECRYPT, key.data(), key.size(), iv.data(), &aes) == ZEL_OK &&
               zelAesUpdate(aes, whole.data(), whole.size(), blocks.data()) == ZEL_OK && zelAesFree(aes) == ZEL_OK);
    const std::size_t padding = blocks.back();
    const bool isRight = padding >= 1 && padding <= 16 &&
                         std::all_of(blocks.end() - static_cast<std::ptrdiff_t>(padding), blocks.end(),
                                     [padding](std::uint8_t byte) { return byte == padding; });
    back = plaintext.size();
    const ZelStatus status =
        zelAesCbcDecrypt(key.data(), key.size(), iv.data(), whole.data(), whole.size(), plaintext.data(), &back);
    FUZZ_CHECK(status == (isRight ? ZEL_OK : ZEL_ERR_AES_BAD_PAD_LENGTH) &&
               back == (isRight ? whole.size() - padding : 0) &&
               std::equal(plaintext.begin(), plaintext.begin() + static_cast<std::ptrdiff_t>(back), blocks.begin()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    (input.byte() % 2 == 0 ? keys : messages)(input);
    return 0;
}
