#include "tests/bridge/script.h"

#include "tests/bridge/native_calls.h"
#include "tests/support/faults.h"
#include "tests/support/hex.h"
#include "tests/support/test_heap.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <stdexcept>

namespace {

std::vector<std::uint8_t> bytesIn(const FakeObject& array) {
    return {array.bytes.begin(), array.bytes.end()};
}

std::string textOf(const std::vector<std::uint8_t>& bytes) {
    return bytes.empty() ? "." : toHex(bytes);
}

// Refusal: makes one call of a kind fail while it lives.
class Refusal {
public:
    Refusal(FakeJni& jni, const std::string& kind, unsigned number) : jni_(jni), kind_(kind) {
        if (kind == "allocation") {
            testheap::refuse(number);
        } else if (kind == "lock" || kind == "mutex") {
            fault_.emplace(kind == "lock" ? PlatformService::mutexWait : PlatformService::mutexCreate, number);
        } else if (kind.starts_with("quiet ")) {
            jni.refuse(kind.substr(6), number, true);
        } else if (!refuseNative(kind, static_cast<int>(number))) {
            jni.refuse(kind, number);
        }
    }
    ~Refusal() {
        testheap::refuse(0);
        jni_.refuse("", 0);
        (void)refuseNative("hash", 0);
    }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

    bool hasStruck() const {
        return kind_ == "allocation" ? testheap::refused() : fault_ ? fault_->hasStruck() : jni_.refused();
    }

private:
    FakeJni& jni_;
    std::string kind_;
    std::optional<Fault> fault_;
};

// What work() prints.
std::string printedBy(const std::function<void()>& work) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    work();
    std::string text = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    std::erase(text, '\r'); // text mode on Windows
    return text;
}

} // namespace

// Pieces joined by '+': hexadecimal digits, "text", ~N the first N bytes of a test file, @array, "." nothing; each with
// *count behind it to be repeated, and then [from:to] for a part.
std::vector<std::uint8_t> Player::bytes(const std::string& notation) const {
    std::vector<std::uint8_t> all;
    for (std::size_t at = 0; at < notation.size();) {
        const std::size_t end = std::min(notation.find('+', at), notation.size());
        std::string piece = notation.substr(at, end - at);
        at = end + 1;
        std::size_t from = 0, to = std::string::npos;
        if (const std::size_t bracket = piece.find('['); bracket != std::string::npos) {
            from = std::stoul(piece.substr(bracket + 1));
            to = std::stoul(piece.substr(piece.find(':', bracket) + 1));
            piece.resize(bracket);
        }
        std::size_t count = 1;
        if (const std::size_t star = piece.rfind('*'); star != std::string::npos) {
            count = std::stoul(piece.substr(star + 1));
            piece.resize(star);
        }
        std::vector<std::uint8_t> unit, bytes;
        if (piece[0] == '@') {
            unit = bytesIn(FakeJni::of(arrays_.at(piece.substr(1))));
        } else if (piece[0] == '"') {
            unit.assign(piece.begin() + 1, piece.end() - 1);
        } else if (piece[0] == '~') {
            for (unsigned i = 0, size = static_cast<unsigned>(std::stoul(piece.substr(1))); i < size; ++i) {
                unit.push_back(static_cast<std::uint8_t>(7 * i + i / 256));
            }
        } else if (piece != ".") {
            unit = fromHex(piece);
        }
        while (count-- > 0) {
            bytes.insert(bytes.end(), unit.begin(), unit.end());
        }
        to = std::min(to, bytes.size());
        all.insert(all.end(), bytes.begin() + static_cast<std::ptrdiff_t>(from),
                   bytes.begin() + static_cast<std::ptrdiff_t>(to));
    }
    return all;
}

JavaValue Player::argument(char type, const std::string& word) {
    if (type != 'A') {
        return {std::stoll(word), nullptr};
    }
    if (word == "null") {
        return {};
    }
    if (word[0] == '@' && word.find_first_of("[+") == std::string::npos) {
        return {0, arrays_.at(word.substr(1))};
    }
    return {0, jni_.newBytes(bytes(word))};
}

