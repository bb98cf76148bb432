// The instruction sets that a kernel function may use, as function attributes, and the intrinsics for them: ZEL_TARGET_CRYPTO
// for the instructions that ArmFeatures' aes, sha1 and sha256 stand for, ZEL_TARGET_SHA512 for those of sha512. Files with
// kernels are compiled like all others; only the functions marked here see the instructions.
#ifndef ZELSPI_CORE_CPU_ARM_TARGET_H
#define ZELSPI_CORE_CPU_ARM_TARGET_H

#include <bit>

static_assert(std::endian::native == std::endian::little, "the kernels take the lowest byte of a word for its first");

#if defined(__clang__) && __clang_major__ < 16
// With this compiler arm_neon.h offers the intrinsics only where these macros say that a whole file may use them.
#define __ARM_FEATURE_AES 1
#define __ARM_FEATURE_SHA2 1
#define __ARM_FEATURE_SHA512 1
#define ZEL_TARGET_CRYPTO __attribute__((target("crypto")))
#define ZEL_TARGET_SHA512 __attribute__((target("sha3")))
#else
#define ZEL_TARGET_CRYPTO __attribute__((target("+crypto")))
#define ZEL_TARGET_SHA512 __attribute__((target("arch=armv8.2-a+sha3")))
#endif

#include <arm_neon.h>

#endif
