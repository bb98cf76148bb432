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
                    EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII_3BI)(env, object, array, kInAt,
                                                                   static_cast<jint>(rest.size()), array, outAt),
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
    EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII_3BI)(env, object, array, 0, 36, array, 4), 32);
    const Bytes ciphertext = encrypted(padded(message));
    EXPECT_EQ(slice(FakeJni::of(array).bytes, 4, 36), slice(ciphertext, 0, 32));
    EXPECT_EQ(doFinal({}), slice(ciphertext, 32, 48));
}

TEST_F(AesCipher, InitRefusesInThisOrder) {
    const auto bytes = [&](int count) {
        return count < 0 ? nullptr : jni.newBytes(Bytes(static_cast<std::size_t>(count)));
    };
    struct Case {
        jint mode;
        int ivBytes, keyBytes; // -1: null
        const char* pending;
    };
    for (const Case& c : {
             Case{0, -1, -1, "java/lang/UnsupportedOperationException: unsupported cipher mode"},
             {3, 16, 32, "java/lang/UnsupportedOperationException: unsupported cipher mode"},
             {kEncrypt, -1, 16, "java/lang/NullPointerException: key or iv is null"},
             {kDecrypt, 12, -1, "java/lang/NullPointerException: key or iv is null"},
             {kEncrypt, 12, 16, "java/security/InvalidAlgorithmParameterException: invalid iv provided"},
             {kEncrypt, 17, 32, "java/security/InvalidAlgorithmParameterException: invalid iv provided"},
             {kEncrypt, 16, 16, "java/security/InvalidKeyException: invalid key size"},
             {kEncrypt, 16, 33, "java/security/InvalidKeyException: invalid key size"},
         }) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << ", iv " << c.ivBytes << ", key " << c.keyBytes);
        AES_ENTRY(engineInit0)(env, object, c.mode, bytes(c.ivBytes), bytes(c.keyBytes));
        EXPECT_EQ(jni.takePending(), c.pending);
        EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII)(env, object, bytes(16), 0, 16), nullptr);
        EXPECT_EQ(jni.takePending(), "java/security/ProviderException: error creating aes context");
    }
    start(kEncrypt); // a refused init leaves the engine as it was
    AES_ENTRY(engineInit0)(env, object, kDecrypt, bytes(16), bytes(31));
    EXPECT_NE(jni.takePending(), "");
    EXPECT_EQ(doFinal({}), encrypted(padded({})));
}

