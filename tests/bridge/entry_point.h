// The entry points as scripts call them: by name, with arguments of Java's types.
#ifndef ZELSPI_TESTS_BRIDGE_ENTRY_POINT_H
#define ZELSPI_TESTS_BRIDGE_ENTRY_POINT_H

#include <jni.h>

#include <string>
#include <vector>

// JavaValue: an argument or a result: the number, or the array (null or not).
struct JavaValue {
    jlong number = 0;
    jbyteArray array = nullptr;
};

// EntryPoint: a function (environment, object, arguments). Its shape is a letter for the result and one for each
// argument: V nothing, Z boolean, B byte, I int, J long, A byte[].
struct EntryPoint {
    std::string name; // the Java class without its package, a dot, the method
    std::string shape;
    void (*function)();
};

// kExportedEntryPoints: those of entry_points.txt, as that says. nativeEntryPoints: what native callers of the engine
// classes can do besides, dressed up as methods (native_calls.cpp).
extern const EntryPoint kExportedEntryPoints[];
extern const std::size_t kExportedEntryPointCount;
const std::vector<EntryPoint>& nativeEntryPoints();

// findEntryPoint: the one of the name ("Class.method") with so many arguments; null if there is none.
const EntryPoint* findEntryPoint(const std::string& name, std::size_t argumentCount);

JavaValue invoke(const EntryPoint& entry, JNIEnv* env, jobject object, const std::vector<JavaValue>& arguments);

// nativeEntry: a function of those types as an entry point.
template <typename T> constexpr char kLetter = 'V';
template <> inline constexpr char kLetter<jboolean> = 'Z';
template <> inline constexpr char kLetter<jbyte> = 'B';
template <> inline constexpr char kLetter<jint> = 'I';
template <> inline constexpr char kLetter<jlong> = 'J';
template <> inline constexpr char kLetter<jbyteArray> = 'A';

template <typename Result, typename... Arguments>
EntryPoint nativeEntry(const std::string& name, Result (*function)(JNIEnv*, jobject, Arguments...)) {
    return {name, {kLetter<Result>, kLetter<Arguments>...}, reinterpret_cast<void (*)()>(function)};
}

#endif
