// What scripts need besides the exported entry points: files, faults inside the file check, and whether output is expected.
#ifndef ZELSPI_TESTS_BRIDGE_NATIVE_CALLS_H
#define ZELSPI_TESTS_BRIDGE_NATIVE_CALLS_H

#include <cstdint>
#include <string>
#include <vector>

// makeFile: "file": makes one of that name, with the content; "folder": a folder; "readonly": of a file that is there.
void makeFile(const std::string& kind, const std::vector<std::uint8_t>& name, const std::vector<std::uint8_t>& content);

// refuseNative: "hash": feeding a file to the engine fails with this status; "read": once, a file ends behind so many
// bytes. False for any other kind.
bool refuseNative(const std::string& kind, int number);

// isDebugging: whether this run is to see debug output. The variable ZEL_DEBUG_EXPECTED says so.
bool isDebugging();

#endif
