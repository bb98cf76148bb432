// Guards for big integers: ScopedVlong and ScopedMontgomeryCtx return their records to the queue they came from,
// LocalQueue drains a queue.
#ifndef ZELSPI_CORE_BIGNUM_SCOPED_VLONG_H
#define ZELSPI_CORE_BIGNUM_SCOPED_VLONG_H

#include "core/bignum/modexp.h"

#include <utility>

// ScopedVlong: owns one record or none; the queue (or null) must outlive it.
class ScopedVlong {
public:
    explicit ScopedVlong(vlong** queue) : queue_(queue) {
    }
    ScopedVlong(const ScopedVlong&) = delete;
    ScopedVlong& operator=(const ScopedVlong&) = delete;
    ~ScopedVlong() {
        reset();
    }

    // alloc: a zero record in place of the one held.
    Status alloc() {
        return VLONG_alloc(out(), queue_);
    }

    // out: where an operation is to put its new record; what was held is released first.
    vlong** out() {
        reset();
        return &record_;
    }

    vlong* get() const {
        return record_;
    }

    // release: hands the record to the caller.
    vlong* release() {
        return std::exchange(record_, nullptr);
    }

    void reset() {
        if (record_ != nullptr) {
            (void)VLONG_free(&record_, queue_); // fails for null only
        }
    }

    void swap(ScopedVlong& other) {
        std::swap(record_, other.record_);
        std::swap(queue_, other.queue_);
    }

private:
    vlong* record_ = nullptr;
    vlong** queue_;
};

// ScopedMontgomeryCtx: owns a context or none; the queue (or null) must outlive it.
class ScopedMontgomeryCtx {
public:
    explicit ScopedMontgomeryCtx(vlong** queue) : queue_(queue) {
    }
    ScopedMontgomeryCtx(const ScopedMontgomeryCtx&) = delete;
    ScopedMontgomeryCtx& operator=(const ScopedMontgomeryCtx&) = delete;
    ~ScopedMontgomeryCtx() {
        (void)VLONG_clearMontgomeryCtx(&context_, queue_); // never fails
    }

    // make: the context of a modulus, by VLONG_initPowerCtx, unless there is one.
    Status make(const vlong* modulus) {
        return get() != nullptr ? OK : VLONG_initPowerCtx(&context_, modulus, queue_);
    }

    // get: null when there is none.
    const MontgomeryCtx* get() const {
        return context_.modulus != nullptr ? &context_ : nullptr;
    }

private:
    MontgomeryCtx context_{};
    vlong** queue_;
};

// LocalQueue: the queue of one computation: the caller's when there is one, else one of its own, drained at the end.
class LocalQueue {
public:
    explicit LocalQueue(vlong** queue) : queue_(queue != nullptr ? queue : &head_) {
    }
    LocalQueue(const LocalQueue&) = delete;
    LocalQueue& operator=(const LocalQueue&) = delete;
    ~LocalQueue() {
        (void)VLONG_freeQueue(&head_); // never fails
    }

    vlong** get() {
        return queue_;
    }

private:
    vlong* head_ = nullptr;
    vlong** queue_;
};

#endif
