// FakeJni: a small Java environment for native tests. A JNI function table over objects of its own, which keeps JNI's
// rules as the VM's own checker does, and can make the calls fail that a real VM hardly ever fails.
//
// Rules kept: no call but opening and closing regions while a critical region is open; no call but the few that JNI
// allows while an exception is pending. A broken rule is recorded in `violations`. Critical regions are copies, so that
// a region closed in the wrong order shows, or on demand the array itself, as in most VMs.
#ifndef ZELSPI_TESTS_BRIDGE_FAKE_JNI_H
#define ZELSPI_TESTS_BRIDGE_FAKE_JNI_H

#include <jni.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

// One object of the environment: an instance of a Java class, a class itself, a throwable or a byte array.
struct FakeObject {
    std::string className;               // of a class object: the class that it stands for
    std::map<std::string, jlong> fields; // long fields
    std::string message;                 // of a throwable
    FakeObject* cause = nullptr;         // of a throwable
    FakeObject* suppressed = nullptr;    // of a throwable: the last one
    std::vector<jbyte> bytes;            // of a byte array
    jsize claimedLength = -1; // of a byte array: what GetArrayLength says instead of the truth; -1: the truth
};

class FakeJni {
public:
    FakeJni();
    ~FakeJni();
    FakeJni(const FakeJni&) = delete;
    FakeJni& operator=(const FakeJni&) = delete;

    JNIEnv* env() {
        return &env_;
    }

    // Objects; the environment owns them.
    jobject newEngineObject(bool hasContext0 = true);
    jbyteArray newBytes(std::vector<jbyte> bytes);
    jbyteArray newHex(const std::string& hex);
    static std::string hexOf(jbyteArray bytes);
    static FakeObject& of(jobject object);
    static jlong context0(jobject object);

    // What is pending: "class: message", with " < class: message" for each cause and " + " for what is
    // suppressed; empty when nothing is.
    std::string pending() const;
    // The same, and nothing is pending any more.
    std::string takePending();

    // Switches.
    std::string classNotFound;            // FindClass fails for this class
    bool throwNewFails = false;           // ThrowNew reports failure and leaves nothing pending
    bool throwNewRunsOut = false;         // ThrowNew leaves an OutOfMemoryError and reports success
    bool newByteArrayFails = false;       // NewByteArray leaves an OutOfMemoryError
    bool newByteArrayGivesNull = false;   // ... returns null and leaves nothing pending
    bool criticalFails = false;           // GetPrimitiveArrayCritical returns null
    bool criticalPins = false;            // GetPrimitiveArrayCritical returns the array itself, not a copy
    std::function<void()> onSetLongField; // runs in front of every SetLongField
    int fieldLookupsUntilFailure = -1;    // GetFieldID fails after this many more lookups; -1: never

    std::vector<std::string> violations;
    int localReferences = 0; // made and not yet deleted, arrays left out: those go back to Java
    int openRegions() const {
        return static_cast<int>(regions_.size());
    }

private:
    struct Env : JNIEnv_ {
        FakeJni* self;
    };

    static FakeJni& self(JNIEnv* env);
    void installObjects(); // the entries of the function table
    void installExceptions();
    void installArrays();
    FakeObject* add(std::string className);
    void enter(const char* function, bool allowedWhilePending = false, bool allowedInRegion = false);
    void raise(const char* className, const char* message);

    JNINativeInterface_ table_{};
    Env env_{};
    std::vector<std::unique_ptr<FakeObject>> objects_;
    std::multimap<void*, std::pair<FakeObject*, std::vector<jbyte>>> regions_; // open regions by address, with copies
    FakeObject* pending_ = nullptr;
};

#endif
