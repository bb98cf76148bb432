#include "core/pubkey/key/pem.h"

#include <algorithm>

namespace {

constexpr std::string_view kBegin = "-----BEGIN ", kEnd = "-----END ", kDashes = "-----";
constexpr std::size_t kLineDigits = 64;

// All ones when low <= value <= high, else 0, without a branch: a secret key is made of these values. All below 256.
std::uint32_t isWithin(std::uint32_t value, std::uint32_t low, std::uint32_t high) {
    return (((value - low) | (high - value)) >> 31) - 1;
}

// The six bits of a digit; sets *bad when it is none.
std::uint32_t bitsOf(std::uint8_t digit, std::uint32_t* bad) {
    const std::uint32_t c = digit, upper = isWithin(c, 'A', 'Z'), lower = isWithin(c, 'a', 'z'),
                        number = isWithin(c, '0', '9'), plus = isWithin(c, '+', '+'), slash = isWithin(c, '/', '/');
    *bad |= ~(upper | lower | number | plus | slash);
    return (upper & (c - 'A')) | (lower & (c - 'a' + 26)) | (number & (c - '0' + 52)) | (plus & 62) | (slash & 63);
}

std::uint8_t digitOf(std::uint32_t bits) {
    return static_cast<std::uint8_t>(
        (isWithin(bits, 0, 25) & (bits + 'A')) | (isWithin(bits, 26, 51) & (bits - 26 + 'a')) |
        (isWithin(bits, 52, 61) & (bits - 52 + '0')) | (isWithin(bits, 62, 62) & '+') | (isWithin(bits, 63, 63) & '/'));
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Digits, then '=' up to a multiple of four, with white space between; anything else that no encoder writes is refused.
Status decodeBase64(std::string_view text, SecretBuffer* der) {
    const auto spaces = static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isSpace));
    const auto padding = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
    const std::size_t digits = text.size() - spaces - padding, rest = digits % 4;
    if (rest == 1 || padding != (4 - rest) % 4) {
        return ERR_PEM;
    }
    RETURN_IF_ERROR(der->alloc(digits / 4 * 3 + (rest == 0 ? 0 : rest - 1)));
    std::uint8_t* out = der->data();
    std::uint32_t bits = 0, bitCount = 0, bad = 0;
    std::size_t remaining = digits;
    for (const char c : text) {
        if (isSpace(c)) {
            continue;
        }
        if (remaining == 0) {
            bad |= isWithin(static_cast<std::uint8_t>(c), '=', '=') ^ ~0U;
            continue;
        }
        --remaining;
        bits = bits << 6 | bitsOf(static_cast<std::uint8_t>(c), &bad);
        bitCount += 6;
        if (bitCount >= 8) {
            bitCount -= 8;
            *out++ = static_cast<std::uint8_t>(bits >> bitCount);
            bits &= (1U << bitCount) - 1;
        }
    }
    if ((bad | bits) != 0) {
        der->reset();
        return ERR_PEM;
    }
    return OK;
}

} // namespace

Status pemDecode(std::string_view text, bool* isPem, SecretBuffer* der) {
    der->reset();
    const std::size_t begin = text.find(kBegin);
    *isPem = begin != std::string_view::npos;
    if (!*isPem) {
        return OK;
    }
    // No substr: it can throw, which would bring the C++ runtime's strings into the library, and the newest C library with them.
    text.remove_prefix(begin + kBegin.size());
    const std::size_t labelEnd = text.find(kDashes);
    if (labelEnd == std::string_view::npos) {
        return ERR_PEM;
    }
    const std::string_view label(text.data(), labelEnd);
    text.remove_prefix(labelEnd + kDashes.size());
    const std::size_t bodyEnd = text.find(kEnd);
    if (bodyEnd == std::string_view::npos) {
        return ERR_PEM;
    }
    const std::string_view body(text.data(), bodyEnd);
    text.remove_prefix(bodyEnd + kEnd.size());
    if (!text.starts_with(label)) {
        return ERR_PEM;
    }
    text.remove_prefix(label.size());
    if (!text.starts_with(kDashes)) {
        return ERR_PEM;
    }
    return decodeBase64(body, der);
}

Status pemEncode(std::string_view label, const SecretBuffer& der, SecretBuffer* text) {
    const std::size_t digits = (der.size() + 2) / 3 * 4, lines = (digits + kLineDigits - 1) / kLineDigits;
    RETURN_IF_ERROR(
        text->alloc(kBegin.size() + kEnd.size() + 2 * (label.size() + kDashes.size() + 1) + digits + lines));
    std::uint8_t* out = text->data();
    const auto add = [&out](std::string_view piece) {
        out = std::copy(piece.begin(), piece.end(), out);
    };
    add(kBegin);
    add(label);
    add(kDashes);
    for (std::size_t digit = 0; digit < digits; digit += 4) {
        if (digit % kLineDigits == 0) {
            add("\n");
        }
        const std::size_t at = digit / 4 * 3, count = std::min<std::size_t>(3, der.size() - at);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8 | (i < count ? der.data()[at + i] : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            *out++ = i <= count ? digitOf(bits >> (18 - 6 * i) & 63) : std::uint8_t{'='};
        }
    }
    add("\n");
    add(kEnd);
    add(label);
    add(kDashes);
    add("\n");
    return OK;
}
