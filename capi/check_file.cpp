#include "capi/signature.h"
#include "platform/open_file.h"

#include <cstring>
#include <memory>

namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;
constexpr char kSignatureSuffix[] = ".sig";

struct CloseFile {
    void operator()(std::FILE* file) const {
        (void)std::fclose(file); // nothing was written
    }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

Status openFile(const char* path, OpenFile* file) {
    bool isOther = false;
    file->reset(openRegularFileToRead(path, &isOther));
    return *file == nullptr ? ERR_FILE_OPEN_FAILED : OK;
}

// Fills the buffer, as far as the file goes. Errors: ERR_FILE_READ_FAILED.
Status readPiece(std::FILE* file, const SecretBuffer& buffer, std::size_t* count) {
    *count = std::fread(buffer.data(), 1, buffer.size(), file);
    return std::ferror(file) != 0 ? ERR_FILE_READ_FAILED : OK;
}

Status hashFile(const HashAlgorithm& algorithm, const char* path, std::uint8_t* digest) {
    OpenFile file;
    SecretBuffer buffer;
    SecretArray<HashState, 1> state;
    RETURN_IF_ERROR(openFile(path, &file));
    RETURN_IF_ERROR(buffer.alloc(kPieceBytes));
    RETURN_IF_ERROR(algorithm.init(state.data()));
    std::size_t count = kPieceBytes;
    while (count == kPieceBytes) {
        RETURN_IF_ERROR(readPiece(file.get(), buffer, &count));
        RETURN_IF_ERROR(algorithm.update(state.data(), buffer.data(), static_cast<std::uint32_t>(count)));
    }
    return algorithm.final(state.data(), digest);
}

// The signature: one byte more than the key's have is enough to see that there are too many.
Status readSignature(const ZelKey* key, const char* path, const char* signaturePath, SecretBuffer* signature,
                     std::size_t* length) {
    OpenFile file;
    SecretBuffer name;
    if (signaturePath == nullptr) {
        const std::size_t pathLength = std::strlen(path);
        RETURN_IF_ERROR(name.alloc(pathLength + sizeof kSignatureSuffix));
        std::memcpy(name.data(), path, pathLength);
        std::memcpy(name.data() + pathLength, kSignatureSuffix, sizeof kSignatureSuffix);
        signaturePath = reinterpret_cast<const char*>(name.data());
    }
    RETURN_IF_ERROR(openFile(signaturePath, &file));
    RETURN_IF_ERROR(signature->alloc(zelKeySignatureSize(key) + 1));
    return readPiece(file.get(), *signature, length);
}

} // namespace

ZelStatus zelCheckFile(const ZelKey* key, ZelHash hash, const char* path, const char* signaturePath) {
    RETURN_IF_ERROR(checkHandle(key));
    if (path == nullptr) {
        return ERR_NULL_POINTER;
    }
    const HashAlgorithm* const algorithm = findHash(hash);
    if (algorithm == nullptr) {
        return ERR_INVALID_ARG;
    }
    SecretArray<std::uint8_t, ZEL_MAX_DIGEST_SIZE> digest;
    SecretBuffer signature;
    std::size_t length = 0;
    RETURN_IF_ERROR(hashFile(*algorithm, path, digest.data()));
    RETURN_IF_ERROR(readSignature(key, path, signaturePath, &signature, &length));
    return verifyDigest(*key, *algorithm, digest.data(), {signature.data(), length});
}
