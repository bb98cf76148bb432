#include "platform/static_lock.h"

void StaticLock::lock() {
    pthread_mutex_lock(&state_);
}

void StaticLock::unlock() {
    pthread_mutex_unlock(&state_);
}
