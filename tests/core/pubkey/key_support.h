// RSA and DSA keys for the tests of this folder.
#ifndef ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H
#define ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H

#include "core/memory/memory.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "tests/support/byte_source.h"
#include "tests/support/der_text.h"
#include "tests/support/number.h"

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

// ExampleKey: the DSA key of the standard, its y computed.
struct ExampleKey : ScopedKey {
    ExampleKey() {
        const testheap::OwnWork own;
        const Words w = vectorsOf("core/pubkey/dsa_vectors.txt", "example").at(0); // p, q, g, x, y
        const std::string group = "02(00" + w[0] + "),02(00" + w[1] + "),02(00" + w[2] + ")";
        const Bytes der = derOf("30(020100,30(06072a8648ce380401,30(" + group + ")),04(02(00" + w[3] + ")))");
        EXPECT_EQ(readKey(AsymKey_FromPkcs8Der, der, get()), OK);
        dsa = asymKeyDsa(get());
        EXPECT_EQ(hexOf(dsa->y), w[4]);
    }
    DSAKey* dsa;
};

// RsaNumbers: a key of rsa_vectors.txt and one power, in hexadecimal.
struct RsaNumbers {
    explicit RsaNumbers(const Words& w)
        : n(w[0]), e(w[1]), p(w[2]), q(w[3]), d(w[4]), dP(w[5]), dQ(w[6]), qInv(w[7]), input(w[8]), power(w[9]) {
    }
    std::string n, e, p, q, d, dP, dQ, qInv, input, power;
};

inline const RsaNumbers& firstKey() {
    static const RsaNumbers key(vectorsOf("core/pubkey/rsa_vectors.txt", "rsakey").at(0));
    return key;
}

inline Bytes derSequence(const std::vector<Bytes>& items) {
    Bytes all;
    for (const Bytes& item : items) {
        all.insert(all.end(), item.begin(), item.end());
    }
    return derItem(0x30, all);
}

// The names in DER: see rsa_vectors.txt.
inline Bytes named(const std::string& name) {
    const RsaNumbers& key = firstKey();
    static const std::map<std::string, Bytes> names = {
        {"N", derInteger(key.n)},
        {"E", derInteger(key.e)},
        {"P", derInteger(key.p)},
        {"Q", derInteger(key.q)},
        {"TEXT", bytesOf("04026869")},
        {"RSA", bytesOf("300d06092a864886f70d0101010500")},
        {"DSAID", bytesOf("06072a8648ce380401")},
        {"KEY", derSequence({derInteger(""), derInteger(key.n), derInteger(key.e), derInteger(key.d), derInteger(key.p),
                             derInteger(key.q), derInteger(key.dP), derInteger(key.dQ), derInteger(key.qInv)})}};
    return names.at(name);
}

// FilledKey: an RSA key read from DER.
struct FilledKey : ScopedKey {
    explicit FilledKey(const Bytes& der = named("KEY")) {
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
