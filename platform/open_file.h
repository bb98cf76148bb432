// Opening files to read them.
#ifndef ZELSPI_PLATFORM_OPEN_FILE_H
#define ZELSPI_PLATFORM_OPEN_FILE_H

#include <cstdio>

// openFileToRead: the file opened for reading bytes, as fopen does with "rb"; path is narrow, on Windows in the code
// page of the process. The caller closes it.
// Errors:  null; also for a directory, which fopen opens on some systems.
std::FILE* openFileToRead(const char* path);

// openRegularFileToRead: the same for regular files alone, without waiting where a pipe or a device would keep its reader.
// In/out:  *isOther := whether there is something else of that name, which is null then.
std::FILE* openRegularFileToRead(const char* path, bool* isOther);

#endif
