#include "tests/bridge/fake_jni.h"

#include <algorithm>
#include <cstdarg>
#include <set>
#include <utility>

namespace {

constexpr char kOutOfMemory[] = "java/lang/OutOfMemoryError";

std::string describe(jobject throwable) {
    std::string text;
    while (throwable != nullptr) {
        const FakeObject& object = FakeJni::of(throwable);
        text += (text.empty() ? "" : " < ") + object.className + ": " + object.message;
        text += object.suppressed != nullptr ? " + " + describe(object.suppressed) : "";
        throwable = object.cause;
    }
    return text;
}

} // namespace

FaultPoint& vmFaults(std::string_view call) {
    static constexpr std::string_view kCalls[] = {
        "call", "FindClass",           "GetFieldID",   "GetMethodID", "GetPrimitiveArrayCritical", "hash", "oddHash",
        "read", "ThrowNewOutOfMemory", "NewByteArray", "ThrowNew"};
    static FaultPoint points[std::size(kCalls) + 1]; // the last one is for any other
    return points[std::find(std::begin(kCalls), std::end(kCalls), call) - kCalls];
}

void FakeJni::installObjects() {
    table_.FindClass = [](JNIEnv* env, const char* name) -> jclass {
        FakeJni& jni = self(env);
        if (jni.enter("FindClass", kNormally, "java/lang/NoClassDefFoundError", name)) {
            return nullptr;
        }
        ++jni.localReferences;
        return jni.newObject<jclass>(name);
    };
    table_.RegisterNatives = [](JNIEnv* env, jclass, const JNINativeMethod* methods, jint count) -> jint {
        std::for_each_n(methods, count, [&](const JNINativeMethod& row) { self(env).natives[row.name] = row.fnPtr; });
        return 0;
    };
    table_.GetObjectClass = [](JNIEnv* env, jobject object) -> jclass {
        FakeJni& jni = self(env);
        jni.enter("GetObjectClass");
        ++jni.localReferences;
        const auto type = jni.newObject<jclass>(of(object).className);
        of(type).hasContext0 = of(object).hasContext0;
        return type;
    };
    table_.IsInstanceOf = [](JNIEnv* env, jobject object, jclass type) -> jboolean {
        self(env).enter("IsInstanceOf");
        const std::string& wanted = of(type).className;
        const std::string& actual = of(object).className;
        return actual == wanted || (wanted == "java/lang/Error" && actual.ends_with("Error")) ? JNI_TRUE : JNI_FALSE;
    };
    table_.GetFieldID = [](JNIEnv* env, jclass type, const char* name, const char* signature) -> jfieldID {
        FakeJni& jni = self(env);
        if (jni.enter("GetFieldID") || !of(type).hasContext0 || std::string(name) != "context0" ||
            std::string(signature) != "J") {
            jni.raise("java/lang/NoSuchFieldError", name);
            return nullptr;
        }
        return reinterpret_cast<jfieldID>(&jni); // there is only the one field
    };
    table_.GetLongField = [](JNIEnv* env, jobject object, jfieldID) -> jlong {
        self(env).enter("GetLongField");
        return of(object).context0;
    };
    table_.SetLongField = [](JNIEnv* env, jobject object, jfieldID, jlong value) -> void {
        self(env).enter("SetLongField");
        of(object).context0 = value;
        of(object).liveWhenStored = testheap::liveBlocks();
    };
    table_.GetMethodID = [](JNIEnv* env, jclass, const char* name, const char*) -> jmethodID {
        FakeJni& jni = self(env);
        if (jni.enter("GetMethodID") || !std::set<std::string>{"initCause", "addSuppressed"}.contains(name)) {
            jni.raise("java/lang/NoSuchMethodError", name);
            return nullptr;
        }
        return reinterpret_cast<jmethodID>(&jni);
    };
    // Throwable.initCause is the only method that returns an object, Throwable.addSuppressed the only one without a result.
    table_.CallObjectMethodV = [](JNIEnv* env, jobject object, jmethodID, va_list arguments) -> jobject {
        self(env).enter("CallObjectMethod");
        of(object).cause = va_arg(arguments, jobject);
        ++self(env).localReferences;
        return object;
    };
    table_.CallVoidMethodV = [](JNIEnv* env, jobject object, jmethodID, va_list arguments) -> void {
        self(env).enter("CallVoidMethod");
        of(object).suppressed = va_arg(arguments, jobject);
    };
}

