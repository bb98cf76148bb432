// What stays on the stack of a thread when an engine or an operation has returned to it.
#include "bridge/aes_cbc_stream.h"
#include "bridge/zel_sha_with_rsa_signature.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/hash/sha_kernels.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/rsa.h"
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "tests/bridge/script.h"
#include "tests/support/hex.h"
#include "tests/support/test_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <pthread.h>

namespace {

using Octets = Bytes;

// Runs work so deep in the stack that nothing overwrites its frames when it has returned.
Status runDeep(const std::function<Status()>& work) {
    volatile char room[8192];
    room[0] = 1;
    const Status status = work();
    room[sizeof room - 1] = room[0];
    return status;
}

struct Run {
    const std::function<Status()>& work;
    Status status;
};

// The stack of a thread of its own on which work() has run for the third time: the linker, which looks a function up
// at its first call, saves the registers on the stack, and the first use does not yet free what an earlier one left.
std::vector<std::uint64_t> stackAfter(const std::function<Status()>& work) {
    std::vector<std::uint64_t> stack;
    for (int round = 0; round < 3; ++round) {
        stack.assign(1 << 15, 0);
        pthread_attr_t attributes;
        pthread_t thread{};
        EXPECT_EQ(pthread_attr_init(&attributes), 0);
        EXPECT_EQ(pthread_attr_setstack(&attributes, stack.data(), stack.size() * sizeof stack[0]), 0);
        const auto run = [](void* argument) -> void* {
            auto& todo = *static_cast<Run*>(argument);
            todo.status = runDeep(todo.work);
            return nullptr;
        };
        Run todo = {work, ERR_GENERAL};
        EXPECT_EQ(pthread_create(&thread, &attributes, run, &todo), 0);
        EXPECT_EQ(pthread_join(thread, nullptr), 0);
        EXPECT_EQ(todo.status, OK);
    }
    return stack;
}

// No eight bytes in a row of any secret.
void expectNone(const std::vector<std::uint64_t>& stack, const std::vector<Octets>& secrets) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(stack.data());
    const auto* const last = reinterpret_cast<const std::uint8_t*>(stack.data() + stack.size());
    for (const Octets& secret : secrets) {
        for (std::size_t i = 0; i + 8 <= secret.size(); ++i) {
            EXPECT_EQ(std::search(first, last, &secret[i], &secret[i] + 8), last)
                << "byte " << i << " of " << secret.size();
        }
    }
}

template <typename Word> Octets octetsOf(const Word* words, std::size_t count) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(words);
    return Octets(bytes, bytes + count * sizeof(Word));
}

Octets reversed(Octets octets, std::size_t size) {
    for (std::size_t i = 0; i < octets.size(); i += size) {
        std::reverse(octets.begin() + static_cast<std::ptrdiff_t>(i),
                     octets.begin() + static_cast<std::ptrdiff_t>(i + size));
    }
    return octets;
}

TEST(Stack, OfTheCipher) {
    Octets key(32), message(1000);
    auto fill = [n = std::uint8_t{0}](Octets& octets) mutable {
        std::generate(octets.begin(), octets.end(), [&n] { return n = static_cast<std::uint8_t>(5 * n + 3); });
    };
    fill(key);
    fill(message);
    AesContext context;
    ASSERT_EQ(aesInitKey(&context, 256, key.data(), 0, kAesModeCbc), OK);
    const Octets encrypting = octetsOf(context.encryptRoundKeys, 60), decrypting = octetsOf(context.roundKeys, 60);
    const std::uint8_t iv[kAesBlockBytes] = {}, *const from = message.data();
    Octets sent(1008), output(1400);
    AesCbcStream whole, encrypt, decrypt;
    ASSERT_EQ(whole.init(AesCbcStream::kEncryptMode, iv, key.data()), OK);
    ASSERT_EQ(whole.encryptFinal(from, 1000, sent.data()), OK);
    const std::function<Status()> calls[] = {
        [&] { return encrypt.init(AesCbcStream::kEncryptMode, iv, key.data()); },
        [&] { return encrypt.update(from, 0, 303, output.data()); },
        [&] { return encrypt.encryptFinal(from, 994, output.data()); }, // behind 13 pending bytes: 15 in the last block
        [&] { return decrypt.init(AesCbcStream::kDecryptMode, iv, key.data()); },
        [&]() -> Status {
            std::uint64_t size = 0;
            return decrypt.decryptFinal(sent.data(), 1008, output.data(), &size);
        },
    };
    for (const auto& call : calls) {
        SCOPED_TRACE(&call - calls);
        expectNone(stackAfter(call),
                   {key, message, encrypting, reversed(encrypting, 4), decrypting, reversed(decrypting, 4)});
    }
}

