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

namespace keytest {

using Reader = Status (*)(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);
using Writer = Status (*)(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength);

// Making a key's lock takes memory on some systems, and has a status of its own.
inline Status asRefusal(Status status) {
    return status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : status;
}

inline Status read(Reader reader, const Bytes& der, AsymmetricKey* key) {
    return asRefusal(reader(der.data(), static_cast<std::uint32_t>(der.size()), key));
}

inline Status write(Writer writer, const AsymmetricKey* key, Bytes& octets) {
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    const Status status = writer(key, &der, &length);
    EXPECT_EQ(der != nullptr, status == OK);
    octets.assign(der, der + length);
    void* block = der;
    (void)memWipeAndFree(&block, length);
    return status;
}

// setDsa: values in hexadecimal; without x a public key.
inline Status setDsa(AsymmetricKey* key, const Words& pqg, const std::string& y, const std::string& x) {
    const Bytes v[] = {bytesOf(pqg[0]), bytesOf(pqg[1]), bytesOf(pqg[2]), bytesOf(y), bytesOf(x)};
    const auto size = [&v](int i) {
        return static_cast<std::uint32_t>(v[i].size());
    };
    return asRefusal(AsymKey_SetDsaParameters(key, v[0].data(), size(0), v[1].data(), size(1), v[2].data(), size(2),
                                              v[3].data(), size(3), v[4].data(), size(4), nullptr));
}

// ExampleKey: the DSA key of the standard, its y computed.
class ExampleKey : public ScopedKey {
public:
    ExampleKey() {
        const testheap::OwnWork own;
        const Words words = vectorsOf("core/pubkey/dsa_vectors.txt", "example").at(0); // p, q, g, x, y
        EXPECT_EQ(setDsa(get(), words, "", words[3]), OK);
        EXPECT_EQ(hexOf(record()->y), words[4]);
    }
    DSAKey* record() {
        return asymKeyDsa(get());
    }
};

// RsaNumbers: a key of rsa_vectors.txt and one power, in hexadecimal.
struct RsaNumbers {
    explicit RsaNumbers(const Words& w)
        : e(w[0]), p(w[1]), q(w[2]), input(w[3]), n(w[4]), d(w[5]), dP(w[6]), dQ(w[7]), qInv(w[8]), power(w[9]) {
    }
    std::string e, p, q, input, n, d, dP, dQ, qInv, power;
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
        {"PVALUE", bytesOf(key.p)},
        {"QVALUE", bytesOf(key.q)},
        {"ONE", derInteger("01")},
        {"ZERO", derInteger("")},
        {"TEXT", bytesOf("04026869")},
        {"HUGEN", derInteger(std::string(64000, 'f'))},
        {"HUGEP", derInteger(std::string(8000, 'f'))},
        {"HUGEQ", derInteger(std::string(7990, '7'))},
        {"RSA", bytesOf("300d06092a864886f70d0101010500")},
        {"DSAID", bytesOf("06072a8648ce380401")},
        {"KEY", derSequence({derInteger(""), derInteger(key.n), derInteger(key.e), derInteger(key.d), derInteger(key.p),
                             derInteger(key.q), derInteger(key.dP), derInteger(key.dQ), derInteger(key.qInv)})},
        {"PUBLIC", derSequence({derInteger(key.n), derInteger(key.e)})}};
    if (name.starts_with("BITS")) {
        const unsigned bits = numberOf(name.substr(4));
        return derItem(0x02, bytesOf("0000+" + toHex(Bytes{static_cast<std::uint8_t>(1 << (bits - 1) % 8)}) + "+55*" +
                                     std::to_string((bits - 1) / 8)));
    }
    return names.at(name);
}

// FilledKey: an RSA key read from DER.
class FilledKey : public ScopedKey {
public:
    explicit FilledKey(const Bytes& der = named("KEY")) {
        const testheap::OwnWork own;
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
