#include "tests/bridge/entry_point.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace {

using Call = JavaValue (*)(void (*)(), JNIEnv*, jobject, const std::vector<JavaValue>&);

template <typename T> T as(const JavaValue& value) {
    if constexpr (std::is_same_v<T, jbyteArray>) {
        return value.array;
    } else {
        return static_cast<T>(value.number);
    }
}

template <typename Result, typename... Arguments, std::size_t... i>
JavaValue callWith(void (*function)(), JNIEnv* env, jobject object, const std::vector<JavaValue>& arguments,
                   std::index_sequence<i...>) {
    const auto typed = reinterpret_cast<Result(JNICALL*)(JNIEnv*, jobject, Arguments...)>(function);
    if constexpr (std::is_void_v<Result>) {
        typed(env, object, as<Arguments>(arguments[i])...);
        return {};
    } else if constexpr (std::is_same_v<Result, jbyteArray>) {
        return {0, typed(env, object, as<Arguments>(arguments[i])...)};
    } else {
        return {static_cast<jlong>(typed(env, object, as<Arguments>(arguments[i])...)), nullptr};
    }
}

template <typename Result, typename... Arguments> std::pair<std::string, Call> shape() {
    return {{kLetter<Result>, kLetter<Arguments>...},
            [](void (*function)(), JNIEnv* env, jobject object, const std::vector<JavaValue>& arguments) {
                return callWith<Result, Arguments...>(function, env, object, arguments,
                                                      std::index_sequence_for<Arguments...>());
            }};
}

const std::pair<std::string, Call> kShapes[] = {
    shape<void>(),
    shape<void, jbyte>(),
    shape<void, jbyteArray>(),
    shape<void, jbyteArray, jint, jint>(),
    shape<void, jint, jbyteArray, jbyteArray>(),
    shape<void, jbyteArray, jbyteArray, jint>(),
    shape<void, jbyteArray, jbyteArray, jbyteArray, jint>(),
    shape<jint>(),
    shape<jint, jbyteArray>(),
    shape<jint, jbyteArray, jint>(),
    shape<jint, jbyteArray, jbyteArray>(),
    shape<jint, jbyteArray, jint, jint>(),
    shape<jint, jbyteArray, jint, jint, jbyteArray, jint>(),
    shape<jint, jbyteArray, jint, jbyteArray, jint>(),
    shape<jlong>(),
    shape<jboolean>(),
    shape<jboolean, jbyteArray>(),
    shape<jboolean, jbyteArray, jint, jint>(),
    shape<jbyteArray>(),
    shape<jbyteArray, jint>(),
    shape<jbyteArray, jint, jint>(),
    shape<jbyteArray, jbyteArray, jint, jint>(),
    shape<jbyteArray, jint, jbyteArray, jbyteArray, jbyteArray>(),
};

// "Class.method" of a symbol Java_package_Class_method__types.
std::string plainName(const std::string& symbol) {
    const std::size_t type = symbol.find("_Zel") + 1, method = symbol.find('_', type) + 1;
    return symbol.substr(type, method - 1 - type) + "." + symbol.substr(method, symbol.find("__") - method);
}

} // namespace

const EntryPoint* findEntryPoint(const std::string& name, std::size_t argumentCount) {
    static const std::vector<EntryPoint> kEntries = [] {
        std::vector<EntryPoint> entries = nativeEntryPoints();
        for (std::size_t i = 0; i < kExportedEntryPointCount; ++i) {
            entries.push_back(kExportedEntryPoints[i]);
            entries.back().name = plainName(entries.back().name);
        }
        return entries;
    }();
    const auto found = std::find_if(kEntries.begin(), kEntries.end(), [&](const EntryPoint& entry) {
        return entry.name == name && entry.shape.size() == argumentCount + 1;
    });
    return found == kEntries.end() ? nullptr : &*found;
}

JavaValue invoke(const EntryPoint& entry, JNIEnv* env, jobject object, const std::vector<JavaValue>& arguments) {
    for (const auto& [shape, call] : kShapes) {
        if (shape == entry.shape) {
            return call(entry.function, env, object, arguments);
        }
    }
    throw std::logic_error("no call of the shape " + entry.shape);
}
