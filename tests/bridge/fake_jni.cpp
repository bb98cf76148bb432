#include "tests/bridge/fake_jni.h"

#include "tests/support/hex.h"

#include <cstdarg>
#include <set>

namespace {

FakeObject* fake(jobject object) {
    return reinterpret_cast<FakeObject*>(object);
}

template <typename Reference = jobject> Reference real(FakeObject* object) {
    return reinterpret_cast<Reference>(object);
}

std::string describe(const FakeObject* throwable) {
    std::string text;
    for (; throwable != nullptr; throwable = throwable->cause) {
        text += (text.empty() ? "" : " < ") + throwable->className + ": " + throwable->message;
        if (throwable->suppressed != nullptr) {
            text += " + " + describe(throwable->suppressed);
        }
    }
    return text;
}

} // namespace

FakeJni& FakeJni::self(JNIEnv* env) {
    return *static_cast<Env*>(env)->self;
}

void FakeJni::installObjects() {
    table_.FindClass = [](JNIEnv* env, const char* name) -> jclass {
        FakeJni& jni = self(env);
        jni.enter("FindClass");
        if (jni.classNotFound == name) {
            jni.raise("java/lang/NoClassDefFoundError", name);
            return nullptr;
        }
        ++jni.localReferences;
        return real<jclass>(jni.add(name));
    };
    table_.GetObjectClass = [](JNIEnv* env, jobject object) -> jclass {
        FakeJni& jni = self(env);
        jni.enter("GetObjectClass");
        ++jni.localReferences;
        return real<jclass>(jni.add(fake(object)->className));
    };
    table_.IsInstanceOf = [](JNIEnv* env, jobject object, jclass type) -> jboolean {
        self(env).enter("IsInstanceOf");
        const std::string& wanted = fake(type)->className;
        const std::string& actual = fake(object)->className;
        return actual == wanted || (wanted == "java/lang/Error" && actual.ends_with("Error")) ? JNI_TRUE : JNI_FALSE;
    };
    table_.GetFieldID = [](JNIEnv* env, jclass type, const char* name, const char* signature) -> jfieldID {
        FakeJni& jni = self(env);
        jni.enter("GetFieldID");
        const bool refused = jni.fieldLookupsUntilFailure == 0;
        if (jni.fieldLookupsUntilFailure > 0) {
            --jni.fieldLookupsUntilFailure;
        }
        if (refused || fake(type)->className == "NoFields" || std::string(name) != "context0" ||
            std::string(signature) != "J") {
            jni.raise("java/lang/NoSuchFieldError", name);
            return nullptr;
        }
        return reinterpret_cast<jfieldID>(&jni); // there is only the one field
    };
    table_.GetLongField = [](JNIEnv* env, jobject object, jfieldID) -> jlong {
        self(env).enter("GetLongField");
        return fake(object)->fields["context0"];
    };
    table_.SetLongField = [](JNIEnv* env, jobject object, jfieldID, jlong value) -> void {
        self(env).enter("SetLongField");
        if (self(env).onSetLongField) {
            self(env).onSetLongField();
        }
        fake(object)->fields["context0"] = value;
    };
    table_.GetMethodID = [](JNIEnv* env, jclass, const char* name, const char*) -> jmethodID {
        self(env).enter("GetMethodID");
        return std::set<std::string>{"initCause", "addSuppressed"}.contains(name)
                   ? reinterpret_cast<jmethodID>(&self(env))
                   : nullptr;
    };
    // Throwable.initCause is the only method that returns an object, Throwable.addSuppressed the only one without a result.
    table_.CallObjectMethodV = [](JNIEnv* env, jobject object, jmethodID, va_list arguments) -> jobject {
        self(env).enter("CallObjectMethod");
        fake(object)->cause = fake(va_arg(arguments, jobject));
        ++self(env).localReferences;
        return object;
    };
    table_.CallVoidMethodV = [](JNIEnv* env, jobject object, jmethodID, va_list arguments) -> void {
        self(env).enter("CallVoidMethod");
        fake(object)->suppressed = fake(va_arg(arguments, jobject));
    };
}

void FakeJni::installExceptions() {
    table_.Throw = [](JNIEnv* env, jthrowable throwable) -> jint {
        FakeJni& jni = self(env);
        jni.enter("Throw");
        jni.pending_ = fake(throwable);
        return 0;
    };
    table_.ThrowNew = [](JNIEnv* env, jclass type, const char* message) -> jint {
        FakeJni& jni = self(env);
        jni.enter("ThrowNew");
        if (jni.throwNewFails) {
            return JNI_ERR;
        }
        if (jni.throwNewRunsOut) {
            jni.raise("java/lang/OutOfMemoryError", "Java heap space");
        } else {
            jni.raise(fake(type)->className.c_str(), message);
        }
        return 0;
    };
    table_.ExceptionOccurred = [](JNIEnv* env) -> jthrowable {
        self(env).enter("ExceptionOccurred", true);
        self(env).localReferences += self(env).pending_ != nullptr ? 1 : 0;
        return real<jthrowable>(self(env).pending_);
    };
    table_.ExceptionClear = [](JNIEnv* env) -> void {
        self(env).enter("ExceptionClear", true);
        self(env).pending_ = nullptr;
    };
    table_.ExceptionCheck = [](JNIEnv* env) -> jboolean {
        self(env).enter("ExceptionCheck", true);
        return self(env).pending_ != nullptr ? JNI_TRUE : JNI_FALSE;
    };
    table_.DeleteLocalRef = [](JNIEnv* env, jobject reference) -> void {
        self(env).enter("DeleteLocalRef", true);
        self(env).localReferences -= reference != nullptr ? 1 : 0;
    };
}

