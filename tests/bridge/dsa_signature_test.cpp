// The DSA signature engine through its entry points, and the DER that it reads and writes. The known answer is the
// example of FIPS 186-2, appendix 5.
#include "bridge/dsa_der.h"
#include "bridge/zel_object.h"
#include "core/random/random.h"
#include "tests/bridge/signature_fixture.h"
#include "tests/support/faults.h"

#include <climits>

DECLARE_SIGNATURE_ENTRIES(ZelSha1WithDsaSignatureSpi);

namespace {

struct DsaVector {
    const char *publicKey, *otherAlgorithm, *privateKey, *signature;
};

const DsaVector kDsa =
#define DSA_KEY(...) {__VA_ARGS__};
#include "tests/bridge/dsa_example.inc"
#undef DSA_KEY

    const char* const kRsaPrivateKey =
#define RSA_KEY(bits, publicKey, privateKey, ...) bits == 512 ? privateKey:
#include "tests/bridge/rsa_vectors.inc"
        nullptr;
#undef RSA_KEY

class DsaSignature : public SignatureTest {
protected:
    DsaSignature() {
        entries = &ZelSha1WithDsaSignatureSpi;
    }
    void initSign() {
        entries->initSign(env, object, jni.newHex(kDsa.privateKey));
    }
    void initVerify() {
        entries->initVerify(env, object, jni.newHex(kDsa.publicKey));
    }
    // What a failing sign leaves: the step's exception below that of sign itself.
    std::string failedSign(const std::string& step, const char* status) const {
        return kSignature + "error calculating signature : " + status + " < " + kSignature + step;
    }
    static void SetUpTestSuite() {
        ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
        FakeJni jni;
        ASSERT_NE(ZelObject::getRandomContext(jni.env()), nullptr);
    }
};

TEST_F(DsaSignature, VerifiesTheExample) {
    const std::string right = kDsa.signature;
    for (const char* const key : {kDsa.publicKey, kDsa.otherAlgorithm}) { // whatever the algorithm is said to be
        entries->initVerify(env, object, jni.newHex(key));
        EXPECT_EQ(verdict(right), "true");
        EXPECT_EQ(entries->verify(env, object, jni.newHex(right)), JNI_FALSE) << "the key is gone";
        EXPECT_EQ(jni.takePending(), kNotForVerifying);
    }
    // Offset and length are not looked at, and neither are bytes behind the signature.
    for (const jint length : {10, -1, INT_MAX}) {
        initVerify();
        updateAbc();
        EXPECT_EQ(entries->verifySlice(env, object, jni.newHex(right), length / 2, length), JNI_TRUE);
    }
    initVerify();
    EXPECT_EQ(verdict(right + "ff"), "true");
}

TEST_F(DsaSignature, SignsWhatVerifies) {
    for (int round = 0; round < 20; ++round) {
        initSign();
        updateAbc();
        const jbyteArray output = jni.newBytes(Bytes(60, 0x55));
        const auto end = 9 + static_cast<std::size_t>(entries->signInto(env, object, output, 9, 57));
        const Bytes& area = FakeJni::of(output).bytes;
        EXPECT_EQ(Bytes(area.begin(), area.begin() + 9), Bytes(9, 0x55));
        EXPECT_EQ(Bytes(area.begin() + static_cast<std::ptrdiff_t>(end), area.end()), Bytes(60 - end, 0x55));
        EXPECT_EQ(entries->sign(env, object), nullptr) << "the key is gone";
        EXPECT_EQ(jni.takePending(), kNotForSigning);
        initVerify();
        EXPECT_EQ(verdict(FakeJni::hexOf(output).substr(18, 2 * end - 18)), "true");
        initSign();
        updateAbc();
        const std::string signature = FakeJni::hexOf(entries->sign(env, object));
        initVerify();
        EXPECT_EQ(verdict(signature), "true");
    }
}

TEST_F(DsaSignature, BadSignatures) {
    struct Case {
        std::string signature;
        std::string raised;
    };
    const std::string right = kDsa.signature, body = right.substr(4), ones(40, '1');
    const std::string size = kSignature + "invalid signature size", parsing = kSignature + "error parsing signature : ";
    const std::string verifying = kSignature + "error verifying signature";
    const std::string range = verifying + " : ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST";
    const Case cases[] = {
        {right.substr(0, 86), size},
        {right + "00000000", size},
        {"302c0214" + ones + "0214" + ones, verifying},
        {"302c0214" + std::string(40, '0') + "0214" + ones, range},
        {"302c0214" + ones + "0214" + std::string(40, 'f'), range},
        {"312d" + body, parsing + "ERR_PKCS7_INVALID_STRUCT"},
        {"302d04" + body.substr(2), parsing + "ERR_PKCS7_INVALID_STRUCT"},
        {"302d022b" + body.substr(4), parsing + "ERR_PKCS7_INVALID_STRUCT"}, // no s
        {"302d028f" + body.substr(4), parsing + "ERR_ASN_BAD_LENGTH_FIELD"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.signature);
        initVerify();
        EXPECT_EQ(verdict(c.signature), c.raised);
        if (c.raised == size) {
            EXPECT_EQ(entries->verify(env, object, jni.newHex(right)), JNI_TRUE) << "the hash is untouched";
        } else {
            EXPECT_EQ(verdict(right), "true") << "the key is still there";
        }
    }
    initVerify();
    EXPECT_EQ(entries->verify(env, object, nullptr), JNI_FALSE);
    EXPECT_EQ(jni.takePending(), kNullArray);
}

TEST_F(DsaSignature, RefusalsOfSign) {
    struct Case {
        jint room, offset, length;
    };
    for (const Case& c : {Case{60, 10, 50},
                          {60, 0, 44},
                          {44, 0, 60},
                          {60, 20, 90},
                          {60, 50, INT_MAX},
                          {60, -1, 60},
                          {60, INT_MIN, INT_MAX},
                          {60, INT_MAX, INT_MIN}}) {
        const jbyteArray output = jni.newBytes(Bytes(static_cast<std::size_t>(c.room)));
        initSign();
        EXPECT_EQ(entries->signInto(env, object, output, c.offset, c.length), 0);
        EXPECT_EQ(jni.takePending(), kSignature + "insufficient space for signature");
        EXPECT_EQ(FakeJni::of(output).bytes, Bytes(static_cast<std::size_t>(c.room)));
        EXPECT_EQ(entries->sign(env, object), nullptr) << "the signature is lost, and the key is gone";
        EXPECT_EQ(jni.takePending(), kNotForSigning);
    }
    // x = 1 leaves no room for a random k: it is 0, and s is.
    const std::string privateKey = kDsa.privateKey;
    entries->initSign(env, object,
                      jni.newHex(privateKey.substr(0, privateKey.size() - 40) + std::string(39, '0') + '1'));
    EXPECT_EQ(refused(entries->sign(env, object)),
              failedSign("error signing message, failed to verify", "ERR_PKCS7_INVALID_SIGNATURE"));
    initSign();
    EXPECT_EQ(entries->signInto(env, object, nullptr, 0, 60), 0);
    EXPECT_EQ(jni.takePending(), kNullArray);
    const Fault fault(PlatformService::mutexWait, 1); // waits once more
    jni.newByteArrayGivesNull = true;
    EXPECT_EQ(entries->sign(env, object), nullptr);
    EXPECT_EQ(jni.takePending(), kNoMemory);
}

TEST_F(DsaSignature, KeysThatCannotBeRead) {
    const std::string none = kProvider + "sig engine not intialized : ERR_NULL_POINTER";
    expectRefused(none, none, none, JNI_TRUE);
    for (const auto& [key, status] : {std::pair{kRsaPrivateKey, "ERR_BAD_KEY_TYPE"}, std::pair{"", "ERR_EOF"},
                                      std::pair{kDsa.publicKey, "ERR_RSA_INVALID_PKCS8"},
                                      std::pair{"301e020100301406072a8648ce3804013009020100020103020104" // p = 0
                                                "0403020102",
                                                "ERR_BAD_MODULO"}}) {
        entries->initSign(env, object, jni.newHex(key));
        EXPECT_EQ(jni.takePending(), kProvider + "unable to read dsa private key : " + status);
        updateAbc(); // initialised for signing all the same
        EXPECT_EQ(entries->sign(env, object), nullptr);
        EXPECT_EQ(jni.takePending(), failedSign("error signing message : ERR_NULL_POINTER", "ERR_INTERNAL_ERROR"));
    }
    const std::string structure = "ERR_CERT_INVALID_STRUCT", algorithm = "06072a8648ce380401";
    const std::string info = "3014" + algorithm + "3009020107020103020104"; // p = 7, q = 3, g = 4
    for (const auto& [key, status] : {std::pair{std::string("020100"), structure},
                                      {"300b3009" + algorithm, structure},                      // no parameters
                                      {"30133011" + algorithm + "3006020107020103", structure}, // no g
                                      {"3016" + info, structure},                               // no key
                                      {"301a" + info + "04020102", structure},                  // not a BIT STRING
                                      {"301b" + info + "0303000400", structure},                // not an INTEGER in it
                                      {"3019" + info + "030100", "ERR_EOF"}}) {
        SCOPED_TRACE(key);
        entries->initVerify(env, object, jni.newHex(key));
        EXPECT_EQ(jni.takePending(), kProvider + "unable to read dsa public key : " + status);
        expectRefused(kSignature + "signature not initialized", kNotForSigning, kNotForVerifying, JNI_FALSE);
    }
}

// Public values that only strangers have: no signature is right, and nothing runs for ever.
TEST_F(DsaSignature, OddPublicKeys) {
    const auto integer = [](unsigned value) {
        return value == 0 ? std::string("0200") : "0201" + toHex(std::vector{static_cast<std::uint8_t>(value)});
    };
    const auto item = [](const char* tag, const std::string& content) {
        return tag + toHex(std::vector{static_cast<std::uint8_t>(content.size() / 2)}) + content;
    };
    const unsigned numbers[] = {0, 1, 2, 3, 4, 7, 0x7F, 0xFF};
    for (const unsigned p : numbers) {
        for (const unsigned q : numbers) {
            for (const unsigned g : {0u, 1u, 4u, 0xFFu}) {
                const std::string algorithm =
                    item("30", "06072a8648ce380401" + item("30", integer(p) + integer(q) + integer(g)));
                entries->initVerify(env, object, jni.newHex(item("30", algorithm + item("03", "00" + integer(g)))));
                EXPECT_EQ(jni.takePending(), "");
                EXPECT_NE(verdict(kDsa.signature), "true");
            }
        }
    }
}

// Values with which a check, or the making of y, would never end, and the largest that are taken.
TEST_F(DsaSignature, LargeKeys) {
    const auto item = [](const char* tag, const std::string& content) {
        const std::size_t size = content.size() / 2;
        return tag + std::string("82") +
               toHex(std::vector{static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)}) + content;
    };
    const auto integer = [&](std::size_t bits) { // behind more zeros than DER has
        return item("02", "0000" + toHex(std::vector{static_cast<std::uint8_t>(1 << (bits - 1) % 8)}) +
                              std::string((bits - 1) / 8 * 2, '7'));
    };
    const auto raised = [&](const char* kind, const char* status) {
        EXPECT_EQ(jni.takePending(), *status == 0 ? "" : kProvider + "unable to read dsa " + kind + " key : " + status);
    };
    constexpr const char *kTaken = "", *kTooLong = "ERR_DSA_INVALID_KEYLENGTH";
    for (const auto& [p, q, x, forVerify, forSign] : {std::tuple{16384u, 4096u, 9u, kTaken, kTaken},
                                                      {9u, 9u, 4096u, kTaken, kTaken},
                                                      {16385u, 9u, 9u, kTooLong, kTooLong},
                                                      {9u, 4097u, 9u, kTooLong, kTooLong},
                                                      {9u, 9u, 4097u, kTaken, kTooLong}}) {
        const std::string algorithm =
            item("30", "06072a8648ce380401" + item("30", integer(p) + integer(q) + integer(9)));
        entries->initVerify(env, object, jni.newHex(item("30", algorithm + item("03", "00" + integer(x)))));
        raised("public", forVerify);
        entries->initSign(env, object, jni.newHex(item("30", "020100" + algorithm + item("04", integer(x)))));
        raised("private", forSign);
    }
}

TEST_F(DsaSignature, APublicKeyIsWholeOrAbsent) {
    const std::vector<std::uint8_t> der = fromHex(kDsa.publicKey);
    testheap::failEach([&] {
        AsymmetricKey key{};
        const Status status = parseDSAPublicKey(der.data(), static_cast<std::uint32_t>(der.size()), &key);
        EXPECT_EQ(key.type, isError(status) ? kKeyEmpty : kKeyDsa);
        (void)AsymKey_Uninit(&key, nullptr); // there may be none
        return status;
    });
}

} // namespace
