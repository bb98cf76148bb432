// FakeJni: a small Java environment for native tests. A JNI function table over objects of its own, which keeps JNI's
// rules as the VM's own checker does, and can make the calls fail that a real VM hardly ever fails.
//
// Rules kept: no call but opening and closing regions while a critical region is open; no call but the few that JNI
// allows while an exception is pending. A broken rule is recorded in `violations`. Critical regions are copies, so that
// a region closed in the wrong order shows, or on demand the array itself, as in most VMs.
#ifndef ZELSPI_TESTS_BRIDGE_FAKE_JNI_H
#define ZELSPI_TESTS_BRIDGE_FAKE_JNI_H

#include "tests/support/faults.h"

#include <jni.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// One object of the environment: an instance of a Java class, a class itself, a throwable or a byte array.
struct FakeObject {
    std::string className;            // of a class object: the class that it stands for
    jlong context0 = 0;               // of an instance
    bool hasContext0 = true;          // whether its class has the field
    std::uint64_t liveWhenStored = 0; // the blocks alive when the field was last written
    std::string message;              // of a throwable
    jobject cause = nullptr;          // of a throwable
    jobject suppressed = nullptr;     // of a throwable: the last one
    std::vector<jbyte> bytes;         // of a byte array
    jsize claimedLength = -1;         // of a byte array: what GetArrayLength says instead of the truth; -1: the truth
};

// vmFaults: where calls of the VM can be made to fail: by the name of the JNI function; "call" stands for any that looks up a
// field, makes an array or opens a region, "ThrowNewOutOfMemory" for one that leaves another exception. Also, inside the file
// check: a "read" that gives nothing, a "hash" that fails, and an "oddHash" whose status has no name.
FaultPoint& vmFaults(std::string_view call);

class FakeJni : JNIEnv_ {
public:
    FakeJni();
    FakeJni(const FakeJni&) = delete;
    FakeJni& operator=(const FakeJni&) = delete;

    JNIEnv* env() {
        return this;
    }

    // Objects; the environment owns them.
    template <typename Reference = jobject> Reference newObject(std::string className) {
        objects_.push_back(std::make_unique<FakeObject>());
        objects_.back()->className = std::move(className);
        return reinterpret_cast<Reference>(objects_.back().get());
    }
    jbyteArray newBytes(const std::vector<std::uint8_t>& bytes);
    static FakeObject& of(jobject object) {
        return *reinterpret_cast<FakeObject*>(object);
    }

    // What is pending, and is not any more: "class: message", with " < class: message" for each cause and " + " for what is
    // suppressed; else empty.
    std::string takePending();

    bool isExempt = false;     // no "call" is refused or counted
    bool failsQuietly = false; // a refused call leaves no exception
    bool criticalPins = false; // GetPrimitiveArrayCritical returns the array itself, not a copy

    std::map<std::string, void*> natives; // what has been registered
    std::vector<std::string> violations;
    int localReferences = 0; // made and not yet deleted, arrays left out: those go back to Java
    int openRegions() const {
        return static_cast<int>(regions_.size());
    }

private:
    enum Allowed { kNormally, kWhilePending, kInRegion, kAlways };

    static FakeJni& self(JNIEnv* env) {
        return *static_cast<FakeJni*>(env);
    }
    void installObjects(); // the entries of the function table
    void installExceptions();
    void installArrays();
    // Every function begins with this: holds it against the rules; whether it is refused, with that exception unless quietly.
    bool enter(const char* function, Allowed allowed = kNormally, const char* refusal = nullptr,
               const char* message = "");
    void raise(const char* className, const std::string& message);

    JNINativeInterface_ table_{};
    std::vector<std::unique_ptr<FakeObject>> objects_;
    std::multimap<void*, std::pair<jarray, std::vector<jbyte>>> regions_; // open regions by address, with copies
    jthrowable pending_ = nullptr;
};

#endif
