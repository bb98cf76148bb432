#include "platform/open_file.h"

std::FILE* openFileToRead(const char* path) {
    return std::fopen(path, "rb"); // refuses directories
}
