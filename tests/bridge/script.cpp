#include "tests/bridge/script.h"

#include "tests/support/faults.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>

namespace {

Bytes bytesIn(const FakeObject& array) {
    return {array.bytes.begin(), array.bytes.end()};
}

FaultPoint& pointOf(const std::string& kind) {
    return kind == "allocation" ? heapFaults()
           : kind == "lock"     ? platformFaults(PlatformService::mutexWait)
           : kind == "mutex"    ? platformFaults(PlatformService::mutexCreate)
                                : vmFaults(kind);
}

// What work() prints.
std::string printedBy(const std::function<void()>& work) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    work();
    std::string text = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    std::erase(text, '\r'); // text mode on Windows
    return text;
}

const EntryPoint& entryOf(const ScriptLine& line) {
    const std::string& name = line.words[0];
    const std::size_t dot = name.find('.');
    const EntryPoint* const entry =
        findEntryPoint(name.substr(0, std::min(name.find('#'), dot)) + name.substr(dot), line.words.size() - 1);
    if (entry == nullptr) {
        throw std::runtime_error(line.where + ": no such entry point");
    }
    return *entry;
}

} // namespace

// Beside what all notations know: @array, and ~N, the first N bytes of a test file.
Bytes Player::bytes(const std::string& notation) const {
    return bytesOf(notation, [this](const std::string& name) {
        if (name[0] == '@') {
            return bytesIn(FakeJni::of(arrays_.at(name.substr(1))));
        }
        Bytes file(numberOf(name.substr(1)));
        for (std::size_t i = 0; i < file.size(); ++i) {
            file[i] = static_cast<std::uint8_t>(7 * i + i / 256);
        }
        return file;
    });
}

