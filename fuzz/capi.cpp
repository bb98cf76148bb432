// The readers of keys of zel.h on anything. A key that is read is written in every form that it has and read again as the same key,
// and judges the input as a signature; what is no public key has a reason. The first byte of the input says which half of a key it
// is to be.
#include "capi/zel.h"
#include "fuzz/fuzz_check.h"
#include "tools/public_key_file.h"

namespace {

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > kMaxKeyBytes) {
        return 0;
    }
    const bool isPrivate = data[0] % 2 == 0;
    const Bytes bytes(data + 1, data + size);
    ZelKey *key = nullptr, *again = nullptr;
    const ZelStatus status = (isPrivate ? zelKeyReadPrivate : zelKeyReadPublic)(bytes.data(), bytes.size(), &key);
    FUZZ_CHECK((status == ZEL_OK) == (key != nullptr));
    if (key == nullptr) {
        FUZZ_CHECK(isPrivate || !whyNoPublicKey(bytes, "NAME", status).empty());
        return 0;
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
    return 0;
}
