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
    for (std::size_t begin, end = 0; (begin = line.find_first_not_of(' ', end)) != std::string::npos;) {
        bool isQuoted = false;
        for (end = begin; end < line.size() && (isQuoted || line[end] != ' '); ++end) {
            isQuoted ^= line[end] == '"';
        }
        words.push_back(line.substr(begin, end - begin));
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

Bytes bytesOf(std::string_view notation, const NamedBytes& named) {
    Bytes all;
    for (std::size_t at = 0, end = 0; at < notation.size(); at = end + 1) {
        end = std::min(notation.find('+', at), notation.size());
        std::string piece(notation.substr(at, end - at));
        const auto cutBehind = [&piece](char mark) { // what stands there, if it does
            const std::size_t place = std::min(piece.find(mark), piece.size());
            const std::string behind = piece.substr(std::min(place + 1, piece.size()));
            piece.resize(place);
            return behind;
        };
        const std::string part = cutBehind('['), count = cutBehind('*');
        Bytes unit, bytes;
        if (piece[0] == '"') {
            unit.assign(piece.begin() + 1, piece.end() - 1);
        } else if (piece[0] == '@' || piece[0] == '~') {
            unit = named(piece);
        } else if (const std::size_t colon = piece.find(':'); colon != std::string::npos) {
            const std::uint32_t step = numberOf(piece), start = numberOf(piece.substr(colon + 1));
            for (std::uint32_t i = 0; i < numberOf(piece.substr(piece.rfind(':') + 1)); ++i) {
                unit.push_back(static_cast<std::uint8_t>(step * i + start));
            }
        } else {
            for (std::size_t i = 0; i < piece.size() && piece != "."; i += 2) {
                unit.push_back(static_cast<std::uint8_t>(std::stoi(piece.substr(i, 2), nullptr, 16)));
            }
        }
        for (std::uint32_t i = count.empty() ? 1 : numberOf(count); i > 0; --i) {
            bytes.insert(bytes.end(), unit.begin(), unit.end());
        }
        const std::size_t from = part.empty() ? 0 : numberOf(part),
                          to = part.empty() ? bytes.size() : numberOf(part.substr(part.find(':') + 1));
        all.insert(all.end(), bytes.data() + from, bytes.data() + std::min(to, bytes.size()));
    }
    all.reserve(1); // data() of an empty one is no null pointer
    return all;
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
