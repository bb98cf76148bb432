// StaticLock: a lock for static state. It needs no initialisation and no destruction, so that it works before main and
// in threads that outlive it, and it is waited for without limit. Not recursive.
#ifndef ZELSPI_PLATFORM_STATIC_LOCK_H
#define ZELSPI_PLATFORM_STATIC_LOCK_H

#include "static_lock_state.h" // of the operating system that is built for

#include <type_traits>

class StaticLock {
public:
    void lock();
    void unlock();

private:
    StaticLockState state_ = kFreeStaticLock;
};
static_assert(std::is_trivially_destructible_v<StaticLock>);

// StaticLockHolder: holds the lock for the length of a scope.
class StaticLockHolder {
public:
    explicit StaticLockHolder(StaticLock& lock) : lock_(lock) {
        lock_.lock();
    }
    ~StaticLockHolder() {
        lock_.unlock();
    }
    StaticLockHolder(const StaticLockHolder&) = delete;
    StaticLockHolder& operator=(const StaticLockHolder&) = delete;

private:
    StaticLock& lock_;
};

#endif