TEST_F(AesCipher, WithoutAnEngineOrAContext) {
    const jbyteArray none = nullptr;
    const auto callAll = [&](const std::string& ofUpdate, const std::string& others) {
        EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII)(env, object, none, 9, 9), nullptr);
        EXPECT_EQ(jni.takePending(), ofUpdate);
        EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII_3BI)(env, object, none, 9, 9, none, 9), 0);
        EXPECT_EQ(jni.takePending(), others);
        EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII)(env, object, none, 9, 9), nullptr);
        EXPECT_EQ(jni.takePending(), others);
        EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII_3BI)(env, object, none, 9, 9, none, 9), 0);
        EXPECT_EQ(jni.takePending(), others);
    };
    callAll("java/security/ProviderException: aes engine not intialized : ERR_NULL_POINTER",
            "java/security/ProviderException: aes engine not initialized : ERR_NULL_POINTER");
    AES_ENTRY(engineInit0)(env, object, 0, none, none);
    EXPECT_NE(jni.takePending(), "");
    callAll("java/security/ProviderException: error creating aes context",
            "java/security/ProviderException: error creating aes context");
    AES_ENTRY(deleteContext0)(env, object);
    AES_ENTRY(deleteContext0)(env, object);
    callAll("java/security/ProviderException: aes engine not intialized : ERR_NULL_POINTER",
            "java/security/ProviderException: aes engine not initialized : ERR_NULL_POINTER");
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
    struct Case {
        bool isFinal;
        jint mode, offset, length, room, outOffset;
        const std::string& pending;
    };
    // Four bytes are pending; the input array has 60.
    const Case cases[] = {
        {false, kEncrypt, 0, 28, 31, 0, kUpdateTooShort},
        {false, kEncrypt, 0, 28, 32, 1, kUpdateTooShort},
        {false, kEncrypt, 0, 11, 0, 1, kUpdateTooShort}, // nothing would be written, behind the array's end
        {false, kEncrypt, 0, 28, 32, INT_MAX, kUpdateTooShort},
        {false, kEncrypt, 0, 28, 32, -1, kOutside},
        {false, kEncrypt, 0, 28, 32, INT_MIN, kOutside},
        {false, kDecrypt, 33, 28, 64, 0, kOutside},
        {false, kDecrypt, -1, 28, 0, 0, kOutside}, // the input's slice first
        {false, kDecrypt, 0, -1, 64, 0, kOutside},
        {false, kDecrypt, INT_MAX, 28, 64, 0, kOutside},
        {true, kEncrypt, 0, 28, 47, 0, kFinalTooShort},
        {true, kEncrypt, 0, 12, 32, 1, kFinalTooShort},
        {true, kEncrypt, 0, 12, 32, -1, kOutside},
        {true, kEncrypt, 61, 0, 64, 0, kOutside},
        {true, kDecrypt, 0, 27, 64, 0, kBadSize},
        {true, kDecrypt, 0, 0, 0, 9, kBadSize}, // the size before the room
        {true, kDecrypt, 0, 28, 31, 0, kFinalTooShort},
        {true, kDecrypt, 0, 28, 64, 33, kFinalTooShort},
        {true, kDecrypt, 0, 28, 64, INT_MIN, kOutside},
    };
    const Bytes message = numbers(64), ciphertext = encrypted(padded(message));
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.isFinal ? "doFinal" : "update") << ", mode " << c.mode << ", input "
                                        << c.offset << ", " << c.length << ", room " << c.room << ", " << c.outOffset);
        const Bytes& from = c.mode == kEncrypt ? message : ciphertext;
        start(c.mode);
        update(slice(from, 0, 4));
        const jbyteArray output = jni.newBytes(Bytes(static_cast<std::size_t>(c.room), 0x33));
        const auto entry = c.isFinal ? AES_ENTRY(engineDoFinal0___3BII_3BI) : AES_ENTRY(engineUpdate0___3BII_3BI);
        EXPECT_EQ(entry(env, object, jni.newBytes(slice(from, 4, 64)), c.offset, c.length, output, c.outOffset), 0);
        EXPECT_EQ(jni.takePending(), c.pending);
        EXPECT_EQ(FakeJni::of(output).bytes, Bytes(static_cast<std::size_t>(c.room), 0x33));
        EXPECT_EQ(doFinal(slice(from, 4, from.size())), c.mode == kEncrypt ? ciphertext : message);
    }
}

TEST_F(AesCipher, RefusalsOfTheArrayForms) {
    const jbyteArray array = jni.newBytes(numbers(20));
    for (const jint mode : {kEncrypt, kDecrypt}) {
        start(mode);
        for (const auto& entry : {&AES_ENTRY(engineUpdate0___3BII), &AES_ENTRY(engineDoFinal0___3BII)}) {
            EXPECT_EQ(entry(env, object, nullptr, -1, -1), nullptr);
            EXPECT_EQ(jni.takePending(), kNullArray);
            EXPECT_EQ(entry(env, object, array, 20, INT_MAX), nullptr);
            EXPECT_EQ(jni.takePending(), kOutside);
        }
        for (const auto& entry : {&AES_ENTRY(engineUpdate0___3BII_3BI), &AES_ENTRY(engineDoFinal0___3BII_3BI)}) {
            EXPECT_EQ(entry(env, object, nullptr, -1, -1, array, 0), 0);
            EXPECT_EQ(jni.takePending(), kNullArray);
            EXPECT_EQ(entry(env, object, array, -1, -1, nullptr, 0), 0); // both arrays before the slice
            EXPECT_EQ(jni.takePending(), kNullArray);
        }
    }
    for (const jint length : {0, 15, 17}) {
        EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII)(env, object, array, 0, length), nullptr);
        EXPECT_EQ(jni.takePending(), kBadSize);
    }
}

