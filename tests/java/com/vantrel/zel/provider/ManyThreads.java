package com.vantrel.zel.provider;

import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/** A task in many threads at once. */
final class ManyThreads {
    private ManyThreads() {}

    /** What every thread does, each with random numbers of its own. */
    interface Task {
        void run(int thread, Random random) throws Exception;
    }

    /** Ends when all threads have; the failure of any of them is thrown. */
    static void run(int count, Task task) throws Exception {
        ExecutorService threads = Executors.newFixedThreadPool(count);
        List<Future<?>> results = new ArrayList<>();
        for (int i = 0; i < count; ++i) {
            int thread = i;
            results.add(threads.submit(() -> {
                task.run(thread, new Random(thread));
                return null;
            }));
        }
        threads.shutdown();
        for (Future<?> result : results) {
            result.get();
        }
    }
}
