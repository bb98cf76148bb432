// ZelUtil: services for native callers in the same process.
#ifndef ZELSPI_BRIDGE_ZEL_UTIL_H
#define ZELSPI_BRIDGE_ZEL_UTIL_H

#include "zel_export.h"

class ZEL_EXPORT ZelUtil {
public:
    // isDebugEnabled: 1 when the environment variable zel_debug is defined, with any value or none, else 0. Asked
    // afresh at every call.
    static int isDebugEnabled();
};

#endif
