#include "platform/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

std::FILE* openFileToRead(const char* path) {
    std::FILE* const file = std::fopen(path, "rbe");
    struct stat information {};
    if (file != nullptr && (fstat(fileno(file), &information) != 0 || S_ISDIR(information.st_mode))) {
        (void)std::fclose(file); // nothing was written
        return nullptr;
    }
    return file;
}

std::FILE* openRegularFileToRead(const char* path, bool* isOther) {
    *isOther = false;
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    struct stat information {};
    if (descriptor < 0) {
        return nullptr;
    }
    const bool isKnown = fstat(descriptor, &information) == 0;
    *isOther = isKnown && !S_ISREG(information.st_mode);
    std::FILE* const file = isKnown && !*isOther ? fdopen(descriptor, "rb") : nullptr;
    if (file == nullptr) {
        (void)close(descriptor); // nothing was written
    }
    return file;
}