void FakeJni::installArrays() {
    table_.GetArrayLength = [](JNIEnv* env, jarray array) -> jsize {
        self(env).enter("GetArrayLength");
        const FakeObject* const object = fake(array);
        return object->claimedLength >= 0 ? object->claimedLength : static_cast<jsize>(object->bytes.size());
    };
    table_.NewByteArray = [](JNIEnv* env, jsize length) -> jbyteArray {
        FakeJni& jni = self(env);
        jni.enter("NewByteArray");
        if (length < 0) {
            jni.raise("java/lang/NegativeArraySizeException", std::to_string(length).c_str());
            return nullptr;
        }
        if (jni.newByteArrayFails) {
            jni.raise("java/lang/OutOfMemoryError", "Java heap space");
            return nullptr;
        }
        return jni.newByteArrayGivesNull ? nullptr : jni.newBytes(std::vector<jbyte>(static_cast<std::size_t>(length)));
    };
    table_.GetPrimitiveArrayCritical = [](JNIEnv* env, jarray array, jboolean*) -> void* {
        FakeJni& jni = self(env);
        jni.enter("GetPrimitiveArrayCritical", false, true);
        if (jni.criticalFails) {
            return nullptr;
        }
        std::vector<jbyte>& bytes = fake(array)->bytes;
        std::vector<jbyte> copy = jni.criticalPins ? std::vector<jbyte>() : bytes;
        void* const address = jni.criticalPins ? bytes.data() : copy.data();
        jni.regions_.emplace(address, std::pair{fake(array), std::move(copy)});
        return address;
    };
    table_.ReleasePrimitiveArrayCritical = [](JNIEnv* env, jarray array, void* address, jint mode) -> void {
        FakeJni& jni = self(env);
        jni.enter("ReleasePrimitiveArrayCritical", true, true);
        const auto region = jni.regions_.find(address);
        if (region == jni.regions_.end() || region->second.first != fake(array) || mode != 0) {
            jni.violations.push_back("ReleasePrimitiveArrayCritical of a region that is not open, or not with mode 0");
            return;
        }
        if (address != fake(array)->bytes.data()) {
            fake(array)->bytes = std::move(region->second.second);
        }
        jni.regions_.erase(region);
    };
}

FakeJni::FakeJni() {
    installObjects();
    installExceptions();
    installArrays();
    env_.functions = &table_;
    env_.self = this;
}

FakeJni::~FakeJni() = default;

jobject FakeJni::newEngineObject(bool hasContext0) {
    return real(add(hasContext0 ? "Engine" : "NoFields"));
}

jbyteArray FakeJni::newBytes(std::vector<jbyte> bytes) {
    FakeObject* const array = add("[B");
    array->bytes = std::move(bytes);
    return real<jbyteArray>(array);
}

jbyteArray FakeJni::newHex(const std::string& hex) {
    const std::vector<std::uint8_t> bytes = fromHex(hex);
    return newBytes({bytes.begin(), bytes.end()});
}

std::string FakeJni::hexOf(jbyteArray bytes) {
    const std::vector<jbyte>& content = of(bytes).bytes;
    return toHex({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
}

FakeObject& FakeJni::of(jobject object) {
    return *fake(object);
}

jlong FakeJni::context0(jobject object) {
    return fake(object)->fields["context0"];
}

std::string FakeJni::pending() const {
    return describe(pending_);
}

std::string FakeJni::takePending() {
    const std::string text = pending();
    pending_ = nullptr;
    return text;
}

FakeObject* FakeJni::add(std::string className) {
    objects_.push_back(std::make_unique<FakeObject>());
    objects_.back()->className = std::move(className);
    return objects_.back().get();
}

void FakeJni::enter(const char* function, bool allowedWhilePending, bool allowedInRegion) {
    if (pending_ != nullptr && !allowedWhilePending) {
        violations.push_back(std::string(function) + " while an exception is pending");
    }
    if (!regions_.empty() && !allowedInRegion) {
        violations.push_back(std::string(function) + " inside a critical region");
    }
}

void FakeJni::raise(const char* className, const char* message) {
    pending_ = add(className);
    pending_->message = message;
}