// An object of its own for each name; that of "Class#bare" has no field for an engine.
jobject Player::objectOf(const std::string& name) {
    jobject& object = objects_[name];
    if (object == nullptr) {
        object = jni_.newEngineObject(!name.ends_with("#bare"));
    }
    return object;
}

const EntryPoint& Player::entryOf(const ScriptLine& line) const {
    const std::string& name = line.words[0];
    const std::size_t dot = name.find('.');
    const EntryPoint* const entry =
        findEntryPoint(name.substr(0, std::min(name.find('#'), dot)) + name.substr(dot), line.words.size() - 1);
    if (entry == nullptr) {
        throw std::logic_error(line.where + ": no such entry point");
    }
    return *entry;
}

Player::Outcome Player::wanted(const ScriptLine& line) const {
    const char type = entryOf(line).shape[0];
    Outcome outcome = {line.result, line.raised, line.printed};
    if (outcome.result.empty()) {
        outcome.result = type == 'V' ? "" : type == 'A' ? "null" : "0";
    } else if (type == 'A') {
        outcome.result = line.result[0] == '@' ? "array" : line.result == "null" ? "null" : textOf(bytes(line.result));
    }
    return outcome;
}

Player::Outcome Player::call(const ScriptLine& line) {
    const EntryPoint& entry = entryOf(line);
    const std::string& name = line.words[0];
    const jobject object = objectOf(name.substr(0, name.find('.')));
    std::vector<JavaValue> arguments;
    for (std::size_t i = 1; i < line.words.size(); ++i) {
        arguments.push_back(argument(entry.shape[i], line.words[i]));
    }
    Outcome outcome;
    JavaValue value;
    jni_.isExempt = name.ends_with(".deleteContext0");
    const auto work = [&] {
        value = invoke(entry, jni_.env(), object, arguments);
    };
    if (name.starts_with("ZelObject.") || name.starts_with("ZelUtil.")) { // they alone print
        outcome.printed = printedBy(work);
    } else {
        work();
    }
    outcome.raised = jni_.takePending();
    const bool binds = line.result[0] == '@' && value.array != nullptr;
    if (binds) {
        arrays_[line.result.substr(1)] = value.array;
    }
    switch (entry.shape[0]) {
    case 'V':
        break;
    case 'A':
        outcome.result = value.array == nullptr ? "null" : binds ? "array" : textOf(bytesIn(FakeJni::of(value.array)));
        break;
    default:
        outcome.result = line.result == "some" && value.number != 0 ? "some" : std::to_string(value.number);
    }
    return outcome;
}

void Player::expectThat(const ScriptLine& line) {
    const std::string &subject = line.words[0], &verb = line.words[1];
    if (verb == "bound" || verb == "unbound") {
        EXPECT_EQ(FakeJni::of(objectOf(subject)).context0 != 0, verb == "bound");
    } else if (verb == "destroyed") { // "before" or "after" its field was cleared
        EXPECT_EQ(FakeJni::of(objectOf(subject)).liveWhenStored > testheap::liveBlocks(), line.words[2] == "after");
    } else if (verb == "filled") { // with random bytes: no more of them are 0 than chance gives
        const std::vector<std::uint8_t> content = bytes(subject);
        EXPECT_LE(std::count(content.begin(), content.end(), 0), static_cast<std::ptrdiff_t>(content.size() / 64 + 10));
    } else if (verb == "is" || verb == "differs") {
        EXPECT_EQ(textOf(bytes(subject)) == textOf(bytes(line.words[2])), verb == "is") << textOf(bytes(subject));
    } else {
        throw std::logic_error(line.where + ": not understood");
    }
}

