// What the readers of key_der.h share. For use inside this folder.
#ifndef ZELSPI_CORE_PUBKEY_KEY_READ_H
#define ZELSPI_CORE_PUBKEY_KEY_READ_H

#include "core/asn1/asn1_node.h"
#include "core/asn1/byte_stream.h"
#include "core/pubkey/key_load.h"

// KeyInput: parsed key bytes, to which the items refer.
class KeyInput {
public:
    // parse: Errors: those of Asn1_ParseStream.
    Status parse(const std::uint8_t* der, std::uint32_t derLength);

    Asn1Node* root() const {
        return root_.get();
    }
    ByteStream stream() const {
        return stream_;
    }

    // content: the content octets of an item, whose tag is the caller's to check. Errors: ERR_MEM_ALLOC_FAIL the input
    // lacks them.
    Status content(const Asn1Node& item, BigEndian* octets) const;

private:
    MemStream memory_{};
    ByteStream stream_{};
    ScopedTree<Asn1Node> root_;
};

// isUniversal: whether there is an item, of the universal class with this tag number.
bool isUniversal(const Asn1Node* item, std::uint32_t tag);

// Object identifiers behind their length: 1.2.840.113549.1.1.1 and 1.2.840.10040.4.1.
inline constexpr std::uint8_t kRsaEncryption[] = {0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};
inline constexpr std::uint8_t kIdDsa[] = {0x07, 0x2A, 0x86, 0x48, 0xCE, 0x38, 0x04, 0x01};

// KeyUse: what a key is read for. To sign it must not be too long (RSA); to sign once it may lack its y (DSA).
enum class KeyUse { kAny, kSignatures, kOneSignature };

// readRsaKey: makes key an RSA key from a SEQUENCE that is an RSAPublicKey or an RSAPrivateKey.
// In/out:  sequence may be null or any item. The caller empties the container after a failure.
// Errors:  as RsaKey_FromPublicDer; to sign as asymKeyReadSigner.
Status readRsaKey(const KeyInput& input, const Asn1Node* sequence, KeyUse use, AsymmetricKey* key);

// readPrivateKeyInfo: makes key the key of a parsed PrivateKeyInfo. The caller empties the container after a failure.
// Errors:  as AsymKey_FromPkcs8Der; to sign as asymKeyReadSigner.
Status readPrivateKeyInfo(const KeyInput& input, KeyUse use, AsymmetricKey* key);

// keyOrNothing: empties the container after a failure and passes the status on.
Status keyOrNothing(AsymmetricKey* key, Status status);

#endif
