// The instruction sets that a kernel function may use, as function attributes: each one names what cpu_features.h tests
// for it. Files with kernels are compiled like all others; only the functions marked here see the instructions.
#ifndef ZELSPI_CORE_CPU_X86_TARGET_H
#define ZELSPI_CORE_CPU_X86_TARGET_H

#define ZEL_TARGET_SHA __attribute__((target("sha,sse4.1,ssse3")))
#define ZEL_TARGET_SHA_AVX512 __attribute__((target("sha,sse4.1,ssse3,avx512f,avx512vl")))
#define ZEL_TARGET_AES __attribute__((target("aes,sse4.1,ssse3")))
#define ZEL_TARGET_AVX __attribute__((target("avx")))
#define ZEL_TARGET_AVX512_REGISTERS __attribute__((target("avx512f,avx512vl")))
#define ZEL_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2")))
#define ZEL_TARGET_AVX512 __attribute__((target("avx512f,avx512vl,avx2,bmi,bmi2")))
#define ZEL_TARGET_VAES __attribute__((target("vaes,aes,avx512f,avx512dq,avx512bw,avx512vl")))
#define ZEL_TARGET_ADX __attribute__((target("bmi2,adx")))
#define ZEL_TARGET_IFMA __attribute__((target("avx512ifma,avx512f,avx512dq,avx512bw,avx512vl,bmi2")))

#endif
