// Scripts: calls of the entry points as text, and what has to come of each. README.md says how they are written.
//
// A Player plays one passage of a script in a Java environment of its own. refuseEach plays it again with each call of a
// kind refused in turn: what it is short of must become a listed exception or no harm, and then the same objects serve again.
#ifndef ZELSPI_TESTS_BRIDGE_SCRIPT_H
#define ZELSPI_TESTS_BRIDGE_SCRIPT_H

#include "tests/bridge/entry_point.h"
#include "tests/bridge/fake_jni.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

struct ScriptLine {
    std::string where;              // file and line, and the line
    std::vector<std::string> words; // what is to be done
    std::string result, raised;     // behind '=' and '!'; empty: none
    std::string printed;            // of the lines '>' below it
};

struct Passage {
    std::string name;
    std::set<std::string> options;
    std::vector<ScriptLine> lines;

    bool has(const std::string& option) const {
        return options.contains(option);
    }
};

struct Script {
    std::string name;
    std::map<std::string, std::string> values; // "name = value"
    std::vector<Passage> passages;
    std::set<std::string> mayRaise, mustRaise; // what refusals come to
};

// readScript: the script in the file, once for each of its lines "for". A mistake in it ends the program.
std::vector<Script> readScript(const std::string& file);

class Player {
public:
    explicit Player(bool pinsArrays = false) {
        jni_.criticalPins = pinsArrays;
    }

    // Plays the passage; every result must be as it says.
    void play(const Passage& passage);

    // Plays it with the number-th allocation, lock, mutex, "call" or "quiet call" refused. What the refusal comes to is
    // added to outcomes; the passage then goes on with the same line, or begins again on the same objects if it has the
    // option "restarts". Returns whether anything was refused.
    bool playRefusing(const Passage& passage, const std::string& kind, unsigned number,
                      std::set<std::string>& outcomes);

    // Destroys all engines that have an entry point for it, and expects that JNI's rules were kept and nothing is left.
    void finish();

private:
    struct Outcome {
        std::string result, raised, printed;
    };
    void doLine(const ScriptLine& line);
    bool isDone(const ScriptLine& line, const Outcome& outcome); // although something was refused
    Outcome call(const ScriptLine& line);
    Outcome wanted(const ScriptLine& line) const;
    void expectThat(const ScriptLine& line);
    const EntryPoint& entryOf(const ScriptLine& line) const;
    jobject objectOf(const std::string& name);
    std::vector<std::uint8_t> bytes(const std::string& notation) const;
    JavaValue argument(char type, const std::string& word);

    FakeJni jni_;
    std::map<std::string, jobject> objects_; // by class, with "#other" for more of one class
    std::map<std::string, jbyteArray> arrays_;
    std::vector<std::string> refusal_; // for the next call
};

#endif
