#include "capi/digest.h"

#include "capi/handle.h"

#include <iterator>

struct ZelDigest {
    static constexpr std::uint64_t kTag = kDigestTag;
    std::uint64_t tag;
    const HashAlgorithm* algorithm;
    HashState state;
};

namespace {

// One operation of the core each, on its own member of the state.
template <auto member, auto operation> Status initOf(HashState* state) {
    return operation(&(state->*member));
}
template <auto member, auto operation>
Status updateOf(HashState* state, const std::uint8_t* data, std::uint32_t length) {
    return operation(&(state->*member), data, length);
}
template <auto member, auto operation> Status finalOf(HashState* state, std::uint8_t* digest) {
    return operation(&(state->*member), digest);
}

constexpr HashAlgorithm kAlgorithms[] = {
    {kSha1DigestBytes, &kSha1DigestInfo, initOf<&HashState::sha1, sha1Init>, updateOf<&HashState::sha1, sha1Update>,
     finalOf<&HashState::sha1, sha1Final>, sha1Digest},
    {kSha224DigestBytes, &kSha224DigestInfo, initOf<&HashState::sha256, sha224Init>,
     updateOf<&HashState::sha256, sha256Update>, finalOf<&HashState::sha256, sha224Final>, sha224Digest},
    {kSha256DigestBytes, &kSha256DigestInfo, initOf<&HashState::sha256, sha256Init>,
     updateOf<&HashState::sha256, sha256Update>, finalOf<&HashState::sha256, sha256Final>, sha256Digest},
    {kSha384DigestBytes, &kSha384DigestInfo, initOf<&HashState::sha512, sha384Init>,
     updateOf<&HashState::sha512, sha512Update>, finalOf<&HashState::sha512, sha384Final>, sha384Digest},
    {kSha512DigestBytes, &kSha512DigestInfo, initOf<&HashState::sha512, sha512Init>,
     updateOf<&HashState::sha512, sha512Update>, finalOf<&HashState::sha512, sha512Final>, sha512Digest},
};

Status update(const HashAlgorithm& algorithm, HashState* state, const void* data, std::size_t length) {
    return forEachPiece(bytesAt(data), length, [&](const std::uint8_t* piece, std::uint32_t count) {
        return algorithm.update(state, piece, count);
    });
}

} // namespace

const HashAlgorithm* findHash(ZelHash hash) {
    return hash >= ZEL_SHA1 && hash <= ZEL_SHA512 ? &kAlgorithms[hash - ZEL_SHA1] : nullptr;
}

size_t zelDigestSize(ZelHash hash) {
    const HashAlgorithm* const algorithm = findHash(hash);
    return algorithm == nullptr ? 0 : algorithm->digestBytes;
}

ZelStatus zelDigestOnce(ZelHash hash, const void* data, size_t length, void* digest, size_t digestRoom) {
    RETURN_IF_ERROR(checkInput(data, length));
    if (digest == nullptr) {
        return ERR_NULL_POINTER;
    }
    const HashAlgorithm* const algorithm = findHash(hash);
    if (algorithm == nullptr) {
        return ERR_INVALID_ARG;
    }
    if (digestRoom < algorithm->digestBytes) {
        return ERR_BUFFER_OVERFLOW;
    }
    auto* const output = static_cast<std::uint8_t*>(digest);
    if (length <= UINT32_MAX) {
        return algorithm->digest(bytesAt(data), static_cast<std::uint32_t>(length), output);
    }
    SecretArray<HashState, 1> state;
    RETURN_IF_ERROR(algorithm->init(state.data()));
    RETURN_IF_ERROR(update(*algorithm, state.data(), data, length));
    return algorithm->final(state.data(), output);
}

ZelStatus zelDigestNew(ZelHash hash, ZelDigest** digest) {
    if (digest == nullptr) {
        return ERR_NULL_POINTER;
    }
    *digest = nullptr;
    const HashAlgorithm* const algorithm = findHash(hash);
    if (algorithm == nullptr) {
        return ERR_INVALID_ARG;
    }
    RETURN_IF_ERROR(newHandle(digest));
    (*digest)->algorithm = algorithm;
    return algorithm->init(&(*digest)->state);
}

ZelStatus zelDigestCopy(const ZelDigest* source, ZelDigest** copy) {
    if (copy == nullptr) {
        return ERR_NULL_POINTER;
    }
    *copy = nullptr;
    RETURN_IF_ERROR(checkHandle(source));
    RETURN_IF_ERROR(newHandle(copy));
    **copy = *source;
    return OK;
}

ZelStatus zelDigestUpdate(ZelDigest* digest, const void* data, size_t length) {
    RETURN_IF_ERROR(checkHandle(digest));
    RETURN_IF_ERROR(checkInput(data, length));
    return update(*digest->algorithm, &digest->state, data, length);
}

ZelStatus zelDigestFinish(ZelDigest* digest, void* output, size_t room) {
    RETURN_IF_ERROR(checkHandle(digest));
    if (output == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (room < digest->algorithm->digestBytes) {
        return ERR_BUFFER_OVERFLOW;
    }
    RETURN_IF_ERROR(digest->algorithm->final(&digest->state, static_cast<std::uint8_t*>(output)));
    return digest->algorithm->init(&digest->state);
}

ZelStatus zelDigestReset(ZelDigest* digest) {
    RETURN_IF_ERROR(checkHandle(digest));
    return digest->algorithm->init(&digest->state);
}

ZelStatus zelDigestFree(ZelDigest* digest) {
    return freeHandle(digest);
}
