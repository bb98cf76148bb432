// RSA and DSA keys for the tests of this folder.
#ifndef ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H
#define ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H

#include "core/memory/memory.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "tests/support/byte_source.h"
#include "tests/support/number.h"
#include "tests/support/vectors.h"

using Reader = Status (*)(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);

inline Status readKey(Reader reader, const Bytes& der, AsymmetricKey* key) {
    const Status status = reader(der.data(), static_cast<std::uint32_t>(der.size()), key);
    return status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : status; // of the key's lock, which takes memory
}

template <typename Writer> Status writeKey(Writer writer, const AsymmetricKey* key, Bytes& octets) {
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    const Status status = writer(key, &der, &length);
    EXPECT_EQ(der != nullptr, status == OK);
    octets.assign(der, der + length);
    void* block = der;
    (void)memWipeAndFree(&block, length);
    return status;
}

// RsaNumbers: a key of rsa_vectors.txt and one power, the last word, in hexadecimal.
struct RsaNumbers {
    explicit RsaNumbers(const Words& w)
        : n(w[0]), e(w[1]), p(w[2]), q(w[3]), d(w[4]), dP(w[5]), dQ(w[6]), qInv(w[7]), input(w[8]), power(w.back()) {
    }
    std::string n, e, p, q, d, dP, dQ, qInv, input, power;
};

inline const RsaNumbers& firstKey() {
    static const RsaNumbers key(vectorsOf("core/pubkey/rsa_vectors.txt", "rsakey").at(0));
    return key;
}

// derItem: an item by its identifier octet and content, below 64 KiB.
inline Bytes derItem(std::uint8_t identifier, const Bytes& content) {
    const std::size_t size = content.size();
    const auto high = static_cast<std::uint8_t>(size >> 8), low = static_cast<std::uint8_t>(size);
    Bytes item = size < 128   ? Bytes{identifier, low}
                 : size < 256 ? Bytes{identifier, 0x81, low}
                              : Bytes{identifier, 0x82, high, low};
    item.insert(item.end(), content.begin(), content.end());
    return item;
}

// derInteger: the INTEGER of an unsigned magnitude in hexadecimal.
inline Bytes derInteger(const std::string& hex) {
    return derItem(0x02, bytesOf((hex.empty() || hex[0] >= '8' ? "00" : "") + hex));
}

inline Bytes derSequence(const std::vector<Bytes>& items) {
    Bytes all;
    for (const Bytes& item : items) {
        all.insert(all.end(), item.begin(), item.end());
    }
    return derItem(0x30, all);
}

// The RSAPrivateKey of these numbers.
inline Bytes derOf(const RsaNumbers& k) {
    return derSequence({derInteger(""), derInteger(k.n), derInteger(k.e), derInteger(k.d), derInteger(k.p),
                        derInteger(k.q), derInteger(k.dP), derInteger(k.dQ), derInteger(k.qInv)});
}

// The names in DER: see rsa_vectors.txt.
inline Bytes named(const std::string& name) {
    const RsaNumbers& key = firstKey();
    static const std::map<std::string, Bytes> names = {{"@N", derInteger(key.n)},
                                                       {"@E", derInteger(key.e)},
                                                       {"@P", derInteger(key.p)},
                                                       {"@Q", derInteger(key.q)},
                                                       {"@TEXT", bytesOf("04026869")},
                                                       {"@RSA", bytesOf("300d06092a864886f70d0101010500")},
                                                       {"@DSAID", bytesOf("06072a8648ce380401")},
                                                       {"@KEY", derOf(key)}};
    return names.at(name);
}

// derOf: DER written by hand, in the notation of bytesOf with these names, where an identifier octet can have its contents
// behind it in parentheses: "30(020100+04(ff))".
inline Bytes derOf(std::string text) {
    for (std::size_t close; (close = text.find(')')) != std::string::npos;) { // the innermost item first
        const std::size_t open = text.rfind('(', close);
        const Bytes content = bytesOf(text.substr(open + 1, close - open - 1), named);
        text.replace(open - 2, close - open + 3, toHex(derItem(bytesOf(text.substr(open - 2, 2))[0], content)));
    }
    return bytesOf(text, named);
}

// ExampleKey: the DSA key of the standard, its y computed.
struct ExampleKey : ScopedKey {
    ExampleKey() {
        const testheap::OwnWork own;
        const Words w = vectorsOf("core/pubkey/dsa_vectors.txt", "example").at(0); // p, q, g, x, y
        const std::string group = "02(00" + w[0] + ")+02(00" + w[1] + ")+02(00" + w[2] + ")";
        const Bytes der = derOf("30(020100+30(@DSAID+30(" + group + "))+04(02(00" + w[3] + ")))");
        EXPECT_EQ(readKey(AsymKey_FromPkcs8Der, der, get()), OK);
        dsa = asymKeyDsa(get());
        EXPECT_EQ(hexOf(dsa->y), w[4]);
    }
    DSAKey* dsa;
};

// FilledKey: an RSA key read from DER.
struct FilledKey : ScopedKey {
    explicit FilledKey(const Bytes& der = named("@KEY")) {
        const testheap::OwnWork own;
        EXPECT_EQ(readKey(RsaKey_FromPublicDer, der, get()), OK);
        rsa = asymKeyRsa(get());
    }
    RSAKey* rsa;
};

// into: the number that an operation makes, in hexadecimal.
template <typename Operation, typename... Arguments>
Status into(std::string& hex, Operation operation, const Arguments&... arguments) {
    ScopedVlong result(nullptr);
    const Status status = operation(arguments..., result.out(), nullptr);
    hex = hexOf(result.get());
    EXPECT_EQ(hex == "null", isError(status));
    return status;
}

#endif
