// The frame: exceptions and the hex dump.
#include "bridge/java_exceptions.h"
#include "tests/bridge/fake_jni_test.h"

#include <climits>
#include <numeric>

namespace {

class Frame : public FakeJniTest {
protected:
    void raise(const std::string& message, Status status = OK, const char* className = kProviderException) {
        ZelObject::throwStaticException(env, className, message.c_str(), status);
    }
};

TEST_F(Frame, ExceptionTexts) {
    const std::string longText(200, 'x');
    const auto check = [&](const std::string& message, std::int32_t status, const std::string& text) {
        raise(message, static_cast<Status>(status));
        EXPECT_EQ(jni.takePending(), "java/security/ProviderException: " + text);
    };
    check("bare", OK, "bare");
    check("error creating aes context", ERR_AES, "error creating aes context : ERR_AES");
    check("no name", -7104, "no name : -7104");
    check("positive", OK_SSL_USE_EMPTY_CERT, "positive : OK_SSL_USE_EMPTY_CERT");
    check(longText, OK, longText.substr(0, 110));
    check(longText, ERR_NULL_POINTER, longText.substr(0, 60) + " : ERR_NULL_POINTER");
    check(longText, INT_MIN, longText.substr(0, 110) + " : -2147483648");
}

TEST_F(Frame, AnEarlierExceptionBecomesTheCauseButErrorsOfTheVmStand) {
    raise("low", ERR_EOF);
    raise("high", OK, kDigestException);
    EXPECT_EQ(jni.takePending(),
              "java/security/DigestException: high < java/security/ProviderException: low : ERR_EOF");
    raise("heap", OK, kOutOfMemoryError);
    jni.classNotFound = "java/lang/Error"; // that is pending all the same
    raise("later", ERR_EOF);
    EXPECT_EQ(jni.takePending(), "java/lang/OutOfMemoryError: heap");
}

TEST_F(Frame, ExceptionsThatCannotBeRaised) {
    raise("low");
    jni.throwNewFails = true;
    testing::internal::CaptureStderr();
    raise("high", ERR_EOF);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "unable to throw exception: high : ERR_EOF\n");
    EXPECT_EQ(jni.takePending(), "java/security/ProviderException: low");
    jni.throwNewFails = false;
    raise("low");
    jni.throwNewRunsOut = true;
    raise("high");
    EXPECT_EQ(jni.takePending(), "java/lang/OutOfMemoryError: Java heap space + java/security/ProviderException: low");
    jni.throwNewRunsOut = false;
    raise("low");
    jni.classNotFound = kDigestException;
    raise("high", OK, kDigestException);
    EXPECT_EQ(jni.takePending(), std::string("java/lang/NoClassDefFoundError: ") + kDigestException +
                                     " + java/security/ProviderException: low");
}

std::string dumped(const std::vector<std::uint8_t>& bytes) {
    testing::internal::CaptureStdout();
    ZelObject::hexdump(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r'); // text mode on Windows
    return text;
}

TEST_F(Frame, HexDump) {
    EXPECT_EQ(dumped({}), "");
    EXPECT_EQ(dumped({0x00, 0x1F, 0x20, 0x41, 0x7E, 0x7F, 0x80, 0xFF}),
              "0x000000: 00 1f 20 41 7e 7f 80 ff                         .. A~...        \n");
    std::vector<std::uint8_t> seventeen(17);
    std::iota(seventeen.begin(), seventeen.end(), std::uint8_t{'a'});
    EXPECT_EQ(dumped(seventeen), "0x000000: 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70 abcdefghijklmnop\n"
                                 "0x000010: 71 " +
                                     std::string(15 * 3, ' ') + "q" + std::string(15, ' ') + "\n");
}

} // namespace