JavaValue Player::argument(char type, const std::string& word) {
    if (type != 'A') {
        return {std::stoll(word), nullptr};
    }
    if (word == "null") {
        return {};
    }
    if (word[0] == 'Z') {
        return {0, static_cast<jbyteArray>(objectOf(word))};
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
        value = entry.call(jni_.env(), object, arguments);
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

void Player::expectSame(const ScriptLine& line, const Outcome& outcome) const {
    const Outcome expected = wanted(line);
    EXPECT_EQ(outcome.result, expected.result);
    EXPECT_TRUE(outcome.raised == expected.raised || expected.raised == "*") << outcome.raised;
    // Debug output counts where a line says so, and is nowhere else.
    const bool isDebugOutput = line.words[0].starts_with("ZelUtil.");
    if (!isDebugOutput || !isDebugging() || !expected.printed.empty()) {
        EXPECT_EQ(outcome.printed, isDebugOutput && !isDebugging() ? "" : expected.printed);
    }
}

void Player::doLine(const ScriptLine& line) {
    const std::string &first = line.words[0], second = line.words.size() > 1 ? line.words[1] : "";
    if (first == "refuse") {
        refusal_.assign(line.words.begin() + 1, line.words.end());
    } else if (first == "file" || first == "folder" || first == "readonly" || first == "writable") {
        makeFile(first, bytes(second), bytes(line.result));
    } else if (first[0] == '@' && second.empty()) {
        arrays_[first.substr(1)] = jni_.newBytes(bytes(line.result));
    } else if (second == "claims") {
        FakeJni::of(arrays_.at(first.substr(1))).claimedLength = std::stoi(line.words[2]);
    } else if (second == "bound" || second == "unbound") {
        EXPECT_EQ(FakeJni::of(objectOf(first)).context0 != 0, second == "bound");
    } else if (second == "destroyed") { // "before" or "after" its field was cleared
        EXPECT_EQ(FakeJni::of(objectOf(first)).liveWhenStored > testheap::liveBlocks(), line.words[2] == "after");
    } else if (second == "filled") { // with random bytes: no more of them are 0 than chance gives
        const Bytes content = bytes(first);
        EXPECT_LE(std::count(content.begin(), content.end(), 0), static_cast<std::ptrdiff_t>(content.size() / 64 + 10));
    } else if (second == "is" || second == "differs") {
        EXPECT_EQ(bytes(first) == bytes(line.words[2]), second == "is") << textOf(bytes(first));
    } else {
        throw std::runtime_error(line.where + ": not understood");
    }
}

void Player::play(const Passage& passage) {
    for (const ScriptLine& line : passage.lines) {
        SCOPED_TRACE(line.where);
        if (!line.isCall()) {
            doLine(line);
        } else if (refusal_.empty()) {
            expectSame(line, call(line));
        } else {
            const Fault fault(pointOf(refusal_[0]), numberOf(refusal_[1]));
            jni_.failsQuietly = refusal_.size() == 3; // "quietly"
            expectSame(line, call(line));
            EXPECT_TRUE(fault.hasStruck());
            refusal_.clear();
        }
    }
}

bool Player::playRefusing(const Passage& passage, const std::string& kind, unsigned number,
                          std::set<std::string>& outcomes) {
    jni_.failsQuietly = kind == "quiet call";
    auto fault = std::make_unique<Fault>(pointOf(jni_.failsQuietly ? "call" : kind), number);
    bool wasRefused = false;
    for (std::size_t i = 0; i < passage.lines.size(); ++i) {
        const ScriptLine& line = passage.lines[i];
        SCOPED_TRACE(line.where);
        if (!line.isCall()) {
            doLine(line);
            continue;
        }
        const Outcome outcome = call(line), expected = wanted(line);
        const bool strikesNow = fault != nullptr && fault->hasStruck();
        if (!strikesNow || (outcome.result == expected.result && outcome.raised == expected.raised)) {
            expectSame(line, outcome);
        } else {
            outcomes.insert(outcome.raised.empty() ? "= " + outcome.result : outcome.raised);
            // A digest or a signature that is right in spite of the exception is not asked for a second time.
            const char type = entryOf(line).shape[0];
            const bool isDelivered = outcome.result == expected.result && outcome.result.size() > 1 &&
                                     (type == 'A' || type == 'I') && expected.result != "null" && line.result[0] != '@';
            if (!isDelivered) {
                i = passage.options.contains("restarts") ? static_cast<std::size_t>(-1) : i - 1;
            }
        }
        if (strikesNow) {
            wasRefused = true;
            fault.reset();
        }
    }
    return wasRefused;
}

void Player::finish() {
    for (const auto& [name, object] : objects_) {
        if (const EntryPoint* const entry = findEntryPoint(name.substr(0, name.find('#')) + ".deleteContext0", 0)) {
            (void)entry->call(jni_.env(), object, {});
            jni_.takePending(); // of one without the field
            EXPECT_EQ(FakeJni::of(object).context0, 0) << name;
        }
    }
    EXPECT_EQ(jni_.violations, std::vector<std::string>());
    EXPECT_EQ(jni_.openRegions(), 0);
    EXPECT_EQ(jni_.localReferences, 0);
}

const EntryPoint* findEntryPoint(const std::string& name, std::size_t argumentCount) {
    static const std::vector<EntryPoint> kEntries = [] {
        std::vector<EntryPoint> entries = nativeEntryPoints();
        for (EntryPoint entry : exportedEntryPoints()) { // named by their symbols, Java_package_Class_method__types
            const std::string symbol = entry.name;
            const std::size_t type = symbol.find("_Zel") + 1, method = symbol.find('_', type) + 1;
            entry.name =
                symbol.substr(type, method - 1 - type) + "." + symbol.substr(method, symbol.find("__") - method);
            entries.push_back(entry);
        }
        return entries;
    }();
    const auto found = std::find_if(kEntries.begin(), kEntries.end(), [&](const EntryPoint& entry) {
        return entry.name == name && entry.shape.size() == argumentCount + 1;
    });
    return found == kEntries.end() ? nullptr : &*found;
}