void Player::doLine(const ScriptLine& line) {
    const std::string& first = line.words[0];
    if (first == "refuse") {
        refusal_.assign(line.words.begin() + 1, line.words.end());
    } else if (first == "file" || first == "folder" || first == "readonly") {
        makeFile(first, bytes(line.words[1]), bytes(line.result));
    } else if (first[0] == '@' && line.words.size() == 1) {
        arrays_[first.substr(1)] = jni_.newBytes(bytes(line.result));
    } else if (first[0] == '@' && line.words[1] == "claims") {
        FakeJni::of(arrays_.at(first.substr(1))).claimedLength = std::stoi(line.words[2]);
    } else {
        expectThat(line);
    }
}

namespace {

bool isCall(const ScriptLine& line) {
    return line.words[0].find('.') != std::string::npos && line.words[0][0] != '@';
}

} // namespace

void Player::play(const Passage& passage) {
    for (const ScriptLine& line : passage.lines) {
        SCOPED_TRACE(line.where);
        if (!isCall(line)) {
            doLine(line);
            continue;
        }
        Outcome outcome;
        if (refusal_.empty()) {
            outcome = call(line);
        } else {
            const std::string kind = refusal_.size() == 3 ? refusal_[0] + " " + refusal_[1] : refusal_[0];
            const Refusal refusal(jni_, kind, static_cast<unsigned>(std::stoi(refusal_.back())));
            outcome = call(line);
            EXPECT_TRUE(refusal.hasStruck() || kind == "hash" || kind == "read");
            refusal_.clear();
        }
        const Outcome expected = wanted(line);
        EXPECT_EQ(outcome.result, expected.result);
        EXPECT_TRUE(outcome.raised == expected.raised || expected.raised == "*") << outcome.raised;
        const bool alwaysPrints = line.words[0].starts_with("ZelObject.");
        if (alwaysPrints || !isDebugging() || !expected.printed.empty()) {
            EXPECT_EQ(outcome.printed, alwaysPrints || isDebugging() ? expected.printed : "");
        }
    }
}

bool Player::playRefusing(const Passage& passage, const std::string& kind, unsigned number,
                          std::set<std::string>& outcomes) {
    std::optional<Refusal> refusal(std::in_place, jni_, kind, number);
    bool wasRefused = false;
    for (std::size_t i = 0; i < passage.lines.size(); ++i) {
        const ScriptLine& line = passage.lines[i];
        SCOPED_TRACE(line.where);
        if (!isCall(line)) {
            doLine(line);
            continue;
        }
        const Outcome outcome = call(line), expected = wanted(line);
        const bool isResultRight = outcome.result == expected.result;
        const bool strikesNow = refusal && refusal->hasStruck();
        if (strikesNow) {
            wasRefused = true;
            refusal.reset();
        }
        if (!strikesNow || (isResultRight && outcome.raised == expected.raised)) {
            EXPECT_TRUE(isResultRight) << outcome.result.substr(0, 200) << " is not " << expected.result.substr(0, 200);
            EXPECT_EQ(outcome.raised, expected.raised);
            continue;
        }
        outcomes.insert(outcome.raised.empty() ? "= " + outcome.result : outcome.raised);
        // A digest or a signature that is right in spite of the exception is not asked for a second time.
        const char type = entryOf(line).shape[0];
        const bool isDelivered = isResultRight && outcome.result.size() > 1 && (type == 'A' || type == 'I') &&
                                 expected.result != "null" && line.result[0] != '@';
        if (!isDelivered) {
            i = passage.has("restarts") ? static_cast<std::size_t>(-1) : i - 1;
        }
    }
    return wasRefused;
}

void Player::finish() {
    for (const auto& [name, object] : objects_) {
        if (const EntryPoint* const entry = findEntryPoint(name.substr(0, name.find('#')) + ".deleteContext0", 0)) {
            (void)invoke(*entry, jni_.env(), object, {});
            jni_.takePending(); // of one without the field
            EXPECT_EQ(FakeJni::of(object).context0, 0) << name;
        }
    }
    EXPECT_EQ(jni_.violations, std::vector<std::string>());
    EXPECT_EQ(jni_.openRegions(), 0);
    EXPECT_EQ(jni_.localReferences, 0);
}
