// The check of a file against the signature beside it, beside a model of its rules on plain arithmetic. A length byte and
// the public key, a length byte and the signature file; the rest is the data file.
#include "bridge/zel_util.h"
#include "core/bignum/vlong_convert.h"
#include "core/hash/sha256.h"
#include "core/pubkey/key_der.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/simple_natural.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace {

using Bytes = FuzzInput::Bytes;

constexpr std::size_t kCompared = 32;

const std::string& dataPath() {
    static const std::string path =
        (std::filesystem::temp_directory_path() /
         ("zelspi_fuzz_" + std::to_string(std::chrono::system_clock::now().time_since_epoch().count())))
            .string();
    return path;
}

void write(const std::string& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(dataOf(bytes)), static_cast<std::streamsize>(bytes.size()));
    FUZZ_CHECK(file.flush().good());
}

SimpleNatural naturalOf(const vlong* value) {
    Bytes bytes(8 * std::size_t{value->length} + 1);
    FUZZ_CHECK(!isError(VLONG_toBytesFixed(value, bytes.data(), static_cast<std::uint32_t>(bytes.size()))));
    return SimpleNatural(bytes);
}

// What a block of minimal length holds behind its padding.
std::optional<Bytes> payload(const Bytes& block) {
    if (block.empty() || block[0] != 1) {
        return std::nullopt;
    }
    std::size_t at = 2; // the octet in front of it is not looked at
    while (at < block.size() && block[at] == 0xFF) {
        ++at;
    }
    if (at >= block.size()) {
        return Bytes();
    }
    if (block[at] != 0 || at < 10) {
        return std::nullopt;
    }
    return Bytes(block.begin() + static_cast<std::ptrdiff_t>(at) + 1, block.end());
}

// The verdict by the rules; none where they leave the arithmetic to chance (a modulus that is even or of one unit).
std::optional<Status> expectedVerdict(const Bytes& key, Bytes signature, const Bytes& data) {
    ScopedKey read;
    const Status status = RsaKey_FromPublicDer(key.data(), static_cast<std::uint32_t>(key.size()), read.get());
    if (isError(status)) {
        return status;
    }
    const RSAKey* const rsa = asymKeyRsa(read.get());
    const SimpleNatural modulus = naturalOf(rsa->n), exponent = naturalOf(rsa->e);
    if (rsa->n->length < 2 || !modulus.bit(0) || exponent == SimpleNatural()) {
        return std::nullopt;
    }
    if (rsa->e->length > 1) {
        return ERR_RSA_INVALID_EXPONENT;
    }
    signature.resize(modulus.bytes().size()); // as many octets as the modulus has, zeros where there are fewer
    const std::optional<Bytes> content = payload(SimpleNatural(signature).power(exponent, modulus).bytes());
    if (!content) {
        return ERR_RSA_DECRYPTION;
    }
    // RFC 8017, section 9.2, note 1
    Bytes wanted = {0x30, 0x31, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                    0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
    wanted.resize(wanted.size() + kSha256DigestBytes);
    FUZZ_CHECK(!isError(sha256Digest(dataOf(data), static_cast<std::uint32_t>(data.size()),
                                     wanted.data() + wanted.size() - kSha256DigestBytes)));
    const bool isEqual =
        content->size() >= kCompared && std::equal(content->begin(), content->begin() + kCompared, wanted.begin());
    return isEqual ? OK : ERR_RSA_BAD_SIGNATURE;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const Bytes key = input.bytes(), signature = input.bytes(), content = input.rest();
    write(dataPath(), content);
    write(dataPath() + ".sig", signature);
    const int verdict = ZelUtil::checkFileSignature(dataOf(key), static_cast<int>(key.size()), dataPath().c_str(),
                                                    static_cast<int>(dataPath().size()));
    std::filesystem::remove(dataPath());
    std::filesystem::remove(dataPath() + ".sig");
    FUZZ_CHECK(verdict <= 0);
    const std::optional<Status> expected = key.empty() ? std::nullopt : expectedVerdict(key, signature, content);
    FUZZ_CHECK(!expected || verdict == *expected);
    return 0;
}
