#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"
#include "core/hash/sha_kernels.h"
#include "core/memory/endian.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <cstring>
#include <string_view>

namespace {

// The five hashes as values, so that one test can run over all of them.
constexpr std::string_view kShaNames[] = {"sha1", "sha224", "sha256", "sha384", "sha512"};

template <typename C, typename Run> struct ShaFunctions {
    using Context = C;
    std::size_t digestBytes;
    Status (*alloc)(Context**);
    Status (*release)(Context**);
    Status (*init)(Context*);
    Status (*update)(Context*, const std::uint8_t*, std::uint32_t);
    Status (*final)(Context*, std::uint8_t*);
    Status (*digest)(const std::uint8_t*, std::uint32_t, std::uint8_t*);
    std::span<const Kernel<Run>> kernels;
};

// withSha: use(functions) for the hash of this name.
template <typename Use> auto withSha(std::string_view name, Use use) {
    using Sha1 = ShaFunctions<Sha1Context, Sha1Compress>;
    using Sha256 = ShaFunctions<Sha256Context, Sha256Compress>;
    using Sha512 = ShaFunctions<Sha512Context, Sha512Compress>;
    if (name == "sha1") {
        return use(
            Sha1{20, sha1AllocContext, sha1FreeContext, sha1Init, sha1Update, sha1Final, sha1Digest, sha1Kernels()});
    }
    if (name == "sha224" || name == "sha256") {
        const bool cut = name == "sha224";
        return use(Sha256{cut ? 28U : 32U, sha256AllocContext, sha256FreeContext, cut ? sha224Init : sha256Init,
                          sha256Update, cut ? sha224Final : sha256Final, cut ? sha224Digest : sha256Digest,
                          sha256Kernels()});
    }
    const bool cut = name == "sha384";
    return use(Sha512{cut ? 48U : 64U, sha512AllocContext, sha512FreeContext, cut ? sha384Init : sha512Init,
                      sha512Update, cut ? sha384Final : sha512Final, cut ? sha384Digest : sha512Digest,
                      sha512Kernels()});
}

// A message, whole and in pieces.
VectorOperation digest(std::string_view name) {
    return [name](const Words& in, Words& out) {
        return withSha(name, [&](const auto& sha) -> Status {
            const Bytes message = bytesOf(in[0]);
            const auto length = static_cast<std::uint32_t>(message.size());
            Bytes whole(sha.digestBytes), split(sha.digestBytes);
            RETURN_IF_ERROR(sha.digest(message.data(), length, whole.data()));
            typename std::decay_t<decltype(sha)>::Context* context = nullptr;
            RETURN_IF_ERROR(sha.alloc(&context));
            for (const std::uint32_t piece : {7U, 64U, 129U, 1000U}) {
                EXPECT_EQ(sha.init(context), OK);
                for (std::uint32_t at = 0; at < length; at += piece) {
                    EXPECT_EQ(sha.update(context, message.data() + at, std::min(piece, length - at)), OK);
                }
                EXPECT_EQ(sha.final(context, split.data()), OK);
                EXPECT_EQ(split, whole) << "in pieces of " << piece;
            }
            EXPECT_EQ(sha.release(&context), OK);
            out = {textOf(whole)};
            return context == nullptr ? OK : ERR_FALSE;
        });
    };
}

// More bytes than a test could feed: the count is put in place by hand, as if so many blocks had left the initial value where
// it was.
VectorOperation after(std::string_view name) {
    return [name](const Words& in, Words& out) {
        return withSha(name, [&](const auto& sha) -> Status {
            const std::uint64_t blocks = std::stoull(in[0]);
            const Bytes tail = bytesOf(in[1]);
            Bytes result(sha.digestBytes);
            typename std::decay_t<decltype(sha)>::Context context;
            EXPECT_EQ(sha.init(&context), OK);
            if constexpr (std::is_array_v<decltype(context.byteCount)>) {
                context.byteCount[1] = blocks * sizeof context.buffer;
            } else {
                context.byteCount = blocks * sizeof context.buffer;
            }
            EXPECT_EQ(sha.update(&context, tail.data(), static_cast<std::uint32_t>(tail.size())), OK);
            EXPECT_EQ(sha.final(&context, result.data()), OK);
            out = {textOf(result)};
            return OK;
        });
    };
}

// The bare compression: apart, into its block, by every kernel.
Status g(const Words& in, Words& out) {
    const Bytes block = bytesOf(in[0]);
    Bytes result(20);
    RETURN_IF_ERROR(sha1G(block.data(), result.data()));
    for (const unsigned offset : {0U, 1U, 44U, 60U}) {
        Bytes area = block;
        area.resize(84);
        EXPECT_EQ(sha1G(area.data(), area.data() + offset), OK);
        EXPECT_EQ(std::memcmp(area.data() + offset, result.data(), 20), 0) << offset;
    }
    std::uint64_t words[8], words160[3];
    for (std::size_t i = 0; i < 8; ++i) {
        words[i] = loadBigEndian<std::uint64_t>(block.data() + 56 - 8 * i);
    }
    for (const Kernel<Sha1G>& kernel : sha1GKernels()) {
        if (kernel.isSupported()) {
            Bytes bytes(24);
            kernel.run(words, words160);
            for (std::size_t i = 0; i < 3; ++i) {
                storeBigEndian(bytes.data() + 16 - 8 * i, words160[i]);
            }
            EXPECT_EQ(std::memcmp(bytes.data() + 4, result.data(), 20), 0) << kernel.name;
        }
    }
    out = {textOf(result)};
    return OK;
}

TEST(Hash, Vectors) {
    std::map<std::string, VectorOperation> operations = {
        {"sha256after", after("sha256")}, {"sha512after", after("sha512")}, {"sha1g", g}};
    for (const std::string_view name : kShaNames) {
        operations.emplace(name, digest(name));
    }
    runVectors("core/hash/hash_vectors.txt", operations);
}

// Every kernel beside the portable one.
TEST(Hash, KernelsDoTheSame) {
    const Bytes blocks = bytesOf("7:3:250+91:1:255+13:5:253+11*650");
    for (const std::string_view name : kShaNames) {
        withSha(name, [&](const auto& sha) {
            for (const auto& kernel : sha.kernels) {
                for (std::size_t count = 0; kernel.isSupported() && count < 11; ++count) {
                    typename std::decay_t<decltype(sha)>::Context context, expected;
                    EXPECT_TRUE(sha.init(&context) == OK && sha.init(&expected) == OK);
                    kernel.run(context.state, blocks.data() + count, count);
                    sha.kernels.back().run(expected.state, blocks.data() + count, count);
                    EXPECT_TRUE(std::equal(std::begin(context.state), std::end(context.state), expected.state))
                        << kernel.name << ", " << count << " blocks";
                }
            }
        });
    }
}

TEST(Hash, SpentContextsAndNulls) {
    Bytes message(64, 0x61), first(64), second(64);
    for (const std::string_view name : kShaNames) {
        SCOPED_TRACE(name);
        withSha(name, [&](const auto& sha) {
            typename std::decay_t<decltype(sha)>::Context context, *none = nullptr, *owned = nullptr;
            // A spent context gives something wrong, and no error. SHA-2's is wiped, also where its final has failed; SHA-1's holds
            // the length in bits.
            EXPECT_EQ(sha.init(&context), OK);
            for (const auto& [target, sha1Count] :
                 {std::pair{first.data(), 504U}, {second.data(), 4536U}, {nullptr, 4599U}}) {
                EXPECT_EQ(sha.update(&context, message.data(), 63), OK);
                EXPECT_EQ(sha.final(&context, target), target == nullptr ? ERR_NULL_POINTER : OK);
                const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&context);
                EXPECT_EQ(std::count(bytes, bytes + sizeof context, 0) == sizeof context, name != "sha1");
                if constexpr (std::is_same_v<decltype(context), Sha1Context>) {
                    EXPECT_TRUE(context.byteCount == sha1Count && context.bufferUsed == (target == nullptr ? 63 : 0));
                }
            }
            EXPECT_NE(first, second);
            expectNullsRefused({sha.alloc}, &owned);
            expectNullsRefused({sha.init}, &context);
            expectNullsRefused({sha.update}, &context, message.data(), 63);
            EXPECT_EQ(sha.final(nullptr, second.data()), ERR_NULL_POINTER);
            expectNullsRefused({sha.digest}, message.data(), 0, second.data());
            expectNullsRefused({sha.release}, &none);
            EXPECT_EQ(sha.release(&none), ERR_NULL_POINTER);
        });
    }
    expectNullsRefused({sha1G}, message.data(), message.data());
}

