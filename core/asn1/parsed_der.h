// ParsedDer: DER or BER bytes in memory with their tree.
#ifndef ZELSPI_CORE_ASN1_PARSED_DER_H
#define ZELSPI_CORE_ASN1_PARSED_DER_H

#include "core/asn1/asn1_node.h"
#include "core/asn1/byte_stream.h"
#include "core/memory/byte_view.h"

class ParsedDer {
public:
    // parse: once for each object. The bytes must outlive it. Errors: those of Asn1_ParseStream.
    Status parse(ByteView der);

    Asn1Node* root() const {
        return root_.get();
    }
    ByteStream stream() const {
        return stream_;
    }

    // content: the content octets of an item, whose tag is the caller's to check. Errors: ERR_MEM_ALLOC_FAIL the input
    // lacks them.
    Status content(const Asn1Node& item, ByteView* octets) const;

private:
    MemStream memory_{};
    ByteStream stream_{};
    ScopedTree<Asn1Node> root_;
};

#endif
