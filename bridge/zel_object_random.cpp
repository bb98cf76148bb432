#include "bridge/java_exceptions.h"
#include "bridge/zel_object.h"
#include "core/random/shared_random.h"

RandomContext* ZelObject::getRandomContext(JNIEnv* env) {
    RandomContext* context = nullptr;
    if (const Status status = sharedRandom(&context); isError(status)) {
        throwStaticException(env, kProviderException, "Unable to acquire secure random context", status);
    }
    return context;
}
