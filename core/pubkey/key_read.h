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

// KeyUse: what a key is read for. To sign once it may lack its y (DSA), and must not be too long (RSA).
enum class KeyUse { kAny, kOneSignature };

// readRsaKey: makes key an RSA key from a SEQUENCE that is an RSAPublicKey or an RSAPrivateKey.
// In/out:  sequence may be null or any item. The caller empties the container after a failure.
// Errors:  as RsaKey_FromPublicDer; for kOneSignature as asymKeyReadSigner.
Status readRsaKey(const KeyInput& input, const Asn1Node* sequence, KeyUse use, AsymmetricKey* key);

// keyOrNothing: empties the container after a failure and passes the status on.
Status keyOrNothing(AsymmetricKey* key, Status status);

#endif
