// What every entry point does before and after its one engine call: find the bound engine, make and bind one where the
// entry point may, destroy it in deleteContext0.
#ifndef ZELSPI_BRIDGE_ENGINE_CALL_H
#define ZELSPI_BRIDGE_ENGINE_CALL_H

#include "bridge/java_exceptions.h"

// findEngine: the engine bound to self, or null. Null with an exception pending: the binding cannot be read.
// Engine is the static type under which the engines of self's class are bound; always the same one for a class.
template <typename Engine> Engine* findEngine(JNIEnv* env, jobject self) {
    return static_cast<Engine*>(ZelObject::getContext(env, self));
}

// findOrMakeEngine: the engine bound to self; without one, the engine that make() returns is bound and prepare(engine)
// runs once.
// Errors:  null with an exception pending: the binding cannot be read or written, make() returned null, or prepare raised
//          it, whose engine stays bound.
template <typename Engine, typename Make, typename Prepare>
Engine* findOrMakeEngine(JNIEnv* env, jobject self, Make make, Prepare prepare) {
    Engine* engine = findEngine<Engine>(env, self);
    if (engine != nullptr || env->ExceptionCheck() != JNI_FALSE) {
        return engine;
    }
    engine = make();
    if (engine == nullptr) {
        raiseOutOfMemory(env);
        return nullptr;
    }
    ZelObject::setContext(env, self, engine);
    if (env->ExceptionCheck() != JNI_FALSE) {
        delete engine;
        return nullptr;
    }
    prepare(*engine);
    return env->ExceptionCheck() != JNI_FALSE ? nullptr : engine;
}

// requireEngine: the engine bound to self, for an entry point that makes none.
// Errors:  null with an exception pending: the binding cannot be read; without an engine a ProviderException with the
//          message and ERR_NULL_POINTER.
template <typename Engine> Engine* requireEngine(JNIEnv* env, jobject self, const char* message) {
    Engine* const engine = findEngine<Engine>(env, self);
    if (engine == nullptr && env->ExceptionCheck() == JNI_FALSE) {
        ZelObject::throwStaticException(env, kProviderException, message, ERR_NULL_POINTER);
    }
    return engine;
}

// destroyEngine: clears the binding of self, then destroys the engine. Without one nothing happens. An engine whose
// binding cannot be cleared is left alone, with an exception pending.
template <typename Engine> void destroyEngine(JNIEnv* env, jobject self) {
    Engine* const engine = findEngine<Engine>(env, self);
    if (engine == nullptr) {
        return;
    }
    ZelObject::setContext(env, self, nullptr);
    if (env->ExceptionCheck() == JNI_FALSE) {
        delete engine;
    }
}

#endif
