#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"
#include "core/hash/sha_kernels.h"
#if defined(ZEL_X86_KERNELS)
#include "core/cpu/x86/clear_registers.h"
#endif
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <cstring>

namespace {

// Sha: a hash as a value, so that one test can run over all five.
template <typename Context> struct Sha {
    std::string name;
    std::size_t digestBytes;
    Status (*alloc)(Context**);
    Status (*release)(Context**);
    Status (*init)(Context*);
    Status (*update)(Context*, const std::uint8_t*, std::uint32_t);
    Status (*final)(Context*, std::uint8_t*);
    Status (*digest)(const std::uint8_t*, std::uint32_t, std::uint8_t*);
};

template <typename Use> void withEachSha(Use use) {
    use(Sha<Sha1Context>{"sha1", 20, sha1AllocContext, sha1FreeContext, sha1Init, sha1Update, sha1Final, sha1Digest});
    use(Sha<Sha256Context>{"sha224", 28, sha256AllocContext, sha256FreeContext, sha224Init, sha256Update, sha224Final,
                           sha224Digest});
    use(Sha<Sha256Context>{"sha256", 32, sha256AllocContext, sha256FreeContext, sha256Init, sha256Update, sha256Final,
                           sha256Digest});
    use(Sha<Sha512Context>{"sha384", 48, sha512AllocContext, sha512FreeContext, sha384Init, sha512Update, sha384Final,
                           sha384Digest});
    use(Sha<Sha512Context>{"sha512", 64, sha512AllocContext, sha512FreeContext, sha512Init, sha512Update, sha512Final,
                           sha512Digest});
}

// The digest of a message in pieces. For more bytes in front of it than a test could feed the count is put in place by hand, as
// if so many blocks had left the initial value where it was.
template <typename Context> Bytes digestOf(const Sha<Context>& sha, Context* context, const Bytes& message,
                                           std::uint32_t piece, std::uint64_t blocksInFront = 0) {
    const auto length = static_cast<std::uint32_t>(message.size());
    Bytes digest(sha.digestBytes);
    EXPECT_EQ(sha.init(context), OK);
    if constexpr (std::is_array_v<decltype(context->byteCount)>) {
        context->byteCount[1] = blocksInFront * sizeof context->buffer;
    } else {
        context->byteCount = blocksInFront * sizeof context->buffer;
    }
    for (std::uint32_t at = 0; at < length; at += piece) {
        EXPECT_EQ(sha.update(context, message.data() + at, std::min(piece, length - at)), OK);
    }
    EXPECT_EQ(sha.final(context, digest.data()), OK);
    return digest;
}

// The bare compression, apart and into its block.
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
    out = {textOf(result)};
    return OK;
}

TEST(Hash, Vectors) {
    std::map<std::string, VectorOperation> operations = {{"sha1g", g}};
    withEachSha([&operations]<typename Context>(const Sha<Context>& sha) {
        operations[sha.name] = [sha](const Words& in, Words& out) -> Status {
            const Bytes message = bytesOf(in[0]);
            Bytes whole(sha.digestBytes);
            RETURN_IF_ERROR(sha.digest(message.data(), static_cast<std::uint32_t>(message.size()), whole.data()));
            Context* context = nullptr;
            RETURN_IF_ERROR(sha.alloc(&context));
            for (const std::uint32_t piece : {7U, 64U, 129U, 1000U}) {
                EXPECT_EQ(digestOf(sha, context, message, piece), whole) << "in pieces of " << piece;
            }
            EXPECT_EQ(sha.release(&context), OK);
            out = {textOf(whole)};
            return context == nullptr ? OK : ERR_FALSE;
        };
        if (sha.name == "sha256" || sha.name == "sha512") {
            operations[sha.name + "after"] = [sha](const Words& in, Words& out) {
                Context context;
                out = {textOf(digestOf(sha, &context, bytesOf(in[1]), 1000, std::stoull(in[0])))};
                return OK;
            };
        }
    });
    runVectors("core/hash/hash_vectors.txt", operations);
}

