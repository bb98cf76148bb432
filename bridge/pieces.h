// Long arrays in pieces: what one call of the core takes at once, so that no thread is held up for long.
#ifndef ZELSPI_BRIDGE_PIECES_H
#define ZELSPI_BRIDGE_PIECES_H

#include <jni.h>

#include <algorithm>

inline constexpr jint kPieceBytes = 64 * 1024;

// forEachPiece: work(offset, count) for one piece after another of [0 .. length), until it returns false.
// In/out:  returns what the last call returned; true for a length of 0.
template <typename Work> bool forEachPiece(jint length, Work work) {
    jint count = 0; // ends at length exactly: a fixed step could go beyond what a jint holds
    for (jint offset = 0; offset < length; offset += count) {
        count = std::min(kPieceBytes, length - offset);
        if (!work(offset, count)) {
            return false;
        }
    }
    return true;
}

#endif
