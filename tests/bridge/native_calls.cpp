// What native callers do with the engine classes, as entry points for scripts.
#include "tests/bridge/script.h"

#include "bridge/key_pair_steps.h"
#include "bridge/short_calls.h"
#include "bridge/zel_sha_with_rsa_signature.h"
#include "bridge/zel_util.h"
#include "core/pubkey/dsa/dsa_der.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"

#include <cstdio>

// The linker puts these in place of the originals (--wrap): hashing a file never fails by itself, nor does reading.
extern "C" int __real__ZN22ZelShaWithRsaSignature12nativeUpdateEPKhii(void*, const std::uint8_t*, int, int);
extern "C" int __wrap__ZN22ZelShaWithRsaSignature12nativeUpdateEPKhii(void* engine, const std::uint8_t* input,
                                                                      int offset, int length) {
    const int refusal = vmFaults("hash").strikes() ? ERR_INTERNAL_ERROR : vmFaults("oddHash").strikes() ? -1 : 0;
    return refusal != 0 ? refusal
                        : __real__ZN22ZelShaWithRsaSignature12nativeUpdateEPKhii(engine, input, offset, length);
}
extern "C" std::size_t __real_fread(void*, std::size_t, std::size_t, std::FILE*);
extern "C" std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* file) {
    if (vmFaults("read").strikes()) {
        (void)std::fputc(0, file); // cannot be written to, which sets its error flag
        return 0;
    }
    return __real_fread(to, size, count, file);
}

namespace {

std::uint8_t* pointerTo(jbyteArray array) {
    return array == nullptr ? nullptr : reinterpret_cast<std::uint8_t*>(FakeJni::of(array).bytes.data());
}

std::string textIn(jbyteArray array) {
    const std::vector<jbyte>& bytes = FakeJni::of(array).bytes;
    return {bytes.begin(), bytes.end()};
}

template <typename Engine> Engine& engineOf(jobject object) {
    return *reinterpret_cast<Engine*>(FakeJni::of(object).context0);
}

// Native callers built against the digest classes call by position in the table of virtual functions. In the C++ ABI of
// gcc and clang the destructor takes the first two places.
template <std::size_t kSlot, typename... Arguments> jint callSlot(jobject self, Arguments... arguments) {
    void** const slots = engineOf<void**>(self);
    return reinterpret_cast<int (*)(void*, Arguments...)>(slots[kSlot])(&engineOf<char>(self), arguments...);
}
jint digestReset(JNIEnv*, jobject self) {
    return callSlot<3>(self);
}
template <std::size_t kSlot, typename... Numbers>
jint digestBytes(JNIEnv*, jobject self, jbyteArray bytes, Numbers... numbers) {
    return callSlot<kSlot>(self, pointerTo(bytes), static_cast<int>(numbers)...);
}
jint digestRaw(JNIEnv* env, jobject self, jbyteArray output, jint length) {
    return callSlot<7>(self, env, self, pointerTo(output), static_cast<int>(length));
}

template <auto kMethod> jint rsaKey(JNIEnv*, jobject self, jbyteArray key, jint length) {
    return (engineOf<ZelShaWithRsaSignature>(self).*kMethod)(length, pointerTo(key));
}
template <auto kMethod> jint rsaBytes(JNIEnv*, jobject self, jbyteArray bytes, jint offset, jint length) {
    return (engineOf<ZelShaWithRsaSignature>(self).*kMethod)(pointerTo(bytes), offset, length);
}

jint checkFile(JNIEnv*, jobject, jbyteArray key, jint keyLength, jbyteArray path, jint pathLength) {
    return ZelUtil::checkFileSignature(pointerTo(key), keyLength, path == nullptr ? nullptr : textIn(path).c_str(),
                                       pathLength);
}

void throwOne(JNIEnv* env, jobject, jbyteArray className, jbyteArray message, jint status) {
    ZelObject::throwStaticException(env, textIn(className).c_str(), textIn(message).c_str(),
                                    static_cast<Status>(status));
}
// On top of a ProviderException or an OutOfMemoryError, "earlier".
void throwOver(JNIEnv* env, jobject object, jbyteArray earlierClass, jbyteArray className, jbyteArray message,
               jint status) {
    ZelObject::throwStaticException(env, textIn(earlierClass).c_str(), "earlier", OK);
    throwOne(env, object, className, message, status);
}
void dump(JNIEnv*, jobject, jbyteArray bytes) {
    ZelObject::hexdump(pointerTo(bytes), static_cast<std::uint32_t>(FakeJni::of(bytes).bytes.size()));
}

jbyteArray generateNothing(JNIEnv* env, jobject) {
    const auto nothing = [](const RandomBytes&, AsymmetricKey*, jint) -> Status {
        return OK;
    };
    return newKeyPair(env, 1024, {"", "", AsymKey_MakeRsa, nothing, RsaKey_ToDer});
}
// The key is whole, or absent.
jint parsePublicKey(JNIEnv*, jobject, jbyteArray der) {
    ScopedKey key;
    const std::size_t length = der == nullptr ? 9 : FakeJni::of(der).bytes.size();
    const Status status = parseDSAPublicKey(pointerTo(der), static_cast<std::uint32_t>(length), key.get());
    EXPECT_EQ(key.get()->type, isError(status) ? kKeyEmpty : kKeyDsa);
    return status;
}

// A method that the library registers with a VM; the type is the one that its Java signature stands for.
template <typename Function> EntryPoint registered(const std::string& type, const char* method) {
    static const auto natives = [] {
        FakeJni jni;
        registerShortCalls(jni.env());
        return jni.natives;
    }();
    return entryPoint(type + method, reinterpret_cast<Function*>(natives.at(method)));
}

} // namespace

