// inThreads: work(number) in so many threads, which begin together; returns when all have ended.
#ifndef ZELSPI_TESTS_SUPPORT_IN_THREADS_H
#define ZELSPI_TESTS_SUPPORT_IN_THREADS_H

#include <latch>
#include <thread>
#include <vector>

template <typename Work> void inThreads(unsigned count, const Work& work) {
    std::latch start(count);
    std::vector<std::jthread> threads;
    for (unsigned number = 0; number < count; ++number) {
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
}

#endif
