// The block modes of AES behind one kernel table. The unit of a kernel is a run of blocks in one mode, not one block,
// so that a kernel can keep several blocks in flight wherever the mode allows it (all but CBC, CFB encryption and OFB).
#ifndef ZELSPI_CORE_AES_AES_KERNELS_H
#define ZELSPI_CORE_AES_AES_KERNELS_H

#include "core/cpu/kernel.h"

#include <cstddef>
#include <cstdint>

// AesModeRun: transforms blockCount blocks (0 is allowed) in one mode and direction.
// Shapes:  roundKeys[4 * (rounds + 1)] words as in AesContext, those of the decryption schedule for ecbDecrypt and
//          cbcDecrypt; iv[16], read and written, outside the data; the two of ECB never touch it. input and output[16 *
//          blockCount] are the same buffer or do not overlap, without alignment.
// Secrets: the portable kernel's time depends on key and data (table look-ups); those by AES instructions are constant
//          time, and leave no key behind in registers or on the stack.
// Source:  FIPS-197, section 5; SP 800-38A, sections 6.1 to 6.4.
using AesModeRun = void (*)(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv,
                            const std::uint8_t* input, std::uint8_t* output, std::size_t blockCount);

// AesExpandKey: the encryption schedule of key[keyBits / 8], and AesInvertSchedule: the decryption schedule that belongs
// to it. Both in roundKeys[4 * (rounds + 1)]; keyBits is 128, 192 or 256; rounds is keyBits / 32 + 6.
// Secrets: the portable kernel's time depends on the key (table look-ups).
// Source:  FIPS-197, sections 5.2 and 5.3.5.
using AesExpandKey = void (*)(const std::uint8_t* key, std::uint32_t keyBits, std::uint32_t* roundKeys);
using AesInvertSchedule = void (*)(const std::uint32_t* encryptRoundKeys, std::int32_t rounds,
                                   std::uint32_t* roundKeys);

// AesModes: what one kernel offers; OFB is the same in both directions. The schedules of all kernels are the same.
struct AesModes {
    AesExpandKey expandKey;
    AesInvertSchedule invertSchedule;
    AesModeRun ecbEncrypt, ecbDecrypt;
    AesModeRun cbcEncrypt, cbcDecrypt;
    AesModeRun cfbEncrypt, cfbDecrypt;
    AesModeRun ofb;
};

// aesKernels: the kernels, best first.
std::span<const Kernel<AesModes>> aesKernels();

// aesKernel: the kernel that the library works with, the best that this CPU supports.
const Kernel<AesModes>& aesKernel();

// aesModesPortable: the portable kernel, by tables.
extern const AesModes aesModesPortable;

// aesExpandKeyPortable, aesInvertSchedulePortable: the schedules of the portable kernel.
void aesExpandKeyPortable(const std::uint8_t* key, std::uint32_t keyBits, std::uint32_t* roundKeys);
void aesInvertSchedulePortable(const std::uint32_t* encryptRoundKeys, std::int32_t rounds, std::uint32_t* roundKeys);

// aesExpandKeyBy: AesExpandKey with the kernel's own S-box, which is applied to the four bytes of a word at once.
void aesExpandKeyBy(std::uint32_t (*substituteWord)(std::uint32_t), const std::uint8_t* key, std::uint32_t keyBits,
                    std::uint32_t* roundKeys);

#endif
