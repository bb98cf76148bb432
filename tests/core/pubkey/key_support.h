// Keys for the tests of this folder: known ones, DER put together piece by piece, and holders.
#ifndef ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H
#define ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H

#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/memory/memory.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/rsa.h"
#include "tests/support/hex.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <numeric>

namespace keytest {

using Octets = std::vector<std::uint8_t>;

// RsaNumbers: a private key and one power, from key_vectors.inc.
struct RsaNumbers {
    unsigned bits;
    const char *n, *e, *d, *p, *q, *dP, *dQ, *qInv, *input, *power;
};

inline const RsaNumbers kRsaKeys[] = {
#define RSA_KEY(...) {__VA_ARGS__},
#include "tests/core/pubkey/key_vectors.inc"
#undef RSA_KEY
};

inline Octets joined(std::initializer_list<Octets> pieces) {
    Octets all;
    for (const Octets& piece : pieces) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

// item: an encoded item.
inline Octets item(std::uint8_t type, const Octets& content) {
    const auto length = static_cast<std::uint16_t>(content.size());
    const auto high = static_cast<std::uint8_t>(length >> 8), low = static_cast<std::uint8_t>(length);
    if (length < 256) {
        return joined({length < 128 ? Octets{type, low} : Octets{type, 0x81, low}, content});
    }
    return joined({{type, 0x82, high, low}, content});
}

// integer: the INTEGER of an unsigned magnitude without leading zeros; of 0 for none.
inline Octets integer(const char* hex) {
    Octets content = fromHex(hex);
    if (content.empty() || content[0] >= 0x80) {
        content.insert(content.begin(), 0);
    }
    return item(0x02, content);
}

inline Octets sequence(std::initializer_list<Octets> items) {
    return item(0x30, joined(items));
}

inline Octets publicDer(const RsaNumbers& key) {
    return sequence({integer(key.n), integer(key.e)});
}

inline Octets privateDer(const RsaNumbers& key) {
    return sequence({integer(""), integer(key.n), integer(key.e), integer(key.d), integer(key.p), integer(key.q),
                     integer(key.dP), integer(key.dQ), integer(key.qInv)});
}

inline const Octets kRsaAlgorithm = fromHex("30 0d 06 09 2a 86 48 86 f7 0d 01 01 01 05 00");

inline Octets pkcs8(const Octets& algorithm, const Octets& key) {
    return sequence({integer(""), algorithm, item(0x04, key)});
}

// The readers on Octets, the array cut to its size for the sanitizers.
using Reader = Status (*)(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);

inline Status read(Reader reader, const Octets& der, AsymmetricKey* key) {
    constexpr std::uint8_t kNothing = 0;
    return reader(der.empty() ? &kNothing : der.data(), static_cast<std::uint32_t>(der.size()), key);
}

// written: what a writer gives, or nothing.
using Writer = Status (*)(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength);

inline Status write(Writer writer, const AsymmetricKey* key, Octets* octets) {
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    const Status status = writer(key, &der, &length);
    EXPECT_EQ(der != nullptr, status == OK);
    octets->assign(der, der + length);
    void* block = der;
    (void)memWipeAndFree(&block, length);
    return status;
}

// hexOf: a value, which is not negative, in hexadecimal bytes without leading zeros; "null" for none.
inline std::string hexOf(const vlong* value) {
    if (value == nullptr) {
        return "null";
    }
    std::uint32_t count = 0;
    EXPECT_EQ(VLONG_toBytes(value, nullptr, &count), OK);
    Octets octets(count + 1); // not empty
    EXPECT_EQ(VLONG_toBytes(value, octets.data(), &count), OK);
    octets.resize(count);
    EXPECT_TRUE(value->negative == 0 || VLONG_isZero(value));
    return toHex(octets);
}

// Number: an owned value from hexadecimal bytes.
class Number : public ScopedVlong {
public:
    explicit Number(const std::string& hex) : ScopedVlong(nullptr) {
        const Octets octets = fromHex(hex);
        EXPECT_EQ(VLONG_fromBytes(octets.data(), static_cast<std::int32_t>(octets.size()), out(), nullptr), OK);
    }
};

// FilledKey: an RSA key read from DER.
class FilledKey : public ScopedKey {
public:
    explicit FilledKey(const Octets& der) {
        EXPECT_EQ(read(RsaKey_FromPublicDer, der, get()), OK);
    }
    RSAKey* operator->() {
        return asymKeyRsa(get());
    }
    RSAKey* rsa() {
        return asymKeyRsa(get());
    }
};

} // namespace keytest

#endif
