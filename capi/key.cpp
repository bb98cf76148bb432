#include "capi/key.h"

#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/key/pem.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "core/random/shared_random.h"

static_assert(ZEL_KEY_RSA == kKeyRsa && ZEL_KEY_DSA == kKeyDsa);

namespace {

// What is read at most: several times the longest key as text, and a tree of it takes some fifty times its length.
constexpr std::size_t kMaxKeyBytes = std::size_t{1} << 20;

constexpr std::size_t kRsaBitsStep = 128;

using KeyReader = Status (*)(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);

// A new key in *key, made by make(its container).
template <typename Make> Status newKey(ZelKey** key, Make make) {
    if (key == nullptr) {
        return ERR_NULL_POINTER;
    }
    *key = nullptr;
    ScopedKey container;
    RETURN_IF_ERROR(make(container.get()));
    RETURN_IF_ERROR(newHandle(key));
    std::swap((*key)->key, *container.get());
    return OK;
}

Status readKey(const void* bytes, std::size_t length, KeyReader reader, ZelKey** key) {
    return newKey(key, [&](AsymmetricKey* container) {
        RETURN_IF_ERROR(checkInput(bytes, length));
        if (length > kMaxKeyBytes) {
            return ERR_BAD_LENGTH;
        }
        bool isPem = false;
        SecretBuffer der;
        const std::uint8_t* const text = bytesAt(bytes);
        RETURN_IF_ERROR(pemDecode({reinterpret_cast<const char*>(text), length}, &isPem, &der));
        return isPem ? reader(bytesAt(der.data()), static_cast<std::uint32_t>(der.size()), container)
                     : reader(text, static_cast<std::uint32_t>(length), container);
    });
}

// The DER of the key in that format, and the label of its PEM.
Status derOf(const ZelKey& key, ZelKeyFormat format, SecretBuffer* der, std::string_view* label) {
    switch (format) {
    case ZEL_PKCS1: {
        std::uint8_t* bytes = nullptr;
        std::uint32_t length = 0;
        *label = isPrivateKey(key) ? "RSA PRIVATE KEY" : "RSA PUBLIC KEY";
        const Status status = RsaKey_ToDer(&key.key, &bytes, &length);
        der->adopt(bytes, length);
        return status;
    }
    case ZEL_PKCS8:
        *label = "PRIVATE KEY";
        return asymKeyToPkcs8(&key.key, der);
    case ZEL_X509:
        *label = "PUBLIC KEY";
        return asymKeyToX509(&key.key, der);
    default:
        return ERR_INVALID_ARG;
    }
}

// The bytes of a DER item with so many of content.
std::size_t derBytes(std::size_t content) {
    std::size_t header = 2;
    for (std::size_t remaining = content; content > 0x7F && remaining > 0; remaining >>= 8) {
        ++header;
    }
    return header + content;
}

std::size_t bytesOf(std::uint32_t bits) {
    return (std::size_t{bits} + 7) / 8;
}

} // namespace

bool isPrivateKey(const ZelKey& key) {
    const RSAKey* const rsaKey = asymKeyRsa(&key.key);
    return rsaKey != nullptr ? rsaKey->privateKey != 0 : asymKeyDsa(&key.key)->x != nullptr;
}

ZelStatus zelKeyReadPrivate(const void* bytes, size_t length, ZelKey** key) {
    return readKey(bytes, length, asymKeyReadPrivate, key);
}

ZelStatus zelKeyReadPublic(const void* bytes, size_t length, ZelKey** key) {
    return readKey(bytes, length, asymKeyReadPublic, key);
}

ZelStatus zelKeyGenerateRsa(size_t bits, ZelKey** key) {
    return newKey(key, [&](AsymmetricKey* container) {
        if (bits < 1024 || bits > kRsaMaxSignerBits || bits % kRsaBitsStep != 0) {
            return ERR_BAD_LENGTH;
        }
        RandomContext* context = nullptr;
        RETURN_IF_ERROR(sharedRandom(&context));
        RETURN_IF_ERROR(AsymKey_MakeRsa(container, nullptr));
        return Rsa_GenerateKey(sharedBytes(context), asymKeyRsa(container), static_cast<std::uint32_t>(bits), nullptr);
    });
}

ZelStatus zelKeyGenerateDsa(size_t pBits, size_t qBits, ZelKey** key) {
    return newKey(key, [&](AsymmetricKey* container) {
        constexpr struct {
            std::size_t pBits, qBits;
            DsaHash hash;
        } kSizes[] = {{1024, 160, kDsaSha1}, {2048, 224, kDsaSha224}, {2048, 256, kDsaSha256}, {3072, 256, kDsaSha256}};
        for (const auto& size : kSizes) {
            if (size.pBits == pBits && size.qBits == qBits) {
                RandomContext* context = nullptr;
                RETURN_IF_ERROR(sharedRandom(&context));
                RETURN_IF_ERROR(AsymKey_MakeDsa(container, nullptr));
                return Dsa_GenerateKeyEx(sharedBytes(context), asymKeyDsa(container), static_cast<std::uint32_t>(pBits),
                                         static_cast<std::uint32_t>(qBits), size.hash, nullptr, nullptr, nullptr,
                                         nullptr);
            }
        }
        return ERR_DSA_INVALID_KEYLENGTH;
    });
}

ZelStatus zelKeyWrite(const ZelKey* key, ZelKeyFormat format, ZelEncoding encoding, void* output, size_t* length) {
    Room room(output, length);
    RETURN_IF_ERROR(checkHandle(key));
    RETURN_IF_ERROR(room.check());
    if (encoding != ZEL_DER && encoding != ZEL_PEM) {
        return ERR_INVALID_ARG;
    }
    SecretBuffer der, text;
    std::string_view label;
    RETURN_IF_ERROR(derOf(*key, format, &der, &label));
    if (encoding == ZEL_DER) {
        return room.put(der);
    }
    RETURN_IF_ERROR(pemEncode(label, der, &text));
    return room.put(text);
}

ZelKeyType zelKeyType(const ZelKey* key) {
    return isError(checkHandle(key)) ? 0 : static_cast<ZelKeyType>(key->key.type);
}

int zelKeyIsPrivate(const ZelKey* key) {
    return !isError(checkHandle(key)) && isPrivateKey(*key) ? 1 : 0;
}

size_t zelKeyBits(const ZelKey* key) {
    if (isError(checkHandle(key))) {
        return 0;
    }
    const RSAKey* const rsaKey = asymKeyRsa(&key->key);
    return VLONG_bitLength(rsaKey != nullptr ? rsaKey->n : asymKeyDsa(&key->key)->p);
}

size_t zelKeySignatureSize(const ZelKey* key) {
    if (isError(checkHandle(key))) {
        return 0;
    }
    if (const RSAKey* const rsaKey = asymKeyRsa(&key->key); rsaKey != nullptr) {
        return bytesOf(VLONG_bitLength(rsaKey->n));
    }
    // r and s are below q; each may want a sign octet.
    return derBytes(2 * derBytes(bytesOf(VLONG_bitLength(asymKeyDsa(&key->key)->q)) + 1));
}

ZelStatus zelKeyFree(ZelKey* key) {
    if (key != nullptr) {
        RETURN_IF_ERROR(checkHandle(key));
        RETURN_IF_ERROR(AsymKey_Uninit(&key->key, nullptr));
    }
    return freeHandle(key);
}