#if (defined(ZEL_X86_KERNELS) && !defined(_WIN32)) || defined(ZEL_ARM_KERNELS) // Windows wants six back as they were
// Whether the vector registers, as the processor saves them, are zero behind the call of a kernel.
template <typename Run, typename... Arguments> bool clearsRegisters(Run run, Arguments... arguments) {
    alignas(64) static std::uint8_t saved[4096];
    std::memset(saved, 0, sizeof saved);
    run(arguments...);
#if defined(ZEL_ARM_KERNELS)
    std::uint8_t* to = saved;
    // All but V8 to V15, of which the lower halves belong to the caller.
    __asm__ volatile("st1 {v0.16b-v3.16b}, [%0], #64\n\tst1 {v4.16b-v7.16b}, [%0], #64\n\t"
                     "st1 {v16.16b-v19.16b}, [%0], #64\n\tst1 {v20.16b-v23.16b}, [%0], #64\n\t"
                     "st1 {v24.16b-v27.16b}, [%0], #64\n\tst1 {v28.16b-v31.16b}, [%0], #64"
                     : "+r"(to)::"memory");
#else
    if (!cpuFeatures().x86.avx) {
        return true;
    }
    // XMM, the upper halves of YMM, all of ZMM, in a form without gaps for AVX-512's masks.
    __asm__ volatile("xsave64 %0" : "+m"(saved) : "a"(0xC6), "d"(0));
    std::memset(saved, 0, 160);       // the x87 registers
    std::memset(saved + 416, 0, 160); // the header
#endif
    return std::count(std::begin(saved), std::end(saved), 0) == sizeof saved;
}

TEST(Hash, LeavesNothingInRegisters) {
    const Bytes blocks(256, 0x35);
    const auto expectCleared = [](const auto& kernels, auto... arguments) {
        for (const auto& kernel : kernels.first(kernels.size() - 1)) {
            EXPECT_TRUE(!kernel.isSupported() || clearsRegisters(kernel.run, arguments...)) << kernel.name;
        }
    };
    std::uint32_t narrow[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint64_t wide[8] = {1, 2, 3, 4, 5, 6, 7, 8}, out[3];
    expectCleared(sha1Kernels(), narrow, blocks.data(), std::size_t{2});
    expectCleared(sha1GKernels(), wide, out);
    expectCleared(sha256Kernels(), narrow, blocks.data(), std::size_t{2});
    expectCleared(sha512Kernels(), wide, blocks.data(), std::size_t{2});
}
#endif

} // namespace
