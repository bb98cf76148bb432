#include "tests/support/vectors.h"

#include "tests/support/faults.h"
#include "tests/support/hex.h"

#include <fstream>
#include <set>

namespace {

Words wordsOf(const std::string& line) {
    Words words;
    for (std::size_t at = 0; at < line.size();) {
        const bool isQuoted = line[at] == '"';
        const std::size_t begin = at + (isQuoted ? 1 : 0),
                          end = std::min(line.find(isQuoted ? '"' : ' ', begin), line.size());
        if (isQuoted || end > begin) {
            words.push_back(line.substr(begin, end - begin));
        }
        at = end + 1;
    }
    return words;
}

struct Line {
    std::string text; // with its place
    Words words;
};

std::vector<Line> linesOf(const std::string& file) {
    std::ifstream stream(ZEL_TESTS + file);
    std::vector<Line> lines;
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        std::erase(line, '\r');
        const Words words = wordsOf(line);
        if (!words.empty() && words[0][0] != '#') {
            lines.push_back({file + ":" + std::to_string(number) + ": " + line.substr(0, 300), words});
        }
    }
    return lines;
}

} // namespace

void runVectors(const std::string& file, const std::map<std::string, VectorOperation>& operations) {
    std::set<std::string> unused;
    for (const auto& [name, operation] : operations) {
        unused.insert(name);
    }
    for (const auto& [text, words] : linesOf(file)) {
        SCOPED_TRACE(text);
        const auto equals = std::find(words.begin(), words.end(), "=");
        const auto operation = operations.find(words[0]);
        ASSERT_TRUE(equals != words.end() && operation != operations.end());
        const Words operands(words.begin() + 1, equals), expected(equals + 1, words.end());
        unused.erase(words[0]);
        if (operation->second == nullptr) { // for a test of its own
            continue;
        }
        refuseEach([&, run = operation->second] {
            Words results;
            const Status status = run(operands, results);
            if (heapFaults().hasStruck()) {
                return status;
            }
            if (status != OK) {
                results.insert(results.begin(), statusName(status));
            }
            EXPECT_EQ(results, expected);
            return OK;
        });
    }
    EXPECT_EQ(unused, std::set<std::string>()) << "have no line in " << file;
}

std::vector<Words> vectorsOf(const std::string& file, const std::string& operation) {
    std::vector<Words> vectors;
    for (auto& [text, words] : linesOf(file)) {
        if (words[0] == operation) {
            words.erase(std::find(words.begin(), words.end(), "="));
            vectors.emplace_back(words.begin() + 1, words.end());
        }
    }
    return vectors;
}

Bytes bytesOf(std::string_view notation) {
    Bytes bytes;
    while (notation != "." && !notation.empty()) {
        const std::size_t end = std::min(notation.find('+'), notation.size());
        const std::string piece(notation.substr(0, end));
        notation.remove_prefix(std::min(end + 1, notation.size()));
        const std::size_t star = piece.find('*'), colon = piece.find(':');
        if (colon != std::string::npos) {
            const std::size_t second = piece.find(':', colon + 1);
            const std::uint32_t step = numberOf(piece), start = numberOf(piece.substr(colon + 1));
            for (std::uint32_t i = 0; i < numberOf(piece.substr(second + 1)); ++i) {
                bytes.push_back(static_cast<std::uint8_t>(step * i + start));
            }
            continue;
        }
        const Bytes once = fromHex(piece.substr(0, star));
        for (std::uint32_t i = star == std::string::npos ? 1 : numberOf(piece.substr(star + 1)); i > 0; --i) {
            bytes.insert(bytes.end(), once.begin(), once.end());
        }
    }
    bytes.reserve(1); // data() of an empty one is no null pointer
    return bytes;
}

std::string textOf(const Bytes& bytes) {
    return bytes.empty() ? "." : toHex(bytes);
}

std::uint32_t numberOf(const std::string& word) {
    return static_cast<std::uint32_t>(std::stoll(word, nullptr, 0));
}
