// What the library tells about itself to the Java class NativeInfo.
#ifndef ZELSPI_BRIDGE_NATIVE_INFO_H
#define ZELSPI_BRIDGE_NATIVE_INFO_H

// isSharedRandomReady: whether the one random context of the process has been made, so that nobody waits for it any more.
bool isSharedRandomReady();

#endif
