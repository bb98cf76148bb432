// PEM: DER as text, in base64 between two lines with a label.
#ifndef ZELSPI_CORE_PUBKEY_KEY_PEM_H
#define ZELSPI_CORE_PUBKEY_KEY_PEM_H

#include "core/memory/secret.h"

#include <string_view>

// pemDecode: *der := what the first block of text holds; whatever its label is, and with white space anywhere.
// In/out:  *isPem := whether a block begins in text at all; if none does, der stays empty and the status is OK.
// Errors:  ERR_PEM no end of the block, or no base64 as encoders write it; ERR_MEM_ALLOC_FAIL. der is then empty.
// Secrets: time shows the lengths and where the white space is.
// Source:  RFC 7468 (parsed as its "lax" syntax), RFC 4648 section 4.
Status pemDecode(std::string_view text, bool* isPem, SecretBuffer* der);

// pemEncode: *text := a block of der with this label, in lines of 64 characters.
// Errors:  ERR_MEM_ALLOC_FAIL. Secrets: time shows the length.
Status pemEncode(std::string_view label, const SecretBuffer& der, SecretBuffer* text);

#endif
