#include "tests/bridge/script.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

// Words between spaces; a quoted text may contain spaces.
std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words;
    bool isQuoted = false, isInWord = false;
    for (const char c : text) {
        isQuoted ^= c == '"';
        if (c == ' ' && !isQuoted) {
            isInWord = false;
            continue;
        }
        if (!isInWord) {
            words.emplace_back();
        }
        isInWord = true;
        words.back() += c;
    }
    return words;
}

std::string replacedIn(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
    return text;
}

class Reader {
public:
    explicit Reader(const std::map<std::string, std::string>& chosen) {
        script_.values = chosen;
    }

    void read(const std::string& file) {
        std::ifstream lines(ZEL_BRIDGE_SCRIPTS + file);
        int number = 0;
        for (std::string text; std::getline(lines, text);) {
            where_ = file + ":" + std::to_string(++number) + ": ";
            if (!text.empty() && text.back() == '\r') {
                text.pop_back();
            }
            if (!text.empty() && text[0] != '#') {
                readLine(expanded(text));
            }
        }
        if (number == 0) {
            throw std::runtime_error("cannot read " + file);
        }
    }

    Script script() {
        return std::move(script_);
    }

private:
    // Each $name replaced by its value.
    std::string expanded(std::string text) const {
        for (std::size_t at = text.find('$'); at != std::string::npos; at = text.find('$', at)) {
            std::size_t end = at + 1;
            while (end < text.size() && std::isalnum(static_cast<unsigned char>(text[end])) != 0) {
                ++end;
            }
            const auto value = script_.values.find(text.substr(at + 1, end - at - 1));
            if (value == script_.values.end()) {
                throw std::runtime_error(where_ + text + ": a name without a value");
            }
            text.replace(at, end - at, value->second);
        }
        return text;
    }

    void readLine(const std::string& text) {
        const std::vector<std::string> words = wordsOf(text);
        if (words[0] == "for") {
            return; // readScript has seen to it
        }
        if (words[0] == "use") {
            return read(words[1]);
        }
        if (words[0] == "may" || words[0] == "must") {
            script_.mayRaise.insert(text.substr(words[0].size() + 1));
            if (words[0] == "must") {
                script_.mustRaise.insert(text.substr(5));
            }
        } else if (text[0] == '[') {
            const std::vector<std::string> options = wordsOf(text.substr(text.find(']') + 1));
            script_.passages.push_back({text.substr(1, text.find(']') - 1), {options.begin(), options.end()}, {}});
        } else if (words.size() > 2 && words[1] == "=" && text.find_first_of(".@") > words[0].size()) {
            script_.values[words[0]] = text.substr(text.find('=') + 2);
        } else if (text[0] == '>') {
            script_.passages.back().lines.back().printed += replacedIn(text.substr(2), "\\n", "\n");
        } else {
            addAction(text);
        }
    }

    void addAction(const std::string& text) {
        const std::size_t mark = text.find(" ! ");
        ScriptLine line = {where_ + text.substr(0, 300), wordsOf(text.substr(0, mark)), "", "", ""};
        line.raised = mark == std::string::npos ? "" : text.substr(mark + 3);
        if (line.words.size() > 2 && line.words[line.words.size() - 2] == "=") {
            line.result = line.words.back();
            line.words.resize(line.words.size() - 2);
        }
        if (line.words[0] == "refuse") {
            script_.passages.back().options.insert("once");
        }
        script_.passages.back().lines.push_back(line);
    }

    Script script_;
    std::string where_;
};

} // namespace

std::vector<Script> readScript(const std::string& file) {
    std::vector<Script> scripts;
    try {
        std::vector<std::map<std::string, std::string>> choices;
        std::ifstream lines(ZEL_BRIDGE_SCRIPTS + file);
        for (std::string text; std::getline(lines, text);) {
            const std::vector<std::string> words = wordsOf(text);
            if (!words.empty() && words[0] == "for") {
                choices.emplace_back();
                for (std::size_t i = 1; i < words.size(); ++i) {
                    choices.back()[words[i].substr(0, words[i].find('='))] = words[i].substr(words[i].find('=') + 1);
                }
            }
        }
        choices.resize(choices.empty() ? 1 : choices.size());
        for (const auto& chosen : choices) {
            Reader reader(chosen);
            reader.read(file);
            scripts.push_back(reader.script());
            scripts.back().name = file;
        }
    } catch (const std::exception& mistake) {
        std::fprintf(stderr, "%s\n", mistake.what());
        std::exit(2);
    }
    return scripts;
}