std::vector<EntryPoint> allEntryPoints() {
    std::vector<EntryPoint> entries = exportedEntryPoints();
    entries.insert(
        entries.end(),
        {entryPoint("ZelUtil.check", checkFile), entryPoint("ZelObject.throwStaticException", throwOne),
         entryPoint("ZelObject.throwOver", throwOver), entryPoint("ZelObject.hexdump", dump),
         entryPoint("KeyPairSteps.generateNothing", generateNothing),
         entryPoint("DsaDer.parseDSAPublicKey", parsePublicKey),
         registered<jint(JNIEnv*, jclass, jint, jbyteArray, jint, jbyteArray, jint)>("ShortCalls.", "digest0"),
         registered<jint(JNIEnv*, jclass, jint, jbyteArray, jbyteArray, jint, jint)>("ShortCalls.", "cbc0"),
         registered<jint(JNIEnv*, jclass, jint, jbyteArray, jbyteArray, jint)>("ShortCalls.", "expandKey0"),
         registered<void(JNIEnv*, jclass, jbyteArray)>("ShortCalls.", "nextBytes0"),
         registered<jlong(JNIEnv*, jclass, jint)>("ShortCalls.", "address0")});
    for (const std::string name : {"ZelSha1", "ZelSha256"}) {
        const std::string digest = name + "MessageDigestSpi.", rsa = name + "WithRsaSignatureSpi.";
        using Rsa = ZelShaWithRsaSignature;
        entries.insert(entries.end(), {entryPoint(digest + "nativeReset", digestReset),
                                       entryPoint(digest + "nativeUpdate", digestBytes<6, jint, jint>),
                                       entryPoint(digest + "digest", digestRaw),
                                       entryPoint(digest + "nativeDigest", digestBytes<10, jint>),
                                       registered<void(JNIEnv*, jobject, jobject)>(digest, "copyEngine0"),
                                       entryPoint(rsa + "nativeInitVerify", rsaKey<&Rsa::nativeInitVerify>),
                                       entryPoint(rsa + "nativeInitSign", rsaKey<&Rsa::nativeInitSign>),
                                       entryPoint(rsa + "nativeUpdate", rsaBytes<&Rsa::nativeUpdate>),
                                       entryPoint(rsa + "nativeSign", rsaBytes<&Rsa::nativeSign>),
                                       entryPoint(rsa + "nativeVerify", rsaBytes<&Rsa::nativeVerify>)});
    }
    return entries;
}
