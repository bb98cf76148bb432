// The cipher engine through its entry points: messages in pieces, arrays that are one, refusals.
#include "bridge/zel_aes256_cipher.h"
#include "tests/bridge/aes_cipher_fixture.h"

#include <climits>

namespace {

class AesCipher : public AesCipherTest {};

TEST_F(AesCipher, EveryLengthInEverySplit) {
    for (std::size_t size = 0; size <= 50; ++size) {
        const Bytes message = numbers(size), ciphertext = encrypted(padded(message));
        for (std::size_t split = 0; split <= size; ++split) {
            SCOPED_TRACE(testing::Message() << size << " bytes, split at " << split);
            start(kEncrypt);
            const Bytes first = update(slice(message, 0, split));
            EXPECT_EQ(first.size(), split / 16 * 16);
            EXPECT_EQ(joined(first, doFinal(slice(message, split, size))), ciphertext);
        }
        for (std::size_t split = 0; split < ciphertext.size(); ++split) {
            SCOPED_TRACE(testing::Message() << ciphertext.size() << " bytes back, split at " << split);
            start(kDecrypt);
            const Bytes first = update(slice(ciphertext, 0, split));
            EXPECT_EQ(joined(first, doFinal(slice(ciphertext, split, ciphertext.size()))), message);
        }
    }
}

// A whole message between other bytes, in and out of the same array at every distance, the array copied or not. Pending
// bytes shift the blocks against the array.
TEST_F(AesCipher, OneArrayForInputAndOutput) {
    constexpr jint kArea = 160, kInAt = 48;
    for (const bool pins : {false, true}) {
        jni.criticalPins = pins;
        for (const std::size_t before : {0u, 1u, 15u}) {
            const Bytes message = numbers(51), ciphertext = encrypted(padded(message));
            const Bytes head = slice(message, 0, before), cipherHead = slice(ciphertext, 0, before);
            for (jint outAt = 0; outAt + 64 <= kArea; outAt += outAt % 16 == 0 ? 1 : 5) {
                SCOPED_TRACE(testing::Message() << "pending " << before << ", output at " << outAt);
                for (const bool encrypts : {true, false}) {
                    const Bytes rest = encrypts ? slice(message, before, 51) : slice(ciphertext, before, 64);
                    const Bytes& to = encrypts ? ciphertext : message;
                    start(encrypts ? kEncrypt : kDecrypt);
                    EXPECT_EQ(update(encrypts ? head : cipherHead), Bytes());
                    const jbyteArray array = jni.newBytes(Bytes(kArea, 0x55));
                    Bytes& area = FakeJni::of(array).bytes;
                    std::copy(rest.begin(), rest.end(), area.begin() + kInAt);
                    Bytes expected = area;
                    std::copy(to.begin(), to.end(), expected.begin() + outAt);
                    EXPECT_EQ(doFinalInto(array, kInAt, static_cast<jint>(rest.size()), array, outAt),
                              static_cast<jint>(to.size()));
                    EXPECT_EQ(area, expected);
                }
            }
        }
    }
}

TEST_F(AesCipher, UpdateInOneArrayKeepsWhatItOverwrites) {
    jni.criticalPins = true;
    const Bytes message = numbers(40);
    start(kEncrypt);
    update(slice(message, 0, 4));
    const jbyteArray array = jni.newBytes(slice(message, 4, 40)); // 32 bytes come out over the tail of the input
    EXPECT_EQ(updateInto(array, 0, 36, array, 4), 32);
    const Bytes ciphertext = encrypted(padded(message));
    EXPECT_EQ(slice(FakeJni::of(array).bytes, 4, 36), slice(ciphertext, 0, 32));
    EXPECT_EQ(doFinal({}), slice(ciphertext, 32, 48));
}

TEST_F(AesCipher, InitRefusesInThisOrder) {
    const auto bytes = [&](int count) {
        return count < 0 ? nullptr : jni.newBytes(Bytes(static_cast<std::size_t>(count)));
    };
    const auto check = [&](jint mode, int ivBytes, int keyBytes, const char* pending) {
        SCOPED_TRACE(testing::Message() << "mode " << mode << ", iv " << ivBytes << ", key " << keyBytes);
        AES_ENTRY(engineInit0)(env, object, mode, bytes(ivBytes), bytes(keyBytes));
        EXPECT_EQ(jni.takePending(), pending);
        EXPECT_EQ(refused(updateNew(bytes(16), 0, 16)), kNotMade);
    };
#define INIT_CASE(...) check(__VA_ARGS__);
#include "tests/bridge/aes_cipher_cases.inc"
#undef INIT_CASE
    start(kEncrypt); // a refused init leaves the engine as it was
    AES_ENTRY(engineInit0)(env, object, kDecrypt, bytes(16), bytes(31));
    EXPECT_NE(jni.takePending(), "");
    EXPECT_EQ(doFinal({}), encrypted(padded({})));
}

TEST_F(AesCipher, WithoutAnEngineOrAContext) {
    const auto callAll = [&](const std::string& ofUpdate, const std::string& others) {
        EXPECT_EQ(refused(updateNew(nullptr, 9, 9)), ofUpdate);
        EXPECT_EQ(refused(updateInto(nullptr, 9, 9, nullptr, 9)), others);
        EXPECT_EQ(refused(doFinalNew(nullptr, 9, 9)), others);
        EXPECT_EQ(refused(doFinalInto(nullptr, 9, 9, nullptr, 9)), others);
    };
    const auto callAllWithoutAnEngine = [&] {
        callAll("java/security/ProviderException: aes engine not intialized : ERR_NULL_POINTER",
                "java/security/ProviderException: aes engine not initialized : ERR_NULL_POINTER");
    };
    callAllWithoutAnEngine();
    AES_ENTRY(engineInit0)(env, object, 0, nullptr, nullptr);
    EXPECT_NE(jni.takePending(), "");
    callAll(kNotMade, kNotMade);
    AES_ENTRY(deleteContext0)(env, object);
    AES_ENTRY(deleteContext0)(env, object);
    callAllWithoutAnEngine();
}

TEST_F(AesCipher, DeletingClearsTheBindingFirst) {
    start(kEncrypt);
    jni.onSetLongField = [live = testheap::liveBlocks()] {
        EXPECT_EQ(testheap::liveBlocks(), live);
    };
    AES_ENTRY(deleteContext0)(env, object);
    jni.onSetLongField = nullptr;
    EXPECT_EQ(jni.context0(object), 0);

    start(kEncrypt); // one that cannot be cleared stays bound and alive
    jni.fieldLookupsUntilFailure = 1;
    AES_ENTRY(deleteContext0)(env, object);
    EXPECT_EQ(jni.takePending(), "java/lang/NoSuchFieldError: context0");
    jni.fieldLookupsUntilFailure = -1;
    EXPECT_EQ(doFinal({}), encrypted(padded({})));
}

// Each refusal leaves output, chaining value and pending bytes alone: the message goes on as if nothing had been.
TEST_F(AesCipher, RefusalsOfTheOutputForms) {
    const Bytes message = numbers(64), ciphertext = encrypted(padded(message));
    int number = 0;
    const auto check = [&](auto form, jint mode, jint offset, jint length, std::size_t room, jint outOffset,
                           const std::string& pending) {
        SCOPED_TRACE(testing::Message() << "case " << ++number);
        const Bytes& from = mode == kEncrypt ? message : ciphertext;
        start(mode);
        update(slice(from, 0, 4));
        const jbyteArray input = jni.newBytes(slice(from, 4, 64)), output = jni.newBytes(Bytes(room, 0x33));
        EXPECT_EQ(refused((this->*form)(input, offset, length, output, outOffset)), pending);
        EXPECT_EQ(FakeJni::of(output).bytes, Bytes(room, 0x33));
        EXPECT_EQ(doFinal(slice(from, 4, from.size())), mode == kEncrypt ? ciphertext : message);
    };
#define OUTPUT_CASE(form, ...) check(&AesCipher::form, __VA_ARGS__);
#include "tests/bridge/aes_cipher_cases.inc"
#undef OUTPUT_CASE
}

TEST_F(AesCipher, RefusalsOfNullAndOfTheArrayForms) {
    const jbyteArray array = jni.newBytes(numbers(20));
    for (const jint mode : {kEncrypt, kDecrypt}) {
        start(mode);
        for (const auto form : {&AesCipher::updateNew, &AesCipher::doFinalNew}) {
            EXPECT_EQ(refused((this->*form)(nullptr, -1, -1)), kNullArray);
            EXPECT_EQ(refused((this->*form)(array, 20, INT_MAX)), kOutside);
        }
        for (const auto form : {&AesCipher::updateInto, &AesCipher::doFinalInto}) {
            EXPECT_EQ(refused((this->*form)(nullptr, -1, -1, array, 0)), kNullArray);
            EXPECT_EQ(refused((this->*form)(array, -1, -1, nullptr, 0)), kNullArray); // both arrays before the slice
        }
    }
    for (const jint length : {0, 15, 17}) {
        EXPECT_EQ(refused(doFinalNew(array, 0, length)), kBadSize);
    }
}

// With pending bytes the result of a full array would not fit any array. The arrays only claim their length: nothing
// may touch them.
TEST_F(AesCipher, ResultsLargerThanAnyArray) {
    const jbyteArray huge = jni.newBytes({}), output = jni.newBytes({});
    FakeJni::of(huge).claimedLength = FakeJni::of(output).claimedLength = INT_MAX;
    for (const jint mode : {kDecrypt, kEncrypt}) {
        start(mode);
        update({1});
        EXPECT_EQ(refused(updateNew(huge, 0, INT_MAX)), kNoMemory);
        for (const jint outOffset : {0, -1, INT_MIN}) {
            EXPECT_EQ(refused(updateInto(huge, 0, INT_MAX, output, outOffset)), kUpdateTooShort);
            EXPECT_EQ(refused(doFinalInto(huge, 0, INT_MAX, output, outOffset)), kFinalTooShort);
        }
    }
    EXPECT_EQ(refused(doFinalNew(huge, 0, INT_MAX)), kNoMemory);
}

TEST_F(AesCipher, RefusalsOfTheVm) {
    const Bytes message = numbers(35), ciphertext = encrypted(padded(message));
    for (const jint mode : {kEncrypt, kDecrypt}) {
        const Bytes& from = mode == kEncrypt ? message : ciphertext;
        start(mode);
        update(slice(from, 0, 3));
        const jbyteArray rest = jni.newBytes(slice(from, 3, from.size())), out = jni.newBytes(Bytes(64));
        const jint length = static_cast<jint>(from.size()) - 3;
        for (bool* const failure : {&jni.newByteArrayFails, &jni.criticalFails}) {
            *failure = true;
            EXPECT_NE(refused(updateNew(rest, 0, length)), "");
            EXPECT_NE(refused(doFinalNew(rest, 0, length)), "");
            *failure = false;
        }
        jni.criticalFails = true;
        EXPECT_EQ(refused(updateInto(rest, 0, length, out, 0)), kNoMemory);
        EXPECT_EQ(refused(doFinalInto(rest, 0, length, out, 0)), kNoMemory);
        init(mode);
        EXPECT_EQ(jni.takePending(), kNoMemory);
        jni.criticalFails = false;
        EXPECT_EQ(doFinal(slice(from, 3, from.size())), mode == kEncrypt ? ciphertext : message);
    }
}

// Allocations of a first init: the engine, its two buffers, the context.
TEST_F(AesCipher, RefusalsOfTheHeap) {
    heapFaults().arm(1);
    init(kEncrypt);
    EXPECT_EQ(jni.takePending(), kNoMemory);
    EXPECT_EQ(jni.context0(object), 0);
    for (const std::uint64_t number : {2u, 3u}) { // what the engine could not get, its init gets
        heapFaults().arm(number);
        start(kEncrypt);
        EXPECT_EQ(doFinal({}), encrypted(padded({})));
    }
    AES_ENTRY(deleteContext0)(env, object);
    for (const std::uint64_t number : {4u, 1u}) { // also a repeated init, which takes the old context away
        heapFaults().arm(number);
        init(kEncrypt);
        EXPECT_EQ(jni.takePending(), kNotMade + " : ERR_AES");
        EXPECT_FALSE(reinterpret_cast<ZelAes256Cipher*>(jni.context0(object))->isInitialized());
        EXPECT_EQ(refused(doFinalNew(jni.newBytes({}), 0, 0)), kNotMade);
        init(kEncrypt);
        EXPECT_EQ(doFinal({}), encrypted(padded({})));
    }
}

} // namespace
