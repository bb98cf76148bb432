// Where threads wait until another lets them on. Neither std::latch, whose wait can miss its wake-up where the library
// has no futex (GCC 12 reads the value before it takes the lock), nor std::promise, which needs a thread-local variable
// of the library that clang finds under another name when it builds for Windows.
#ifndef ZELSPI_TESTS_SUPPORT_GATE_H
#define ZELSPI_TESTS_SUPPORT_GATE_H

#include <condition_variable>
#include <mutex>

class Gate {
public:
    // Lets on everybody who waits or will wait.
    void open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        opened_.notify_all();
    }

    void wait() {
        std::unique_lock lock(mutex_);
        opened_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

#endif
