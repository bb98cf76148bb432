#include "platform/open_file.h"

#include <sys/stat.h>

std::FILE* openFileToRead(const char* path) {
    std::FILE* const file = std::fopen(path, "rbe");
    struct stat information {};
    if (file != nullptr && (fstat(fileno(file), &information) != 0 || S_ISDIR(information.st_mode))) {
        (void)std::fclose(file); // nothing was written
        return nullptr;
    }
    return file;
}
