// The RSA signature engine through its entry points, and its native paths.
#include "bridge/zel_sha_with_rsa_signature.h"
#include "tests/bridge/signature_fixture.h"

#include <climits>

DECLARE_SIGNATURE_ENTRIES(ZelSha1WithRsaSignatureSpi);
DECLARE_SIGNATURE_ENTRIES(ZelSha256WithRsaSignatureSpi);

namespace {

// Signatures of "abc": the right one, one that is wrong where a comparison of the first bytes does not reach, and one
// that is wrong in the last byte that it sees.
struct Signatures {
    const char *right, *wrongTail, *wrongHead;
};

struct RsaVector {
    int bits;
    const char *publicKey, *privateKey;
    Signatures sha1, sha256;
};

const RsaVector kKeys[] = {
#define RSA_KEY(bits, publicKey, privateKey, right1, tail1, head1, right256, tail256, head256)                         \
    {bits, publicKey, privateKey, {right1, tail1, head1}, {right256, tail256, head256}},
#include "tests/bridge/rsa_vectors.inc"
#undef RSA_KEY
};
const RsaVector &kRsa512 = kKeys[1], &kRsa1024 = kKeys[2];

const char* const kDsaPrivateKey =
#define DSA_KEY(publicKey, otherAlgorithm, privateKey, signature) privateKey;
#include "tests/bridge/dsa_example.inc"
#undef DSA_KEY

    class RsaSignature : public SignatureTest {
protected:
    struct Kind {
        const SignatureEntryPoints& points;
        SignatureDigestType type;
        Signatures RsaVector::*signatures;
    };
    const Kind kinds[2] = {{ZelSha1WithRsaSignatureSpi, kSignatureSha1, &RsaVector::sha1},
                           {ZelSha256WithRsaSignatureSpi, kSignatureSha256, &RsaVector::sha256}};
    const std::string kInvalid = kSignature + "invalid signature";

