// Handles of the C functions in holders that free them, and what tests make them from.
#ifndef ZELSPI_TESTS_CAPI_HANDLES_H
#define ZELSPI_TESTS_CAPI_HANDLES_H

#include "capi/zel.h"
#include "core/random/random.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <fstream>
#include <iterator>
#include <memory>

template <auto release> struct Free {
    template <typename Handle> void operator()(Handle* handle) const {
        EXPECT_EQ(release(handle), ZEL_OK);
    }
};
using Digest = std::unique_ptr<ZelDigest, Free<zelDigestFree>>;
using Aes = std::unique_ptr<ZelAes, Free<zelAesFree>>;
using Key = std::unique_ptr<ZelKey, Free<zelKeyFree>>;

// make(..., &handle) into a holder.
template <typename Holder, typename Make, typename... Arguments>
Status into(Holder& holder, Make make, Arguments... arguments) {
    typename Holder::pointer handle = nullptr;
    const Status status = static_cast<Status>(make(arguments..., &handle));
    EXPECT_EQ(isError(status), handle == nullptr);
    holder.reset(handle);
    return status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : status; // its record was refused
}

// A result "output[*length]": asks for the room, is refused less than it needs, and gets it.
template <typename Call> Status resultOf(Bytes& result, Call call) {
    std::size_t length = 0;
    RETURN_IF_ERROR(static_cast<Status>(call(nullptr, &length)));
    result.resize(length + 1);
    std::size_t needed = length;
    RETURN_IF_ERROR(static_cast<Status>(call(result.data(), &needed)));
    EXPECT_LE(needed, length);
    if (std::size_t less = 0; needed > 0) {
        RETURN_IF_ERROR(call(result.data(), &less) == ZEL_ERR_BUFFER_OVERFLOW ? OK : ERR_MEM_ALLOC_FAIL);
        EXPECT_GE(less, needed);
    }
    result.resize(needed);
    return OK;
}

inline Bytes fileOf(const std::string& name) {
    std::ifstream stream(ZEL_TESTS "capi/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline Status readKey(const std::string& name, bool isPrivate, Key& key) {
    const Bytes bytes = fileOf(name);
    return into(key, isPrivate ? zelKeyReadPrivate : zelKeyReadPublic, bytes.data(), bytes.size());
}

// The process's context, without six seconds of seeding.
inline void makeRandom() {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    ASSERT_EQ(zelRandomWait(), ZEL_OK);
    EXPECT_EQ(zelRandomIsReady(), 1);
    testheap::keep(4); // the context, its mutex and those of the seed pool
}

#endif
