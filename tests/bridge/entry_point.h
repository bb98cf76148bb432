// The entry points as scripts call them: by name, with arguments of Java's types.
#ifndef ZELSPI_TESTS_BRIDGE_ENTRY_POINT_H
#define ZELSPI_TESTS_BRIDGE_ENTRY_POINT_H

#include <jni.h>

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

// JavaValue: an argument or a result: the number, or the array (null or not).
struct JavaValue {
    jlong number = 0;
    jbyteArray array = nullptr;

    template <typename T> T as() const {
        if constexpr (std::is_convertible_v<jbyteArray, T>) {
            return array;
        } else {
            return static_cast<T>(number);
        }
    }
};

// EntryPoint: a function (environment, object or class, arguments). Its shape is a letter for the result and one for each
// argument.
struct EntryPoint {
    std::string name; // the Java class without its package, a dot, the method
    std::string shape;
    std::function<JavaValue(JNIEnv*, jobject, const std::vector<JavaValue>&)> call;
};

template <typename T> constexpr char kLetter = 'V';
template <> inline constexpr char kLetter<jboolean> = 'Z';
template <> inline constexpr char kLetter<jbyte> = 'B';
template <> inline constexpr char kLetter<jint> = 'I';
template <> inline constexpr char kLetter<jlong> = 'J';
template <> inline constexpr char kLetter<jbyteArray> = 'A';
template <> inline constexpr char kLetter<jobject> = 'A';

template <typename Result, typename Object, typename... Arguments>
EntryPoint entryPoint(const std::string& name, Result(JNICALL* function)(JNIEnv*, Object, Arguments...)) {
    const auto call = [function](JNIEnv* env, jobject object, const std::vector<JavaValue>& values) -> JavaValue {
        [[maybe_unused]] auto value = values.begin();
        const std::tuple<Arguments...> arguments{(value++)->template as<Arguments>()...}; // in this order
        const auto run = [&](Arguments... argument) {
            return function(env, static_cast<Object>(object), argument...);
        };
        if constexpr (std::is_void_v<Result>) {
            std::apply(run, arguments);
            return {};
        } else if constexpr (std::is_same_v<Result, jbyteArray>) {
            return {0, std::apply(run, arguments)};
        } else {
            return {static_cast<jlong>(std::apply(run, arguments)), nullptr};
        }
    };
    return {name, {kLetter<Result>, kLetter<Arguments>...}, call};
}

// exportedEntryPoints: those of the bridge's table, by their symbols (made by the build). nativeEntryPoints: what native
// callers of the engine classes can do besides, dressed up as methods (native_calls.cpp).
std::vector<EntryPoint> exportedEntryPoints();
std::vector<EntryPoint> nativeEntryPoints();

// findEntryPoint: the one of the name ("Class.method") with so many arguments; null if there is none.
const EntryPoint* findEntryPoint(const std::string& name, std::size_t argumentCount);

#endif
