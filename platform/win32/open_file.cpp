#include "platform/open_file.h"

#include <io.h>
#include <windows.h>

std::FILE* openFileToRead(const char* path) {
    return std::fopen(path, "rb"); // refuses directories
}

std::FILE* openRegularFileToRead(const char* path, bool* isOther) {
    std::FILE* const file = openFileToRead(path);
    *isOther =
        file != nullptr && GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)))) != FILE_TYPE_DISK;
    if (*isOther) {
        (void)std::fclose(file); // nothing was written
        return nullptr;
    }
    return file;
}
