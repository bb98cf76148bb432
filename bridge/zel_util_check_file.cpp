// The check of a file against the signature that lies beside it.
#include "bridge/zel_sha_with_rsa_signature.h"
#include "bridge/zel_util.h"
#include "core/memory/secret.h"
#include "platform/open_file.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>

namespace {

constexpr int kMaxPathLength = 255;
constexpr int kMaxKeyBytes = 500;
constexpr std::size_t kMaxSignatureBytes = 500;
constexpr std::size_t kPieceBytes = 10240;
constexpr char kSignatureSuffix[] = ".sig";

// Lines of progress: written when debug output is on, and flushed, in order with what Java prints.
void say(std::initializer_list<const char*> pieces) {
    if (ZelUtil::isDebugEnabled() != 0) {
        for (const char* piece : pieces) {
            std::fputs(piece, stdout);
        }
        std::fflush(stdout);
    }
}

#define ZEL_INFO "INFO [ZelUtil::checkFileSignature] "
#define ZEL_ERROR "ERROR [ZelUtil::checkFileSignature] "

// The name of a status, or its number where it has none.
class StatusText {
public:
    explicit StatusText(Status status) : name_(statusName(status)) {
        std::snprintf(number_, sizeof number_, "%d", static_cast<int>(status));
    }
    const char* text() const {
        return name_ != nullptr ? name_ : number_;
    }

private:
    const char* name_;
    char number_[12];
};

struct CloseFile {
    void operator()(std::FILE* file) const {
        (void)std::fclose(file); // nothing was written
    }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

// Feeds the file to the engine through the buffer. A read error ends it like the end of the file.
Status hashFile(ZelShaWithRsaSignature& engine, std::FILE* file, const SecretBuffer& buffer) {
    std::size_t count = kPieceBytes;
    while (count == kPieceBytes) {
        count = std::fread(buffer.data(), 1, kPieceBytes, file);
        RETURN_IF_ERROR(engine.nativeUpdate(buffer.data(), 0, static_cast<int>(count)));
    }
    return OK;
}

// The name of the signature file, which is as long as the path is. Errors: ERR_MEM_ALLOC_FAIL.
Status signatureName(const char* filePath, SecretBuffer& name) {
    const std::size_t length = std::strlen(filePath);
    RETURN_IF_ERROR(name.alloc(length + sizeof kSignatureSuffix));
    std::memcpy(name.data(), filePath, length);
    std::memcpy(name.data() + length, kSignatureSuffix, sizeof kSignatureSuffix);
    return OK;
}

// Reads the start of the signature file into the buffer; zeros follow. *count := the bytes read.
Status readSignature(const char* filePath, const SecretBuffer& buffer, std::size_t* count) {
    SecretBuffer name;
    RETURN_IF_ERROR(signatureName(filePath, name));
    say({ZEL_INFO "open signature file\n"});
    const OpenFile file(openFileToRead(reinterpret_cast<const char*>(name.data())));
    if (file == nullptr) {
        say({ZEL_ERROR "error opening signature file\n"});
        return ERR_FILE_OPEN_FAILED;
    }
    say({ZEL_INFO "reading key\n"}); // the signature, in fact
    *count = std::fread(buffer.data(), 1, kPieceBytes, file.get());
    // The engine takes as many bytes as the modulus has, whatever was read: bytes of the data file must not fill up.
    std::memset(buffer.data() + *count, 0, kPieceBytes - *count);
    return OK;
}

Status check(ZelShaWithRsaSignature& engine, const char* filePath) {
    say({ZEL_INFO "reading data from filePath ", filePath, "\n"});
    OpenFile file(openFileToRead(filePath));
    if (file == nullptr) {
        say({ZEL_ERROR "unable to open filePath ", filePath, "\n"});
        return ERR_FILE_OPEN_FAILED;
    }
    SecretBuffer buffer;
    RETURN_IF_ERROR(buffer.alloc(kPieceBytes));
    say({ZEL_INFO "reading source file for signature\n"});
    if (const Status status = hashFile(engine, file.get(), buffer); isError(status)) {
        say({ZEL_ERROR "error reading source file: ", StatusText(status).text(), "\n"});
        return ERR_FILE_READ_FAILED;
    }
    file.reset();
    std::size_t count = 0;
    RETURN_IF_ERROR(readSignature(filePath, buffer, &count));
    if (count > kMaxSignatureBytes) {
        say({ZEL_ERROR "invalid key size\n"}); // of the signature, in fact
        return ERR_RSA_INVALID_KEY;
    }
    say({ZEL_INFO "verifying file signature\n"});
    const Status status = engine.nativeVerify(buffer.data(), 0, static_cast<int>(count));
    say({status != OK ? ZEL_ERROR "file signature verification failed\n"
                      : ZEL_INFO "file signature verification succeeded\n"});
    return status;
}

} // namespace

int ZelUtil::checkFileSignature(const unsigned char* key, int keyLength, const char* filePath, int pathLength) {
    if (filePath == nullptr || pathLength < 1 || pathLength > kMaxPathLength) {
        say({ZEL_ERROR "Invalid filePath provided\n"});
        return ERR_MEM_ALLOC_SIZE;
    }
    if (key == nullptr || keyLength < 0 || keyLength > kMaxKeyBytes) {
        say({ZEL_ERROR "Invalid key provided\n"});
        return ERR_RSA_INVALID_KEY;
    }
    say({ZEL_INFO "creating signature object\n"});
    ZelShaWithRsaSignature engine(kSignatureSha256);
    if (const Status status = engine.nativeInitVerify(keyLength, key); status != OK) {
        // Without a line break, and "initalize": on purpose.
        say({ZEL_ERROR "unable to initalize signature verification: ", StatusText(status).text()});
        return status;
    }
    return check(engine, filePath);
}