// With pending bytes the result of a full array would not fit any array. The arrays only claim their length: nothing
// may touch them.
TEST_F(AesCipher, ResultsLargerThanAnyArray) {
    const jbyteArray huge = jni.newBytes({}), output = jni.newBytes({});
    FakeJni::of(huge).claimedLength = FakeJni::of(output).claimedLength = INT_MAX;
    for (const jint mode : {kEncrypt, kDecrypt}) {
        start(mode);
        update({1});
        EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII)(env, object, huge, 0, INT_MAX), nullptr);
        EXPECT_EQ(jni.takePending(), kNoMemory);
        for (const jint outOffset : {0, -1, INT_MIN}) {
            EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII_3BI)(env, object, huge, 0, INT_MAX, output, outOffset), 0);
            EXPECT_EQ(jni.takePending(), kUpdateTooShort);
            EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII_3BI)(env, object, huge, 0, INT_MAX, output, outOffset), 0);
            EXPECT_EQ(jni.takePending(), kFinalTooShort);
        }
    }
    start(kEncrypt);
    EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII)(env, object, huge, 0, INT_MAX), nullptr);
    EXPECT_EQ(jni.takePending(), kNoMemory);
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
            EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII)(env, object, rest, 0, length), nullptr);
            EXPECT_NE(jni.takePending(), "");
            EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII)(env, object, rest, 0, length), nullptr);
            EXPECT_NE(jni.takePending(), "");
            *failure = false;
        }
        jni.criticalFails = true;
        EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII_3BI)(env, object, rest, 0, length, out, 0), 0);
        EXPECT_EQ(jni.takePending(), kNoMemory);
        EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII_3BI)(env, object, rest, 0, length, out, 0), 0);
        EXPECT_EQ(jni.takePending(), kNoMemory);
        init(mode);
        EXPECT_EQ(jni.takePending(), kNoMemory);
        jni.criticalFails = false;
        EXPECT_EQ(doFinal(slice(from, 3, from.size())), mode == kEncrypt ? ciphertext : message);
    }
}

// Allocations of a first init: the engine, its two buffers, the context.
TEST_F(AesCipher, RefusalsOfTheHeap) {
    testheap::refuse(1);
    init(kEncrypt);
    EXPECT_EQ(jni.takePending(), kNoMemory);
    EXPECT_EQ(jni.context0(object), 0);
    for (const std::uint64_t number : {2u, 3u}) { // what the engine could not get, its init gets
        testheap::refuse(number);
        start(kEncrypt);
        EXPECT_EQ(doFinal({}), encrypted(padded({})));
    }
    AES_ENTRY(deleteContext0)(env, object);
    testheap::refuse(4);
    init(kDecrypt);
    EXPECT_EQ(jni.takePending(), "java/security/ProviderException: error creating aes context : ERR_AES");
    EXPECT_FALSE(reinterpret_cast<ZelAes256Cipher*>(jni.context0(object))->isInitialized());
    EXPECT_EQ(AES_ENTRY(engineDoFinal0___3BII)(env, object, jni.newBytes({}), 0, 0), nullptr);
    EXPECT_EQ(jni.takePending(), "java/security/ProviderException: error creating aes context");
    init(kEncrypt);
    EXPECT_TRUE(reinterpret_cast<ZelAes256Cipher*>(jni.context0(object))->isInitialized());
    EXPECT_EQ(doFinal({}), encrypted(padded({})));
    testheap::refuse(1); // a repeated init that fails takes the old context away
    init(kEncrypt);
    EXPECT_EQ(jni.takePending(), "java/security/ProviderException: error creating aes context : ERR_AES");
    EXPECT_EQ(AES_ENTRY(engineUpdate0___3BII)(env, object, jni.newBytes({}), 0, 0), nullptr);
    EXPECT_EQ(jni.takePending(), "java/security/ProviderException: error creating aes context");
}

} // namespace
