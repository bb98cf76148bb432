// Scripts: calls of the entry points as text, and what has to come of each. README.md says how they are written.
#ifndef ZELSPI_TESTS_BRIDGE_SCRIPT_H
#define ZELSPI_TESTS_BRIDGE_SCRIPT_H

#include "tests/bridge/entry_point.h"
#include "tests/bridge/fake_jni.h"
#include "tests/support/vectors.h"

#include <map>
#include <set>
#include <string>

struct ScriptLine {
    std::string where;          // file, line and text
    Words words;                // what is to be done
    std::string result, raised; // behind '=' and '!'; empty: none
    std::string printed;        // of the lines '>' below it

    bool isCall() const {
        return words[0].find('.') != std::string::npos && words[0][0] != '@';
    }
};

struct Passage {
    std::string name;
    std::set<std::string> options;
    std::vector<ScriptLine> lines;
};

struct Script {
    std::map<std::string, std::string> values; // "name = value"
    std::vector<Passage> passages;
    std::set<std::string> mayRaise, mustRaise; // what refusals come to
};

// readScript: the script in the file, once for each of its lines "for". A mistake in it throws.
std::vector<Script> readScript(const std::string& file);

// Player: plays a passage in a Java environment of its own.
class Player {
public:
    explicit Player(bool pinsArrays = false) {
        jni_.criticalPins = pinsArrays;
    }

    // Plays the passage; every result must be as it says.
    void play(const Passage& passage);

    // Plays it with that allocation, lock, mutex, "call" or "quiet call" refused. What the refusal comes to is added to
    // outcomes; the passage then goes on with the same line, or begins again on the same objects if it "restarts".
    // Returns whether anything was refused.
    bool playRefusing(const Passage& passage, const std::string& kind, unsigned number,
                      std::set<std::string>& outcomes);

    // Destroys all engines that have an entry point for it, and expects that JNI's rules were kept and nothing is left.
    void finish();

private:
    struct Outcome {
        std::string result, raised, printed;
    };
    Outcome call(const ScriptLine& line);
    Outcome wanted(const ScriptLine& line) const;
    void expectSame(const ScriptLine& line, const Outcome& outcome) const;
    void doLine(const ScriptLine& line);
    jobject objectOf(const std::string& name);
    Bytes bytes(const std::string& notation) const;
    JavaValue argument(char type, const std::string& word);

    FakeJni jni_;
    std::map<std::string, jobject> objects_; // by class, with "#other" for more of one class
    std::map<std::string, jbyteArray> arrays_;
    Words refusal_; // for the next call
};

// What scripts need besides entry points (native_calls.cpp).

// makeFile: "file": makes one of that name, with the content; "folder": a folder; "readonly", "writable": of a file that is
// there.
void makeFile(const std::string& kind, const Bytes& name, const Bytes& content);

// isDebugging: whether this run is to see debug output. The variable ZEL_DEBUG_EXPECTED says so.
bool isDebugging();

#endif
