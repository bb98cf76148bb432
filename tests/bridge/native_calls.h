// What scripts need besides the exported entry points: files, faults inside the file check, and whether output is expected.
#ifndef ZELSPI_TESTS_BRIDGE_NATIVE_CALLS_H
#define ZELSPI_TESTS_BRIDGE_NATIVE_CALLS_H

#include "tests/support/vectors.h"

#include <string>

// makeFile: "file": makes one of that name, with the content; "folder": a folder; "readonly", "writable": of a file that is
// there.
void makeFile(const std::string& kind, const Bytes& name, const Bytes& content);

// refuseNative: "hash": feeding a file to the engine fails with this status, 0: no more; "read": once, a file ends behind so
// many bytes.
void refuseNative(const std::string& kind, int number);

// isDebugging: whether this run is to see debug output. The variable ZEL_DEBUG_EXPECTED says so.
bool isDebugging();

#endif
