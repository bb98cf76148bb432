// Scripts: calls of the entry points as text, and what has to come of each. README.md says how they are written.
#ifndef ZELSPI_TESTS_BRIDGE_SCRIPT_H
#define ZELSPI_TESTS_BRIDGE_SCRIPT_H

#include "tests/bridge/fake_jni.h"
#include "tests/support/vectors.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

// EntryPoint: a function (environment, object or class, arguments), as scripts call it: with numbers, and with the addresses
// of arrays and other objects as numbers. Its shape is a letter for the result and one for each argument: 'V' for none, 'A'
// for an array or another object, 'N' for a number.
struct EntryPoint {
    std::string name; // the Java class without its package, a dot, the method
    std::string shape;
    std::function<jlong(JNIEnv*, jobject, const std::vector<jlong>&)> call;
};

template <typename T> constexpr char kLetter = std::is_void_v<T> ? 'V' : std::is_pointer_v<T> ? 'A' : 'N';

template <typename Result, typename Object, typename... Arguments>
EntryPoint entryPoint(const std::string& name, Result(JNICALL* function)(JNIEnv*, Object, Arguments...)) {
    const auto call = [function](JNIEnv* env, jobject object, const std::vector<jlong>& values) -> jlong {
        [[maybe_unused]] auto value = values.begin();
        const std::tuple arguments{env, static_cast<Object>(object), Arguments(*value++)...}; // in this order
        if constexpr (std::is_void_v<Result>) {
            std::apply(function, arguments);
            return 0;
        } else {
            return jlong(std::apply(function, arguments));
        }
    };
    return {name, {kLetter<Result>, kLetter<Arguments>...}, call};
}

// exportedEntryPoints: those of the bridge's table (made by the build). allEntryPoints: with them what native callers of the
// engine classes can do besides, dressed up as methods (native_calls.cpp).
std::vector<EntryPoint> exportedEntryPoints();
std::vector<EntryPoint> allEntryPoints();

// findEntryPoint: the one of the name ("Class.method") with so many arguments; null if there is none.
const EntryPoint* findEntryPoint(const std::string& name, std::size_t argumentCount);

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
    std::set<std::string> raises, mayRaise; // what refusals come to; those of it that are not always seen
};

// readScript: the script in the file scripts/NAME.txt, once for each of its lines "for". A mistake in it throws.
std::vector<Script> readScript(const std::string& name);

// Player: plays a passage in a Java environment of its own.
class Player {
public:
    explicit Player(bool pinsArrays = false) {
        jni_.criticalPins = pinsArrays;
    }

    // Plays the passage; every result must be as it says. With outcomes, that allocation, lock, mutex, "call" or "quiet call" is
    // refused: what the refusal comes to is added to them, and the passage goes on with the same line, or begins again on
    // the same objects if it "restarts". Returns whether anything was refused.
    bool play(const Passage& passage, std::set<std::string>* outcomes = nullptr, const std::string& kind = "",
              unsigned number = 0);

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
    void refuse(const std::string& kind, unsigned number, bool isQuiet);
    jobject objectOf(const std::string& name);
    Bytes bytes(const std::string& notation) const;
    jlong argument(char type, const std::string& word);

    FakeJni jni_;
    std::map<std::string, jobject> objects_; // by class, with "#other" for more of one class; arrays by "@name"
    std::unique_ptr<Fault> fault_;           // what is refused, until it has been
};

#endif
