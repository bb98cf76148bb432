#include "tests/support/vectors.h"

#include "tests/support/faults.h"

#include <fstream>
#include <set>
#include <stdexcept>

namespace {

// The words of a vector: without their quotes.
Words vectorOf(const std::string& line) {
    Words words = wordsOf(line);
    for (std::string& word : words) {
        word = word[0] == '"' ? word.substr(1, word.size() - 2) : word;
    }
    return words;
}

} // namespace

std::vector<std::pair<std::string, std::string>> linesOf(const std::string& file) {
    std::ifstream stream(ZEL_TESTS + file);
    if (!stream) {
        throw std::runtime_error("cannot read " + file);
    }
    std::vector<std::pair<std::string, std::string>> lines;
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        std::erase(line, '\r');
        if (!line.empty() && line[0] != '#') {
            lines.emplace_back(file + ":" + std::to_string(number) + ": ", line);
        }
    }
    return lines;
}

Words wordsOf(const std::string& line) {
    Words words;
    bool isQuoted = false, isInWord = false;
    for (const char c : line) {
        isQuoted ^= c == '"';
        const bool wasInWord = std::exchange(isInWord, c != ' ' || isQuoted);
        if (isInWord && !wasInWord) {
            words.emplace_back();
        }
        if (isInWord) {
            words.back() += c;
        }
    }
    return words;
}

void runVectors(const std::string& file, const std::map<std::string, VectorOperation>& operations) {
    std::set<std::string> used;
    for (const auto& [where, line] : linesOf(file)) {
        SCOPED_TRACE(where + line.substr(0, 300));
        const Words words = vectorOf(line);
        const auto equals = std::find(words.begin(), words.end(), "=");
        const auto operation = operations.find(words[0]);
        ASSERT_TRUE(equals != words.end() && operation != operations.end());
        used.insert(words[0]);
        if (operation->second == nullptr) { // for a test of its own
            continue;
        }
        refuseEach([&, run = operation->second] {
            Words results;
            const Status status = run(Words(words.begin() + 1, equals), results);
            if (heapFaults().hasStruck()) {
                return status;
            }
            if (status != OK) {
                results.insert(results.begin(), statusName(status));
            }
            EXPECT_EQ(results, Words(equals + 1, words.end()));
            return OK;
        });
    }
    EXPECT_EQ(used.size(), operations.size()) << "operations without a line in " << file;
}

std::vector<Words> vectorsOf(const std::string& file, const std::string& operation) {
    std::vector<Words> vectors;
    for (const auto& [where, line] : linesOf(file)) {
        Words words = vectorOf(line);
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
        const std::size_t star = std::min(piece.find('*'), piece.size()), colon = piece.find(':');
        if (colon != std::string::npos) {
            const std::uint32_t step = numberOf(piece), start = numberOf(piece.substr(colon + 1)),
                                count = numberOf(piece.substr(piece.find(':', colon + 1) + 1));
            for (std::uint32_t i = 0; i < count; ++i) {
                bytes.push_back(static_cast<std::uint8_t>(step * i + start));
            }
            continue;
        }
        for (std::uint32_t i = star == piece.size() ? 1 : numberOf(piece.substr(star + 1)); i > 0; --i) {
            for (std::size_t at = 0; at < star; at += 2) {
                bytes.push_back(static_cast<std::uint8_t>(std::stoi(piece.substr(at, 2), nullptr, 16)));
            }
        }
    }
    bytes.reserve(1); // data() of an empty one is no null pointer
    return bytes;
}

std::string toHex(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string textOf(const Bytes& bytes) {
    return bytes.empty() ? "." : toHex(bytes);
}

std::uint32_t numberOf(const std::string& word) {
    return static_cast<std::uint32_t>(std::stoll(word, nullptr, 0));
}