TEST(Stack, OfAnRsaSignature) {
    ScopedKey key;
    const Octets der = fromHex(readScript("rsa_keys.txt").front().values.at("rsa512Private"));
    ASSERT_EQ(AsymKey_FromPkcs8Der(der.data(), static_cast<std::uint32_t>(der.size()), key.get()), OK);
    const RSAKey& rsa = *asymKeyRsa(key.get());
    std::vector<Octets> secrets;
    for (const vlong* value : {rsa.p, rsa.q, rsa.dP, rsa.dQ, rsa.qInv}) {
        secrets.push_back(octetsOf(value->units, value->length));
        secrets.push_back(reversed(secrets.back(), secrets.back().size()));
    }
    FakeJni jni;
    jni.criticalPins = true;
    const jbyteArray keyBytes = jni.newBytes(der), message = jni.newBytes({'a', 'b', 'c'});
    ZelShaWithRsaSignature engine(kSignatureSha256);
    expectNone(stackAfter([&]() -> Status {
                   engine.initSign(jni.env(), nullptr, keyBytes);
                   engine.update(jni.env(), nullptr, message, 0, 3);
                   return engine.sign(jni.env(), nullptr) == nullptr ? ERR_GENERAL : OK;
               }),
               secrets);
    EXPECT_EQ(jni.takePending(), "");
    // Nor where no deeper frame comes behind the products.
    const std::function<Status()> parts[] = {
        [&]() -> Status {
            ScopedVlong result(nullptr);
            return Rsa_PrivateCrt(&rsa, rsa.qInv, result.out(), nullptr);
        },
        [&]() -> Status {
            ScopedKey loaded;
            return AsymKey_FromPkcs8Der(der.data(), static_cast<std::uint32_t>(der.size()), loaded.get());
        },
    };
    for (const auto& part : parts) {
        SCOPED_TRACE(&part - parts);
        expectNone(stackAfter(part), secrets);
    }
    // The words of a divisor that a division works with all along.
    const auto division = [&rsa] {
        ScopedVlong rest(nullptr);
        return VLONG_mod(rsa.n, rsa.p, rest.out(), nullptr);
    };
    expectNone(stackAfter(division), {octetsOf(rsa.p->units + rsa.p->length - 2, 2)});
}

// The message schedule of SHA-512, for which no processor has registers enough, and the state that a message finds.
TEST(Stack, OfAHash) {
    const auto sigma = [](std::uint64_t x, int first, int second, int shift) {
        return std::rotr(x, first) ^ std::rotr(x, second) ^ x >> shift;
    };
    std::uint64_t state[8] = {}, w[80];
    for (std::size_t t = 0; t < 80; ++t) {
        w[t] = t < 16 ? 0x0123456789ABCDEF * (t + 1)
                      : w[t - 16] + sigma(w[t - 15], 1, 8, 7) + w[t - 7] + sigma(w[t - 2], 19, 61, 6);
    }
    const Octets block = reversed(octetsOf(w, 16), 8);
    for (const Kernel<Sha512Compress>& kernel : sha512Kernels()) {
        if (kernel.isSupported()) {
            SCOPED_TRACE(kernel.name);
            std::fill_n(state, 8, 0xFEDCBA9876543210);
            const Octets before = octetsOf(state, 8);
            const auto stack = stackAfter([&] {
                std::copy_n(reinterpret_cast<const std::uint64_t*>(before.data()), 8, state);
                kernel.run(state, block.data(), 1);
                return OK;
            });
            expectNone(stack, {octetsOf(w, 80), block, before, octetsOf(state, 8)});
        }
    }
}

TEST(Stack, OfTheRandomGenerator) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    FakeJni jni;
    RandomContext* const context = ZelObject::getRandomContext(jni.env());
    testheap::keep(4);
    const auto stack = stackAfter([&] {
        std::uint8_t bytes[100];
        return randomGenerate(context, bytes, 100);
    });
    std::uint64_t words[Xkey::kWords];
    context->state.xkey.asBlock(words);
    const Octets key = octetsOf(words, 8); // its upper words are those of the last rounds
    expectNone(stack, {key, reversed(key, 64)});
}

} // namespace
