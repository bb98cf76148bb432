// Exits with 0 when the debug switch is what the only argument says, "on" or "off". The variable comes with the
// process's environment: setting it to nothing from within would delete it on Windows.
#include "bridge/zel_util.h"

#include <string_view>

int main(int argc, char** argv) {
    const int expected = argc == 2 && std::string_view(argv[1]) == "on" ? 1 : 0;
    return ZelUtil::isDebugEnabled() == expected ? 0 : 1;
}
