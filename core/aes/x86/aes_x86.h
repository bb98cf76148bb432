// The AES kernels for x86-64. Both are constant time: the instructions take the same time for all keys and data, and
// nothing branches on either. Contracts as in core/aes/aes_kernels.h.
#ifndef ZELSPI_CORE_AES_X86_AES_X86_H
#define ZELSPI_CORE_AES_X86_AES_X86_H

#include "core/aes/aes_kernels.h"
#include "core/cpu/cpu_features.h"

// By the AES instructions, one block in a register.
inline bool hasAesNi() {
    return cpuFeatures().x86.aes && cpuFeatures().x86.sse41 && cpuFeatures().x86.ssse3;
}
extern const AesModes aesModesNi;

// Four blocks in a register where the mode allows it; the rest is that of aesModesNi.
inline bool hasVaes() {
    return cpuFeatures().x86.vaes;
}
extern const AesModes aesModesVaes;

// What both kernels share: encryption in the modes whose blocks wait for each other, and the key schedules.
void aesNiCbcEncrypt(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                     std::uint8_t* output, std::size_t blockCount);
void aesNiCfbEncrypt(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                     std::uint8_t* output, std::size_t blockCount);
void aesNiOfb(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
              std::uint8_t* output, std::size_t blockCount);
void aesNiExpandKey(const std::uint8_t* key, std::uint32_t keyBits, std::uint32_t* roundKeys);
void aesNiDecryptionSchedule(const std::uint32_t* encryptRoundKeys, std::int32_t rounds, std::uint32_t* roundKeys);

#endif
