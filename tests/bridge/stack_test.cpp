// What stays on the stack of a thread when an engine or an operation has returned to it.
#include "bridge/aes_cbc_stream.h"
#include "bridge/zel_object.h"
#include "capi/zel.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/hash/sha_kernels.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "core/random/internal/fips186.h"
#include "core/random/random.h"
#include "tests/bridge/script.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <pthread.h>

namespace {

using Work = std::function<Status()>;

// The stack of a thread of its own on which work() has run for the third time, so deep that nothing overwrites its frames when it
// has returned: the linker, which looks a function up at its first call, saves the registers on the stack, and the first use does
// not yet free what an earlier one left.
std::vector<std::uint64_t> stackAfter(const Work& work) {
    std::vector<std::uint64_t> stack;
    for (int round = 0; round < 3; ++round) {
        stack.assign(1 << 15, 0);
        pthread_attr_t attributes;
        pthread_t thread{};
        EXPECT_EQ(pthread_attr_init(&attributes), 0);
        EXPECT_EQ(pthread_attr_setstack(&attributes, stack.data(), stack.size() * sizeof stack[0]), 0);
        const auto run = [](void* argument) -> void* {
            volatile char room[8192];
            room[0] = 1;
            const Status status = (*static_cast<const Work*>(argument))();
            room[sizeof room - 1] = room[0];
            return reinterpret_cast<void*>(static_cast<std::intptr_t>(status));
        };
        void* status = nullptr;
        EXPECT_EQ(pthread_create(&thread, &attributes, run, const_cast<Work*>(&work)), 0);
        EXPECT_EQ(pthread_join(thread, &status), 0);
        EXPECT_EQ(status, nullptr); // OK
    }
    return stack;
}

template <typename Word> Bytes octetsOf(const Word* words, std::size_t count) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(words);
    return Bytes(bytes, bytes + count * sizeof(Word));
}

Bytes reversed(Bytes octets, std::size_t size) {
    for (auto at = octets.begin(); at != octets.end(); at += static_cast<std::ptrdiff_t>(size)) {
        std::reverse(at, at + static_cast<std::ptrdiff_t>(size));
    }
    return octets;
}

// No eight bytes in a row of any secret stay behind.
void expectNone(const std::vector<std::uint64_t>& words, const std::vector<Bytes>& secrets) {
    const Bytes stack = octetsOf(words.data(), words.size());
    for (const Bytes& secret : secrets) {
        for (auto at = secret.begin(); secret.end() - at >= 8; ++at) {
            EXPECT_EQ(std::search(stack.begin(), stack.end(), at, at + 8), stack.end())
                << "byte " << at - secret.begin() << " of " << secret.size();
        }
    }
}

TEST(Stack, OfTheCipher) {
    const Bytes key = bytesOf("5:8:32"), message = bytesOf("5:168:40+c9*13+5:17:947");
    AesContext context;
    ASSERT_EQ(aesInitKey(&context, 256, key.data(), 0, kAesModeCbc), OK);
    const Bytes encrypting = octetsOf(context.encryptRoundKeys, 60), decrypting = octetsOf(context.roundKeys, 60);
    const std::uint8_t iv[kAesBlockBytes] = {}, *const from = message.data();
    Bytes sent(1008), output(1400);
    AesCbcStream whole, encrypt, decrypt;
    ASSERT_EQ(whole.init(AesCbcStream::kEncryptMode, iv, key.data()), OK);
    ASSERT_EQ(whole.encryptFinal(from, 1000, sent.data()), OK);
    FakeJni jni;
    jni.criticalPins = true;
    const auto keyArray = jlong(jni.newBytes(key)), state = jlong(jni.newBytes(Bytes(256))),
               blocks = jlong(jni.newBytes(message));
    const auto shortCall = [&jni](const char* name, const std::vector<jlong>& arguments) {
        return [&jni, arguments, &entry = *findEntryPoint(name, arguments.size())] {
            return entry.call(jni.env(), nullptr, arguments) > 0 ? OK : ERR_GENERAL;
        };
    };
    const Work calls[] = {
        shortCall("ShortCalls.expandKey0", {0, keyArray, state, 0}),
        shortCall("ShortCalls.expandKey0", {1, keyArray, state, 0}),
        shortCall("ShortCalls.cbc0", {1, state, blocks, 0, 992}),
        shortCall("ShortCalls.digest0", {32, keyArray, 32, blocks, 0}),
        [&] { return encrypt.init(AesCbcStream::kEncryptMode, iv, key.data()); },
        [&] { return encrypt.update(from, 0, 303, output.data()); },
        [&] { return encrypt.encryptFinal(from, 994, output.data()); }, // behind 13 pending bytes: 15 in the last block
        [&] { return decrypt.init(AesCbcStream::kDecryptMode, iv, key.data()); },
        [&]() -> Status {
            std::uint64_t size = 0;
            return decrypt.decryptFinal(sent.data(), 1008, output.data(), &size);
        },
        [&] {
            std::size_t size = 1400;
            return Status(zelAesCbcDecrypt(key.data(), 32, iv, sent.data(), 1008, output.data(), &size));
        },
    };
    for (const Work& call : calls) {
        SCOPED_TRACE(&call - calls);
        expectNone(stackAfter(call),
                   {key, message, encrypting, reversed(encrypting, 4), decrypting, reversed(decrypting, 4)});
    }
}

