#include "tests/bridge/fake_jni.h"

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
    }
    return text;
}

bool isErrorClass(const std::string& className) {
    return className.size() > 5 && className.compare(className.size() - 5, 5, "Error") == 0;
}

} // namespace

struct FakeJni::Functions {
    static FakeJni& self(JNIEnv* env) {
        return *static_cast<Env*>(env)->self;
    }

    static jclass JNICALL findClass(JNIEnv* env, const char* name) {
        FakeJni& jni = self(env);
        jni.enter("FindClass");
        if (jni.classNotFound == name) {
            jni.raise("java/lang/NoClassDefFoundError", name);
            return nullptr;
        }
        ++jni.localReferences;
        return real<jclass>(jni.add(name));
    }

    static jclass JNICALL getObjectClass(JNIEnv* env, jobject object) {
        FakeJni& jni = self(env);
        jni.enter("GetObjectClass");
        ++jni.localReferences;
        return real<jclass>(jni.add(fake(object)->className));
    }

    static jboolean JNICALL isInstanceOf(JNIEnv* env, jobject object, jclass type) {
        self(env).enter("IsInstanceOf");
        const std::string& wanted = fake(type)->className;
        const std::string& actual = fake(object)->className;
        return actual == wanted || (wanted == "java/lang/Error" && isErrorClass(actual)) ? JNI_TRUE : JNI_FALSE;
    }

    static jfieldID JNICALL getFieldId(JNIEnv* env, jclass type, const char* name, const char* signature) {
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
    }

    static jlong JNICALL getLongField(JNIEnv* env, jobject object, jfieldID) {
        self(env).enter("GetLongField");
        return fake(object)->fields["context0"];
    }

    static void JNICALL setLongField(JNIEnv* env, jobject object, jfieldID, jlong value) {
        self(env).enter("SetLongField");
        if (self(env).onSetLongField) {
            self(env).onSetLongField();
        }
        fake(object)->fields["context0"] = value;
    }

    static jmethodID JNICALL getMethodId(JNIEnv* env, jclass, const char* name, const char*) {
        self(env).enter("GetMethodID");
        return std::string(name) == "initCause" ? reinterpret_cast<jmethodID>(&self(env)) : nullptr;
    }

    // Throwable.initCause is the only method there is.
    static jobject JNICALL callObjectMethodV(JNIEnv* env, jobject object, jmethodID, va_list arguments) {
        self(env).enter("CallObjectMethod");
        fake(object)->cause = fake(va_arg(arguments, jobject));
        ++self(env).localReferences;
        return object;
    }

    static jint JNICALL throwIt(JNIEnv* env, jthrowable throwable) {
        FakeJni& jni = self(env);
        jni.enter("Throw");
        jni.pending_ = fake(throwable);
        return 0;
    }

    static jint JNICALL throwNew(JNIEnv* env, jclass type, const char* message) {
        FakeJni& jni = self(env);
        jni.enter("ThrowNew");
        if (jni.throwNewFails) {
            return JNI_ERR;
        }
        jni.raise(fake(type)->className.c_str(), message);
        return 0;
    }

    static jthrowable JNICALL exceptionOccurred(JNIEnv* env) {
        self(env).enter("ExceptionOccurred", true);
        self(env).localReferences += self(env).pending_ != nullptr ? 1 : 0;
        return real<jthrowable>(self(env).pending_);
    }

    static void JNICALL exceptionClear(JNIEnv* env) {
        self(env).enter("ExceptionClear", true);
        self(env).pending_ = nullptr;
    }

    static jboolean JNICALL exceptionCheck(JNIEnv* env) {
        self(env).enter("ExceptionCheck", true);
        return self(env).pending_ != nullptr ? JNI_TRUE : JNI_FALSE;
    }

    static void JNICALL deleteLocalRef(JNIEnv* env, jobject reference) {
        self(env).enter("DeleteLocalRef", true);
        self(env).localReferences -= reference != nullptr ? 1 : 0;
    }

    static jsize JNICALL getArrayLength(JNIEnv* env, jarray array) {
        self(env).enter("GetArrayLength");
        const FakeObject* const object = fake(array);
        return object->claimedLength >= 0 ? object->claimedLength : static_cast<jsize>(object->bytes.size());
    }

    static jbyteArray JNICALL newByteArray(JNIEnv* env, jsize length) {
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
    }

    static void* JNICALL getCritical(JNIEnv* env, jarray array, jboolean*) {
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
    }

    static void JNICALL releaseCritical(JNIEnv* env, jarray array, void* address, jint mode) {
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
    }
};

FakeJni::FakeJni() {
    table_.FindClass = Functions::findClass;
    table_.GetObjectClass = Functions::getObjectClass;
    table_.IsInstanceOf = Functions::isInstanceOf;
    table_.GetFieldID = Functions::getFieldId;
    table_.GetLongField = Functions::getLongField;
    table_.SetLongField = Functions::setLongField;
    table_.GetMethodID = Functions::getMethodId;
    table_.CallObjectMethodV = Functions::callObjectMethodV;
    table_.Throw = Functions::throwIt;
    table_.ThrowNew = Functions::throwNew;
    table_.ExceptionOccurred = Functions::exceptionOccurred;
    table_.ExceptionClear = Functions::exceptionClear;
    table_.ExceptionCheck = Functions::exceptionCheck;
    table_.DeleteLocalRef = Functions::deleteLocalRef;
    table_.GetArrayLength = Functions::getArrayLength;
    table_.NewByteArray = Functions::newByteArray;
    table_.GetPrimitiveArrayCritical = Functions::getCritical;
    table_.ReleasePrimitiveArrayCritical = Functions::releaseCritical;
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
