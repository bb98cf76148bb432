// RSA and DSA keys for the tests of this folder.
#ifndef ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H
#define ZELSPI_TESTS_CORE_PUBKEY_KEY_SUPPORT_H

#include "core/memory/memory.h"
#include "core/pubkey/dsa.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/rsa.h"
#include "tests/support/byte_source.h"
#include "tests/support/der_text.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"
#include "tests/support/refused_nulls.h"

namespace keytest {

using Reader = Status (*)(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);
using Writer = Status (*)(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength);

inline std::uint32_t size(const Bytes& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

// Making a key's lock takes memory on some systems, and has a status of its own.
inline Status asRefusal(Status status) {
    return status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : status;
}

inline Status read(Reader reader, const Bytes& der, AsymmetricKey* key) {
    return asRefusal(reader(der.data(), size(der), key));
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

// RsaNumbers: a key of rsa_vectors.txt and one power, in hexadecimal.
struct RsaNumbers {
    explicit RsaNumbers(const Words& w)
        : e(w[0]), p(w[1]), q(w[2]), input(w[3]), n(w[4]), d(w[5]), dP(w[6]), dQ(w[7]), qInv(w[8]), power(w[9]) {
    }
    std::string e, p, q, input, n, d, dP, dQ, qInv, power;
};

// The names in DER: see rsa_vectors.txt.
inline Bytes named(const std::string& name) {
    static const RsaNumbers key(vectorsOf("core/pubkey/rsa_vectors.txt", "rsakey")[0]);
    static const std::map<std::string, Bytes> names = {
        {"N", derInteger(key.n)},
        {"E", derInteger(key.e)},
        {"P", derInteger(key.p)},
        {"Q", derInteger(key.q)},
        {"PVALUE", fromHex(key.p)},
        {"QVALUE", fromHex(key.q)},
        {"ONE", derInteger("01")},
        {"ZERO", derInteger("")},
        {"TEXT", fromHex("04026869")},
        {"HUGEN", derInteger(std::string(64000, 'f'))},
        {"HUGEP", derInteger(std::string(8000, 'f'))},
        {"HUGEQ", derInteger(std::string(7990, '7'))},
        {"RSA", fromHex("300d06092a864886f70d0101010500")},
        {"DSAID", fromHex("06072a8648ce380401")},
        {"D", derInteger(key.d)},
        {"DERIVED", fromHex(toHex(derInteger(key.dP)) + toHex(derInteger(key.dQ)) + toHex(derInteger(key.qInv)))}};
    if (name == "KEY") {
        return derOf("30(ZERO,N,E,D,P,Q,DERIVED)", named);
    }
    if (name == "PUBLIC") {
        return derOf("30(N,E)", named);
    }
    if (name.starts_with("BITS")) {
        const unsigned bits = numberOf(name.substr(4));
        Bytes octets(2 + (bits + 7) / 8, 0x55);
        octets[0] = octets[1] = 0;
        octets[2] = static_cast<std::uint8_t>(1 << (bits - 1) % 8);
        return derItem(0x02, octets);
    }
    return names.at(name);
}

// FilledKey: an RSA key read from DER.
class FilledKey : public ScopedKey {
public:
    explicit FilledKey(const Bytes& der = derOf("KEY", named)) {
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
