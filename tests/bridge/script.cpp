#include "tests/bridge/script.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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

// What a line "file", "folder", "readonly" or "writable" makes.
void makeFile(const std::string& kind, const Bytes& name, const Bytes& content) {
    using namespace std::filesystem;
    const std::string path(name.begin(), name.end());
    if (kind == "folder") {
        create_directory(path);
    } else if (kind == "readonly" || kind == "writable") {
        permissions(path, kind == "readonly" ? perms::owner_read : perms::owner_all);
    } else {
        remove(path);
        EXPECT_TRUE(std::ofstream(path, std::ios::binary) << std::string(content.begin(), content.end()) << std::flush)
            << path;
    }
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
            return bytesIn(FakeJni::of(objects_.at(name)));
        }
        Bytes file(numberOf(name.substr(1)));
        for (std::size_t i = 0; i < file.size(); ++i) {
            file[i] = static_cast<std::uint8_t>(7 * i + i / 256);
        }
        return file;
    });
}

jlong Player::argument(char type, const std::string& word) {
    if (type == 'N') {
        return std::stoll(word);
    }
    const bool isName = word[0] == '@' && word.find_first_of("[+") == std::string::npos;
    return word == "null" ? 0
                          : jlong(word[0] == 'Z' ? objectOf(word)
                                  : isName       ? objects_.at(word)
                                                 : jni_.newBytes(bytes(word)));
}

// An object of its own for each name; that of "Class#bare" has no field for an engine.
jobject Player::objectOf(const std::string& name) {
    jobject& object = objects_[name];
    if (object == nullptr) {
        object = jni_.newObject("Engine");
        FakeJni::of(object).hasContext0 = !name.ends_with("#bare");
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
    std::vector<jlong> arguments;
    for (std::size_t i = 1; i < line.words.size(); ++i) {
        arguments.push_back(argument(entry.shape[i], line.words[i]));
    }
    Outcome outcome;
    jni_.isExempt = name.ends_with(".deleteContext0");
    const bool isPrinter = name.starts_with("ZelObject.") || name.starts_with("ZelUtil.");
    if (isPrinter) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    const jlong value = entry.call(jni_.env(), object, arguments);
    if (isPrinter) {
        outcome.printed = testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
        std::erase(outcome.printed, '\r'); // text mode on Windows
    }
    outcome.raised = jni_.takePending();
    const bool binds = line.result[0] == '@' && value != 0;
    if (binds) {
        objects_[line.result] = jobject(value);
    }
    if (entry.shape[0] == 'A') {
        outcome.result = value == 0 ? "null" : binds ? "array" : textOf(bytesIn(FakeJni::of(jobject(value))));
    } else if (entry.shape[0] == 'N') {
        outcome.result = line.result == "some" && value != 0 ? "some" : std::to_string(value);
    }
    return outcome;
}

void Player::expectSame(const ScriptLine& line, const Outcome& outcome) const {
    const Outcome expected = wanted(line);
    EXPECT_EQ(outcome.result, expected.result);
    EXPECT_TRUE(outcome.raised == expected.raised || expected.raised == "*") << outcome.raised;
    // Debug output counts where a line says so, if this run is to see it, and is nowhere else.
    static const bool kIsDebugging = std::getenv("ZEL_DEBUG_EXPECTED") != nullptr;
    const bool isDebugOutput = line.words[0].starts_with("ZelUtil.");
    if (!isDebugOutput || !kIsDebugging || !expected.printed.empty()) {
        EXPECT_EQ(outcome.printed, isDebugOutput && !kIsDebugging ? "" : expected.printed);
    }
}

void Player::refuse(const std::string& kind, unsigned number, bool isQuiet) {
    fault_.reset(); // the one before may be of the same point
    fault_ = std::make_unique<Fault>(pointOf(kind), number);
    jni_.failsQuietly = isQuiet;
}

void Player::doLine(const ScriptLine& line) {
    const std::string &first = line.words[0], second = line.words.size() > 1 ? line.words[1] : "";
    if (first == "refuse") {
        refuse(second, numberOf(line.words[2]), line.words.size() == 4); // "quietly"
    } else if (first == "file" || first == "folder" || first == "readonly" || first == "writable") {
        makeFile(first, bytes(second), bytes(line.result));
    } else if (first[0] == '@' && second.empty()) {
        objects_[first] = jni_.newBytes(bytes(line.result));
    } else if (second == "claims") {
        FakeJni::of(objects_.at(first)).claimedLength = std::stoi(line.words[2]);
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

bool Player::play(const Passage& passage, std::set<std::string>* outcomes, const std::string& kind, unsigned number) {
    if (outcomes != nullptr) {
        refuse(kind == "quiet call" ? "call" : kind, number, kind == "quiet call");
    }
    bool wasRefused = false;
    for (std::size_t i = 0; i < passage.lines.size(); ++i) {
        const ScriptLine& line = passage.lines[i];
        SCOPED_TRACE(line.where);
        if (!line.isCall()) {
            doLine(line);
            continue;
        }
        const Outcome outcome = call(line), expected = wanted(line);
        const bool strikesNow = fault_ != nullptr && fault_->hasStruck();
        EXPECT_TRUE(strikesNow || fault_ == nullptr || outcomes != nullptr)
            << "what the line before refuses is not used";
        if (outcomes == nullptr || !strikesNow ||
            (outcome.result == expected.result && outcome.raised == expected.raised)) {
            expectSame(line, outcome);
        } else {
            outcomes->insert(outcome.raised.empty() ? "= " + outcome.result : outcome.raised);
            // A digest or a signature that is right in spite of the exception is not asked for a second time.
            const bool isDelivered = outcome.result == expected.result && outcome.result.size() > 1 &&
                                     expected.result != "null" && line.result[0] != '@';
            if (!isDelivered) {
                i = passage.options.contains("restarts") ? static_cast<std::size_t>(-1) : i - 1;
            }
        }
        if (strikesNow) {
            wasRefused = true;
            fault_.reset();
        }
    }
    fault_.reset();
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
    static const std::vector<EntryPoint> kEntries = allEntryPoints();
    const auto found = std::find_if(kEntries.begin(), kEntries.end(), [&](const EntryPoint& entry) {
        return entry.name == name && entry.shape.size() == argumentCount + 1;
    });
    return found == kEntries.end() ? nullptr : &*found;
}
