// What every benchmark program says of the machine it ran on, beside what the framework says.
#include <benchmark/benchmark.h>

#include <fstream>
#include <string>

namespace {

std::string cpuModel() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown";
}

const bool added = [] {
    benchmark::AddCustomContext("CPU", cpuModel());
    benchmark::AddCustomContext("compiler", __VERSION__);
    return true;
}();

} // namespace
