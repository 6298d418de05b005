// The 32-bit frame check sequence (CRC-32, reflected polynomial 0xEDB88320), by a table of its own.
//
// Threads: any. Owns or borrows: borrows the bytes. Errors: none.
#ifndef DEVICE_CORE_CRC32_H_
#define DEVICE_CORE_CRC32_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_CRC32_START 0xFFFFFFFFu
// What a run over content and check sequence together leaves when both are undamaged.
#define KIV_CRC32_GOOD 0xDEBB20E3u

// Continues a run; begin with KIV_CRC32_START. The check sequence is the complement of the end.
uint32_t kiv_crc32_run(uint32_t crc, const uint8_t* bytes, uint32_t length_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_CORE_CRC32_H_
