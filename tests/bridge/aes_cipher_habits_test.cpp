// What the cipher engine does differently from what one would expect, and is depended upon for.
#include "tests/bridge/aes_cipher_fixture.h"

namespace {

class AesCipherHabits : public AesCipherTest {};

TEST_F(AesCipherHabits, UpdateKeepsBytesCountedFromTheStartOfTheArray) {
    const Bytes array = numbers(40);
    // 20 of 40 bytes from 7 on: 16 come out, and what stays is [16 .. 20), not [23 .. 27).
    start(kEncrypt);
    EXPECT_EQ(update(array, 7, 20), encrypted(slice(array, 7, 23)));
    const Bytes blocks = joined(slice(array, 7, 23), padded(slice(array, 16, 20)));
    EXPECT_EQ(doFinal({}), slice(encrypted(blocks), 16, 32));

    // Less than a block without pending bytes: [0 .. 5), not [7 .. 12).
    start(kEncrypt);
    EXPECT_EQ(update(array, 7, 5), Bytes());
    EXPECT_EQ(doFinal({}), encrypted(padded(slice(array, 0, 5))));

    // Less than a block with pending bytes: appended from the slice.
    start(kEncrypt);
    update(array, 0, 5);
    EXPECT_EQ(update(array, 7, 5), Bytes());
    EXPECT_EQ(doFinal({}), encrypted(padded(joined(slice(array, 0, 5), slice(array, 7, 12)))));

    // With pending bytes and a whole block: 5 pending, 11 of the slice, then 9 from [11 .. 20).
    start(kEncrypt);
    update(array, 0, 5);
    const jbyteArray out = jni.newBytes(Bytes(20, 0x44));
    EXPECT_EQ(updateInto(jni.newBytes(array), 7, 20, out, 3), 16);
    const Bytes first = joined(slice(array, 0, 5), slice(array, 7, 18));
    EXPECT_EQ(FakeJni::of(out).bytes, joined(joined(Bytes(3, 0x44), encrypted(first)), {0x44}));
    EXPECT_EQ(doFinal({}), slice(encrypted(joined(first, padded(slice(array, 11, 20)))), 16, 32));
}

TEST_F(AesCipherHabits, InitKeepsPendingBytes) {
    const Bytes array = numbers(20);
    start(kEncrypt);
    update(array);
    init(kEncrypt);
    EXPECT_EQ(doFinal({9}), encrypted(padded(joined(slice(array, 16, 20), {9}))));
}

TEST_F(AesCipherHabits, DoFinalKeepsPendingBytesAndTheChain) {
    const Bytes array = numbers(4);
    start(kEncrypt);
    update(array);
    const Bytes first = doFinal({}), second = doFinal({1, 2});
    EXPECT_EQ(first, encrypted(padded(array)));
    EXPECT_EQ(second, encrypted(padded(joined(array, {1, 2})), first));

    start(kDecrypt);
    EXPECT_EQ(doFinal(first), array);
    EXPECT_EQ(doFinal(encrypted(padded(numbers(16)), first)), numbers(16));

    start(kDecrypt);
    update(slice(first, 0, 4));
    EXPECT_EQ(doFinal(slice(first, 4, 16)), array);
    EXPECT_EQ(refused(doFinalNew(jni.newBytes(slice(first, 4, 16)), 0, 12)), kBadPadding)
        << "the four bytes still count";
}

TEST_F(AesCipherHabits, DecryptingUpdateGivesTheLastBlockToo) {
    const Bytes message = padded(numbers(20)), ciphertext = encrypted(message);
    start(kDecrypt);
    EXPECT_EQ(update(ciphertext), message);
    EXPECT_EQ(refused(doFinalNew(jni.newBytes({}), 0, 0)), kBadSize);
}

// Only the last byte counts: 0 and more than a block are taken as they are, the other bytes of the padding may be
// anything. More than the message is refused; the byte is unsigned.
TEST_F(AesCipherHabits, PaddingIsItsLastByte) {
    for (const std::size_t size : {16u, 32u, 48u, 272u}) {
        for (const std::size_t before : {0u, 7u}) {
            for (int padding = 0; padding <= 255; padding += padding < 50 || padding > 240 ? 1 : 13) {
                SCOPED_TRACE(testing::Message() << size << " bytes, " << before << " pending, padding " << padding);
                Bytes message = numbers(size);
                message.back() = static_cast<jbyte>(padding);
                const Bytes ciphertext = encrypted(message);
                const jbyteArray rest = jni.newBytes(slice(ciphertext, before, size));
                const auto length = static_cast<jint>(size - before);
                const bool isGood = static_cast<std::size_t>(padding) <= size;
                const Bytes plaintext = isGood ? slice(message, 0, size - static_cast<std::size_t>(padding)) : Bytes();

                start(kDecrypt);
                update(slice(ciphertext, 0, before));
                const jbyteArray result = doFinalNew(rest, 0, length);
                EXPECT_EQ(jni.takePending(), isGood ? "" : kBadPadding);
                EXPECT_EQ(result != nullptr, isGood);
                EXPECT_EQ(isGood ? contents(result) : Bytes(), plaintext);

                start(kDecrypt);
                update(slice(ciphertext, 0, before));
                const jbyteArray out = jni.newBytes(Bytes(size + 9, 0x21));
                EXPECT_EQ(doFinalInto(rest, 0, length, out, 5), static_cast<jint>(plaintext.size()));
                EXPECT_EQ(jni.takePending(), isGood ? "" : kBadPadding);
                EXPECT_EQ(FakeJni::of(out).bytes,
                          joined(joined(Bytes(5, 0x21), plaintext), Bytes(size + 4 - plaintext.size(), 0x21)));

                // The chain goes on behind the message either way.
                start(kDecrypt);
                doFinalInto(jni.newBytes(ciphertext), 0, static_cast<jint>(size), out, 0);
                jni.takePending();
                EXPECT_EQ(update(encrypted(numbers(16), slice(ciphertext, size - 16, size))), numbers(16));
            }
        }
    }
}

} // namespace
