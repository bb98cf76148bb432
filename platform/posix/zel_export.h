// The mark of what leaves the library: the entry points for Java, the functions for C and the classes for native callers.
#ifndef ZELSPI_PLATFORM_POSIX_ZEL_EXPORT_H
#define ZELSPI_PLATFORM_POSIX_ZEL_EXPORT_H

#define ZEL_EXPORT __attribute__((visibility("default")))

// ZEL_EXPORT_NAME: for a class that exported names mention and that has nothing to export itself.
#define ZEL_EXPORT_NAME ZEL_EXPORT

#endif
