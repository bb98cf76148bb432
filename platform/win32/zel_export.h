// The mark of what leaves the library: the entry points for Java, the functions for C and the classes for native callers.
#ifndef ZELSPI_PLATFORM_WIN32_ZEL_EXPORT_H
#define ZELSPI_PLATFORM_WIN32_ZEL_EXPORT_H

#ifdef ZEL_STATIC // a program that is linked with the static library
#define ZEL_EXPORT
#elif defined(ZEL_BUILDING_LIBRARY)
#define ZEL_EXPORT __declspec(dllexport)
#else
#define ZEL_EXPORT __declspec(dllimport)
#endif

// ZEL_EXPORT_NAME: for a class that exported names mention and that has nothing to export itself.
#define ZEL_EXPORT_NAME

#endif