TEST(Hash, SpentContextsAndNulls) {
    const Bytes message(63, 0x61);
    withEachSha([&message]<typename Context>(const Sha<Context>& sha) {
        SCOPED_TRACE(sha.name);
        Bytes first(sha.digestBytes), second(first);
        Context context, *none = nullptr;
        // A spent context gives something wrong, and no error. SHA-2's is wiped, also where its final has failed; SHA-1's holds
        // the length in bits.
        EXPECT_EQ(sha.init(&context), OK);
        for (const auto& [target, sha1Count] :
             {std::pair{first.data(), 504U}, {second.data(), 4536U}, {nullptr, 4599U}}) {
            EXPECT_EQ(sha.update(&context, message.data(), 63), OK);
            EXPECT_EQ(sha.final(&context, target), target == nullptr ? ERR_NULL_POINTER : OK);
            const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&context);
            EXPECT_EQ(std::count(bytes, bytes + sizeof context, 0) == sizeof context, sha.name != "sha1");
            if constexpr (std::is_same_v<Context, Sha1Context>) {
                EXPECT_TRUE(context.byteCount == sha1Count && context.bufferUsed == (target == nullptr ? 63 : 0));
            }
        }
        EXPECT_NE(first, second);
        EXPECT_EQ(sha.release(&none), ERR_NULL_POINTER);
        EXPECT_EQ(sha.update(&context, nullptr, 0), ERR_NULL_POINTER); // also of no bytes
        EXPECT_EQ(sha.digest(nullptr, 0, first.data()), ERR_NULL_POINTER);
        expectNullsRefusedByEach(sha.alloc, sha.release, sha.init, sha.update, sha.final, sha.digest);
    });
    expectNullsRefusedByEach(sha1G);
}

// Whether the vector registers, as the processor saves them, are zero behind a kernel. Windows wants six back as they were.
template <typename Run> bool clearsRegisters(Run run) {
    alignas(64) static std::uint8_t saved[4096];
    std::memset(saved, 0, sizeof saved);
#if defined(ZEL_X86_KERNELS)
    if (cpuFeatures().x86.avx512) {
        clearAvx512Registers(); // in which the C library has left what it copied
    }
#endif
    run();
#if defined(ZEL_ARM_KERNELS)
    std::uint8_t* to = saved;
    // All but V8 to V15, of which the lower halves belong to the caller.
    __asm__ volatile("st1 {v0.16b-v3.16b}, [%0], #64\n\tst1 {v4.16b-v7.16b}, [%0], #64\n\t"
                     "st1 {v16.16b-v19.16b}, [%0], #64\n\tst1 {v20.16b-v23.16b}, [%0], #64\n\t"
                     "st1 {v24.16b-v27.16b}, [%0], #64\n\tst1 {v28.16b-v31.16b}, [%0], #64"
                     : "+r"(to)::"memory");
#elif defined(ZEL_X86_KERNELS) && !defined(_WIN32)
    if (cpuFeatures().x86.avx) {
        // XMM, the upper halves of YMM, all of ZMM, in a form without gaps for AVX-512's masks.
        __asm__ volatile("xsave64 %0" : "+m"(saved) : "a"(0xC6), "d"(0));
        std::memset(saved, 0, 160);       // the x87 registers
        std::memset(saved + 416, 0, 160); // the header
    }
#endif
    return std::count(std::begin(saved), std::end(saved), 0) == sizeof saved;
}

// Every kernel beside the portable one, the last: from the same state to the same, with nothing left in registers.
template <typename Run, typename State, typename Use>
void expectTheSame(std::span<const Kernel<Run>> kernels, const State& start, Use use) {
    State expected = start;
    use(kernels.back().run, expected.data());
    for (const Kernel<Run>& kernel : kernels.first(kernels.size() - 1)) {
        State state = start;
        if (kernel.isSupported()) {
            EXPECT_TRUE(clearsRegisters([&] { use(kernel.run, state.data()); })) << kernel.name;
            EXPECT_EQ(state, expected) << kernel.name;
        }
    }
}

TEST(Hash, KernelsDoTheSame) {
    const Bytes blocks = bytesOf("7:3:250+91:1:255+13:5:253+11*650");
    for (std::size_t count = 0; count < 11; ++count) {
        const auto compress = [&](auto run, auto* state) {
            run(state, blocks.data() + count, count);
        };
        expectTheSame(sha1Kernels(), std::array<std::uint32_t, 5>{1, 2, 3, 4, 5}, compress);
        expectTheSame(sha256Kernels(), std::array<std::uint32_t, 8>{1, 2, 3, 4, 5, 6, 7, 8}, compress);
        expectTheSame(sha512Kernels(), std::array<std::uint64_t, 8>{1, 2, 3, 4, 5, 6, 7, 8}, compress);
        std::uint64_t block[8];
        std::memcpy(block, blocks.data() + 64 * count, sizeof block);
        expectTheSame(sha1GKernels(), std::array<std::uint64_t, 3>{},
                      [&](Sha1G run, std::uint64_t* out) { run(block, out); });
    }
}

} // namespace
