// SHA-256 (FIPS 180-4), fed in pieces.
//
// Threads: none of its own. Owns or borrows: nothing. Errors: none.
#ifndef DEVICE_LINUX_SHA256_H_
#define DEVICE_LINUX_SHA256_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_SHA256_BYTES 32u
#define KIV_SHA256_BLOCK_BYTES 64u

typedef struct kiv_sha256 {
  uint32_t state[8];
  uint64_t length_bytes;
  uint8_t block[KIV_SHA256_BLOCK_BYTES];  // what does not fill a block yet
} kiv_sha256;

void kiv_sha256_begin(kiv_sha256* hash);
void kiv_sha256_add(kiv_sha256* hash, const uint8_t* bytes, uint32_t length_bytes);
void kiv_sha256_end(kiv_sha256* hash, uint8_t digest[KIV_SHA256_BYTES]);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_SHA256_H_