TEST(Stack, OfAnRsaKey) {
    ScopedKey key;
    const Bytes der = bytesOf(readScript("rsa_keys").front().values.at("rsa512Private"));
    const auto read = [&der](AsymmetricKey* to) {
        return AsymKey_FromPkcs8Der(der.data(), static_cast<std::uint32_t>(der.size()), to);
    };
    ASSERT_EQ(read(key.get()), OK);
    const RSAKey& rsa = *asymKeyRsa(key.get());
    std::vector<Bytes> secrets;
    for (const vlong* value : {rsa.p, rsa.q, rsa.dP, rsa.dQ, rsa.qInv}) {
        secrets.push_back(octetsOf(value->units, value->length));
        secrets.push_back(reversed(secrets.back(), secrets.back().size()));
    }
    const auto reading = [&] {
        ScopedKey again;
        return read(again.get());
    };
    const auto powers = [&] { // no deeper frame comes behind the products
        ScopedVlong result(nullptr);
        return Rsa_PrivateCrt(&rsa, rsa.qInv, result.out(), nullptr);
    };
    const auto division = [&] {
        ScopedVlong rest(nullptr);
        return VLONG_mod(rsa.n, rsa.p, rest.out(), nullptr);
    };
    expectNone(stackAfter(reading), secrets);
    expectNone(stackAfter(powers), secrets);
    expectNone(stackAfter(division), {octetsOf(rsa.p->units + rsa.p->length - 2, 2)}); // worked with all along
}

// The message schedule of SHA-512, for which no processor has registers enough, and the state that a message finds.
TEST(Stack, OfAHash) {
    const auto sigma = [](std::uint64_t x, int first, int second, int shift) {
        return std::rotr(x, first) ^ std::rotr(x, second) ^ x >> shift;
    };
    static std::uint64_t state[8];
    std::uint64_t w[80];
    for (std::size_t t = 0; t < 80; ++t) {
        w[t] = t < 16 ? 0x0123456789ABCDEF * (t + 1)
                      : w[t - 16] + sigma(w[t - 15], 1, 8, 7) + w[t - 7] + sigma(w[t - 2], 19, 61, 6);
    }
    const Bytes block = reversed(octetsOf(w, 16), 8), before(64, 0xFE);
    for (const Kernel<Sha512Compress>& kernel : sha512Kernels()) {
        if (kernel.isSupported()) {
            SCOPED_TRACE(kernel.name);
            const auto run = [&] {
                std::memcpy(state, before.data(), sizeof state);
                kernel.run(state, block.data(), 1);
                return OK;
            };
            const auto stack = stackAfter(run);
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
    const Bytes key = octetsOf(words, 8); // its upper words are those of the last rounds
    expectNone(stack, {key, reversed(key, 64)});
}

} // namespace