    // A fresh engine of the class.
    void use(const Kind& kind) {
        if (entries != nullptr) {
            entries->destroy(env, object);
        }
        entries = &kind.points;
    }
    void initSign(const RsaVector& key) {
        entries->initSign(env, object, jni.newHex(key.privateKey));
    }
    void initVerify(const RsaVector& key) {
        entries->initVerify(env, object, jni.newHex(key.publicKey));
    }
};

TEST_F(RsaSignature, SignsAndVerifies) {
    for (const Kind& kind : kinds) {
        use(kind);
        for (const RsaVector& key : kKeys) {
            SCOPED_TRACE(testing::Message() << key.bits << " bits");
            const Signatures& signatures = key.*kind.signatures;
            initSign(key);
            updateAbc();
            const jbyteArray signature = entries->sign(env, object);
            const jint k = static_cast<jint>(FakeJni::of(signature).bytes.size());
            EXPECT_EQ(k, (key.bits + 7) / 8);
            if (kind.type == kSignatureSha256 && key.bits == 488) {
                EXPECT_EQ(jni.takePending(), kSignature + "message too long");
                EXPECT_EQ(FakeJni::of(signature).bytes, Bytes(61)) << "the array is returned all the same";
            } else {
                EXPECT_EQ(FakeJni::hexOf(signature), signatures.right);
                EXPECT_EQ(entries->sign(env, object), nullptr) << "the key is gone";
                EXPECT_EQ(jni.takePending(), kNotForSigning);
                initSign(key);
                updateAbc();
                const jbyteArray output = jni.newBytes(Bytes(static_cast<std::size_t>(k) + 7, 0x55));
                EXPECT_EQ(entries->signInto(env, object, output, 4, k + 9), k); // the length says more than there is
                EXPECT_EQ(FakeJni::hexOf(output), "55555555" + std::string(signatures.right) + "555555");
            }
            initVerify(key);
            EXPECT_EQ(verdict(signatures.right), "true");
            EXPECT_EQ(entries->verify(env, object, jni.newHex(signatures.right)), JNI_FALSE) << "the key is gone";
            EXPECT_EQ(jni.takePending(), kNotForVerifying);
            for (const char* const wrong : {signatures.wrongTail, signatures.wrongHead}) {
                initVerify(key);
                EXPECT_EQ(verdict(wrong), "false");
            }
        }
    }
}

TEST_F(RsaSignature, WithoutAnEngineOrAKey) {
    const std::string none = kProvider + "sig engine not intialized : ERR_NULL_POINTER";
    for (const Kind& kind : kinds) {
        use(kind);
        expectRefused(none, none, none, JNI_TRUE);
        entries->initSign(env, object, nullptr);
        EXPECT_EQ(jni.takePending(), kNullArray);
        expectRefused(kSignature + "signature not initialized", kNotForSigning, kNotForVerifying, JNI_FALSE);
    }
}

TEST_F(RsaSignature, UnreadableKeys) {
    use(kinds[0]);
    for (const auto& [key, status] : {std::pair{std::string(), "ERR_EOF"},
                                      {kDsaPrivateKey, "ERR_BAD_KEY_TYPE"},
                                      {kRsa512.publicKey, "ERR_RSA_INVALID_PKCS8"}}) {
        initVerify(kRsa512); // the engine has had a key before
        entries->initSign(env, object, jni.newHex(key));
        EXPECT_EQ(jni.takePending(), kProvider + "unable to read rsa private key : " + status);
        expectRefused(kSignature + "signature not initialized", kNotForSigning, kNotForVerifying, JNI_FALSE);
    }
    entries->initVerify(env, object, jni.newHex("3000"));
    EXPECT_EQ(jni.takePending(), kProvider + "unable to read rsa public key : ERR_RSA_INVALID_PKCS1");
    expectRefused(kSignature + "signature not initialized", kNotForSigning, kNotForVerifying, JNI_FALSE);
    // A public key where a private one belongs is read, and then cannot sign.
    entries->initSign(env, object,
                      jni.newHex("305e020100300d06092a864886f70d0101010500044a" + std::string(kRsa512.publicKey)));
    for (int i = 0; i < 2; ++i) { // a failure leaves the engine initialised
        entries->sign(env, object);
        EXPECT_EQ(jni.takePending(),
                  kSignature + "error generating integer representative signature : ERR_RSA_KEY_NOT_READY");
    }
}

TEST_F(RsaSignature, RefusalsOfSign) {
    struct Case {
        jint room, offset, length;
        const std::string raised;
    };
    const std::string tooShort = kSignature + "output buffer space is insufficient";
    const Case cases[] = {
        {64, 0, 63, tooShort},
        {64, 9, -1, tooShort},
        {63, 0, 64, kOutside},
        {64, 1, 64, kOutside},
        {64, -1, 64, kOutside},
        {64, INT_MAX, 64, kOutside},
        {64, INT_MIN, INT_MAX, kOutside},
        {-1, 0, 64, kNullArray},
    };
    use(kinds[1]);
    initSign(kRsa512);
    updateAbc();
    for (const Case& c : cases) {
        const jbyteArray output = c.room < 0 ? nullptr : jni.newBytes(Bytes(static_cast<std::size_t>(c.room)));
        EXPECT_EQ(entries->signInto(env, object, output, c.offset, c.length), 0);
        EXPECT_EQ(jni.takePending(), c.raised);
    }
    EXPECT_EQ(entries->verify(env, object, nullptr), JNI_FALSE);
    EXPECT_EQ(jni.takePending(), kNotForVerifying);
    EXPECT_EQ(FakeJni::hexOf(entries->sign(env, object)), kRsa512.sha256.right) << "the hash is untouched by all this";
}

TEST_F(RsaSignature, RefusalsOfVerify) {
    const std::string right = kRsa512.sha1.right;
    struct Case {
        std::string signature;
        jint offset, length;
        const std::string& raised;
    };
    const Case cases[] = {
        {right.substr(2), 0, 63, kInvalid}, {right + "00", 0, 65, kInvalid}, {right, 1, 64, kInvalid},
        {right, INT_MAX, 64, kInvalid},     {right, 0, -64, kInvalid},       {right, INT_MIN, INT_MIN, kInvalid},
        {right, -1, 64, kOutside},          {right, INT_MIN, 64, kOutside},
    };
    use(kinds[0]);
    initVerify(kRsa512);
    updateAbc();
    for (const Case& c : cases) {
        EXPECT_EQ(entries->verifySlice(env, object, jni.newHex(c.signature), c.offset, c.length), JNI_FALSE);
        EXPECT_EQ(jni.takePending(), c.raised);
    }
    EXPECT_EQ(entries->verify(env, object, nullptr), JNI_FALSE);
    EXPECT_EQ(jni.takePending(), kNullArray);
    EXPECT_EQ(entries->verifySlice(env, object, jni.newHex("ff" + right), 1, 64), JNI_TRUE) << "the hash is untouched";
}

// Moduli of 1, 0, 1, 33 and 36 bytes: a status or a verdict, and nothing outside a buffer.
TEST_F(RsaSignature, OddModuli) {
    for (const Kind& kind : kinds) {
        use(kind);
        for (const auto& [der, k, expected] : {std::tuple{std::string("300602010b020103"), 1, std::string("false")},
                                               {"3006020100020103", 0, kInvalid + " : ERR_BAD_MODULO"},
                                               {"3006020101020103", 1, "false"},
                                               {"3027022200" + std::string(66, 'f') + "020103", 33, "false"},
                                               {"302a022500" + std::string(72, 'e') + "020103", 36, "false"}}) {
            SCOPED_TRACE(der);
            entries->initVerify(env, object, jni.newHex(der));
            EXPECT_EQ(verdict(std::string(static_cast<std::size_t>(2 * k), '1')), expected);
            const std::vector<std::uint8_t> key = fromHex(der), signature(40, 0x11);
            ZelShaWithRsaSignature engine(kind.type);
            ASSERT_EQ(engine.nativeInitVerify(static_cast<int>(key.size()), key.data()), OK);
            EXPECT_LT(engine.nativeVerify(signature.data(), 0, k), OK);
        }
    }
}

TEST_F(RsaSignature, NativePaths) {
    for (const Kind& kind : kinds) {
        const Signatures& signatures = kRsa1024.*kind.signatures;
        const std::vector<std::uint8_t> key = fromHex(kRsa1024.publicKey), abc = {'x', 'a', 'b', 'c'};
        const auto keyLength = static_cast<int>(key.size());
        ZelShaWithRsaSignature engine(kind.type);
        const auto verify = [&](const char* hex) -> Status {
            const std::vector<std::uint8_t> signature = fromHex("ff" + std::string(hex));
            EXPECT_EQ(engine.nativeInitVerify(keyLength, key.data()), OK);
            EXPECT_EQ(engine.nativeUpdate(abc.data(), 1, 3), OK);
            return engine.nativeVerify(signature.data(), 1, -7);
        };
        EXPECT_EQ(engine.nativeUpdate(abc.data(), 1, 3), ERR_GENERAL);
        EXPECT_EQ(engine.nativeVerify(abc.data(), 0, 0), ERR_INTERNAL_ERROR);
        EXPECT_EQ(verify(signatures.right), OK);
        EXPECT_EQ(engine.nativeUpdate(abc.data(), 1, 3), ERR_GENERAL) << "the key is gone";
        EXPECT_EQ(verify(signatures.wrongTail), OK) << "only the first bytes of the DigestInfo are compared";
        EXPECT_EQ(verify(signatures.wrongHead), ERR_RSA_BAD_SIGNATURE);
        EXPECT_EQ(engine.nativeUpdate(abc.data(), 1, 3), ERR_GENERAL) << "the key is gone";
        EXPECT_EQ(engine.nativeInitVerify(keyLength, key.data()), OK);
        EXPECT_EQ(engine.nativeVerify(key.data(), 1, 0), ERR_RSA_DECRYPTION);
        EXPECT_EQ(engine.nativeVerify(nullptr, 0, 0), ERR_NULL_POINTER);
        EXPECT_EQ(engine.nativeUpdate(abc.data(), 1, 3), OK) << "a signature that cannot be opened leaves the key";
        EXPECT_EQ(engine.nativeInitVerify(-1, key.data()), ERR_INVALID_ARG);
        EXPECT_EQ(engine.nativeUpdate(abc.data(), 1, 3), ERR_GENERAL);
        EXPECT_EQ(engine.nativeInitSign(keyLength, key.data()), ERR_RSA_INVALID_PKCS8);
        EXPECT_EQ(engine.nativeSign(nullptr, 0, 0), ERR_INTERNAL_ERROR);
    }
}

TEST_F(RsaSignature, RefusalsOfTheVm) {
    use(kinds[0]);
    for (bool FakeJni::*const refusal : {&FakeJni::newByteArrayGivesNull, &FakeJni::criticalFails}) {
        initSign(kRsa512);
        jni.*refusal = true;
        entries->sign(env, object);
        EXPECT_EQ(jni.takePending(), kNoMemory);
        jni.*refusal = false;
    }
    initSign(kRsa512);
    updateAbc();
    jni.criticalFails = true;
    entries->sign(env, object);
    jni.criticalFails = false;
    jni.takePending();
    const jbyteArray signature = entries->sign(env, object); // of nothing, as the hash is spent
    initVerify(kRsa512);
    jni.criticalFails = true;
    EXPECT_EQ(entries->verify(env, object, signature), JNI_FALSE);
    EXPECT_EQ(jni.takePending(), kNoMemory);
    jni.criticalFails = false;
    EXPECT_EQ(entries->verify(env, object, signature), JNI_TRUE);
}

} // namespace
