// Stands in for java.exe where there is none: prints its arguments, one a line, and fails when one of them is the name in
// FAKE_JAVA_FAILS_AT.
#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int count, char** arguments) {
    const char* const failing = std::getenv("FAKE_JAVA_FAILS_AT");
    int result = 0;
    for (int i = 1; i < count; ++i) {
        std::printf("<%s>\n", arguments[i]);
        if (failing != nullptr && std::strcmp(arguments[i], failing) == 0) {
            result = 1;
        }
    }
    return result;
}
