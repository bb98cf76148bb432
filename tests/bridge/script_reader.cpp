#include "tests/bridge/script.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace {

Words split(std::string text, const std::string& separator) {
    Words parts;
    for (std::size_t end; (end = text.find(separator)) != std::string::npos; text.erase(0, end + separator.size())) {
        parts.push_back(text.substr(0, end));
    }
    parts.push_back(text);
    return parts;
}

// The text with the number-th of each {one|other|third}; empty when there are not so many.
std::string alternative(std::string text, std::size_t number) {
    for (std::size_t open; (open = text.find('{')) != std::string::npos;) {
        const std::size_t close = text.find('}', open);
        const Words choices = split(text.substr(open + 1, close - open - 1), "|");
        if (number >= choices.size()) {
            return "";
        }
        text.replace(open, close + 1 - open, choices[number]);
    }
    return text;
}

class Reader {
public:
    explicit Reader(const std::string& choice) {
        for (const std::string& word : wordsOf(choice)) {
            script.values[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
        }
    }

    void read(const std::string& name) {
        for (const auto& [where, text] : linesOf("bridge/scripts/" + name + ".txt")) {
            where_ = where;
            if (!text.starts_with("for ")) {
                readLine(expanded(text));
            }
        }
    }

    Script script;

private:
    // Each $name replaced by its value.
    std::string expanded(std::string text) const {
        for (std::size_t at = 0; (at = text.find('$', at)) != std::string::npos;) {
            std::size_t count = 1;
            while (std::isalnum(static_cast<unsigned char>(text[at + count])) != 0) { // a string ends with NUL
                ++count;
            }
            text.replace(at, count, script.values.at(text.substr(at + 1, count - 1)));
        }
        return text;
    }

    void readLine(std::string text) {
        const Words words = wordsOf(text);
        if (words[0] == "use") {
            read(words[1]);
        } else if (words[0] == "may" || words[0] == "must") {
            script.raises.insert(text.substr(words[0].size() + 1));
            if (words[0] == "may") {
                script.mayRaise.insert(text.substr(4));
            }
        } else if (text[0] == '[') {
            const Words options = wordsOf(text.substr(text.find(']') + 1));
            script.passages.push_back({text.substr(1, text.find(']') - 1), {options.begin(), options.end()}, {}});
        } else if (words.size() > 2 && words[1] == "=" && text.find_first_of(".@") > words[0].size()) {
            script.values[words[0]] = text.substr(text.find('=') + 2);
        } else if (text[0] == '>') {
            for (std::size_t at; (at = text.find("\\n")) != std::string::npos;) {
                text.replace(at, 2, "\n");
            }
            script.passages.back().lines.back().printed = text.substr(2);
        } else {
            const bool hasChoices = text.find('{') != std::string::npos;
            for (std::size_t number = 0; (hasChoices || number == 0) && !alternative(text, number).empty(); ++number) {
                for (const std::string& action : split(alternative(text, number), " ; ")) {
                    addAction(action);
                }
            }
        }
    }

    void addAction(const std::string& text) {
        Passage& passage = script.passages.back();
        const std::size_t mark = text.find(" ! ");
        ScriptLine line = {where_ + text.substr(0, 300), wordsOf(text.substr(0, mark)), "", "", ""};
        line.raised = mark == std::string::npos ? "" : text.substr(mark + 3);
        if (line.words.size() > 2 && line.words[line.words.size() - 2] == "=") {
            line.result = line.words.back();
            line.words.resize(line.words.size() - 2);
        }
        if (line.words[0] == "refuse") {
            passage.options.insert("once");
        }
        passage.lines.push_back(line);
    }

    std::string where_;
};

} // namespace

std::vector<Script> readScript(const std::string& name) {
    Words choices;
    for (const auto& [where, text] : linesOf("bridge/scripts/" + name + ".txt")) {
        if (text.starts_with("for ")) {
            choices.push_back(text.substr(4));
        }
    }
    choices.resize(std::max(choices.size(), std::size_t{1}));
    std::vector<Script> scripts;
    for (const std::string& choice : choices) {
        Reader reader(choice);
        reader.read(name);
        scripts.push_back(reader.script);
    }
    return scripts;
}