void FakeJni::installExceptions() {
    table_.Throw = [](JNIEnv* env, jthrowable throwable) -> jint {
        self(env).enter("Throw");
        self(env).pending_ = throwable;
        return 0;
    };
    table_.ThrowNew = [](JNIEnv* env, jclass type, const char* message) -> jint {
        FakeJni& jni = self(env);
        if (jni.enter("ThrowNew")) {
            return JNI_ERR;
        }
        if (vmFaults("ThrowNewOutOfMemory").strikes()) {
            jni.raise(kOutOfMemory, "Java heap space");
        } else {
            jni.raise(of(type).className.c_str(), message);
        }
        return 0;
    };
    table_.ExceptionOccurred = [](JNIEnv* env) -> jthrowable {
        self(env).enter("ExceptionOccurred", kWhilePending);
        self(env).localReferences += self(env).pending_ != nullptr ? 1 : 0;
        return self(env).pending_;
    };
    table_.ExceptionClear = [](JNIEnv* env) -> void {
        self(env).enter("ExceptionClear", kWhilePending);
        self(env).pending_ = nullptr;
    };
    table_.ExceptionCheck = [](JNIEnv* env) -> jboolean {
        self(env).enter("ExceptionCheck", kWhilePending);
        return self(env).pending_ != nullptr ? JNI_TRUE : JNI_FALSE;
    };
    table_.DeleteLocalRef = [](JNIEnv* env, jobject reference) -> void {
        self(env).enter("DeleteLocalRef", kWhilePending);
        self(env).localReferences -= reference != nullptr ? 1 : 0;
    };
}

void FakeJni::installArrays() {
    table_.GetArrayLength = [](JNIEnv* env, jarray array) -> jsize {
        self(env).enter("GetArrayLength");
        const FakeObject& object = of(array);
        return object.claimedLength >= 0 ? object.claimedLength : static_cast<jsize>(object.bytes.size());
    };
    table_.NewByteArray = [](JNIEnv* env, jsize length) -> jbyteArray {
        if (self(env).enter("NewByteArray", kNormally, kOutOfMemory, "Java heap space")) {
            return nullptr;
        }
        return self(env).newBytes(std::vector<std::uint8_t>(static_cast<std::size_t>(length)));
    };
    table_.SetByteArrayRegion = [](JNIEnv* env, jbyteArray array, jsize offset, jsize length,
                                   const jbyte* from) -> void {
        self(env).enter("SetByteArrayRegion");
        std::vector<jbyte>& bytes = of(array).bytes;
        if (offset < 0 || offset > static_cast<jsize>(bytes.size()) - length) {
            self(env).raise("java/lang/ArrayIndexOutOfBoundsException", "said by the VM");
        } else {
            std::copy_n(from, length, bytes.begin() + offset);
        }
    };
    table_.GetPrimitiveArrayCritical = [](JNIEnv* env, jarray array, jboolean*) -> void* {
        FakeJni& jni = self(env);
        if (jni.enter("GetPrimitiveArrayCritical", kInRegion, kOutOfMemory, "Java heap space")) {
            return nullptr;
        }
        std::vector<jbyte>& bytes = of(array).bytes;
        std::vector<jbyte> copy = jni.criticalPins ? std::vector<jbyte>() : bytes;
        void* const address = jni.criticalPins ? bytes.data() : copy.data();
        jni.regions_.emplace(address, std::pair{array, std::move(copy)});
        return address;
    };
    table_.ReleasePrimitiveArrayCritical = [](JNIEnv* env, jarray array, void* address, jint mode) -> void {
        FakeJni& jni = self(env);
        jni.enter("ReleasePrimitiveArrayCritical", kAlways);
        const auto region = jni.regions_.find(address);
        if (region == jni.regions_.end() || region->second.first != array || mode != 0) {
            jni.violations.emplace_back(
                "ReleasePrimitiveArrayCritical of a region that is not open, or not with mode 0");
            return;
        }
        if (address != of(array).bytes.data()) {
            of(array).bytes = std::move(region->second.second);
        }
        jni.regions_.erase(region);
    };
}

FakeJni::FakeJni() {
    installObjects();
    installExceptions();
    installArrays();
    functions = &table_;
}

jbyteArray FakeJni::newBytes(const std::vector<std::uint8_t>& bytes) {
    const auto array = newObject<jbyteArray>("[B");
    of(array).bytes.assign(bytes.begin(), bytes.end());
    return array;
}

std::string FakeJni::takePending() {
    return describe(std::exchange(pending_, nullptr));
}

bool FakeJni::enter(const char* function, Allowed allowed, const char* refusal, const char* message) {
    if (pending_ != nullptr && allowed != kWhilePending && allowed != kAlways) {
        violations.push_back(std::string(function) + " while an exception is pending");
    }
    if (!regions_.empty() && allowed != kInRegion && allowed != kAlways) {
        violations.push_back(std::string(function) + " inside a critical region");
    }
    static const std::set<std::string> kCounted = {"GetFieldID", "NewByteArray", "GetPrimitiveArrayCritical"};
    const bool isOne = vmFaults(function).strikes();
    const bool isRefused = (kCounted.contains(function) && !isExempt && vmFaults("call").strikes()) || isOne;
    if (isRefused && refusal != nullptr && !failsQuietly) {
        raise(refusal, message);
    }
    return isRefused;
}

void FakeJni::raise(const char* className, const std::string& message) {
    pending_ = newObject<jthrowable>(className);
    of(pending_).message = message;
}
