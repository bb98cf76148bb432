#include "bridge/zel_util.h"

#include <cstdlib>

int ZelUtil::isDebugEnabled() {
    return std::getenv("zel_debug") != nullptr ? 1 : 0;
}
