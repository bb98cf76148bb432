// Exits with 0 when the debug switch is what the only argument says, "on" or "off". The variable comes with the
// process's environment: setting it to nothing from within would delete it on Windows.
#include "bridge/zel_util.h"

#include <cstdlib>
#include <string_view>

int main(int argc, char** argv) {
    const int expected = argc == 2 && std::string_view(argv[1]) == "on" ? 1 : 0;
    if (ZelUtil::isDebugEnabled() != expected) {
        return 1;
    }
    static char on[] = "zel_debug=1"; // asked afresh at every call
    return putenv(on) == 0 && ZelUtil::isDebugEnabled() == 1 ? 0 : 1;
}
