#include "bridge/zel_object.h"

#include "core/memory/memory.h"

namespace {

// The id of the field "context0" in the object's own class; null with NoSuchFieldError pending.
jfieldID contextField(JNIEnv* env, jobject object) {
    const jclass objectClass = env->GetObjectClass(object);
    const jfieldID field = env->GetFieldID(objectClass, "context0", "J");
    env->DeleteLocalRef(objectClass);
    return field;
}

} // namespace

void* ZelObject::getContext(JNIEnv* env, jobject object) {
    const jfieldID field = contextField(env, object);
    return field == nullptr ? nullptr : reinterpret_cast<void*>(env->GetLongField(object, field));
}

void ZelObject::setContext(JNIEnv* env, jobject object, void* engine) {
    const jfieldID field = contextField(env, object);
    if (field != nullptr) {
        env->SetLongField(object, field, static_cast<jlong>(reinterpret_cast<std::intptr_t>(engine)));
    }
}

void* ZelObject::operator new(std::size_t byteCount) noexcept {
    void* block = nullptr;
    (void)memAlloc(byteCount, &block); // null is the failure
    return block;
}

void ZelObject::operator delete(void* engine, std::size_t byteCount) noexcept {
    (void)memWipeAndFree(&engine, byteCount); // deleting null is allowed
}

void ZelObject::throwException(JNIEnv* env, const char* className, const char* message) {
    throwStaticException(env, className, message, OK);
}

void ZelObject::throwException(JNIEnv* env, const char* className, const char* message, enum_errDescrValues status) {
    throwStaticException(env, className, message, status);
}
