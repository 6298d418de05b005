#include "device/linux/sha256.h"

#include <string.h>

enum { kRounds = 64, kLengthAt = 56 };

// The fractions of the cube roots of the first 64 primes.
static const uint32_t kRound[kRounds] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

static uint32_t turn(uint32_t value, unsigned bits) { return value >> bits | value << (32 - bits); }

static void expand(const uint8_t* block, uint32_t* words) {
  for (int i = 0; i < 16; ++i, block += 4) {
    words[i] = (uint32_t)block[0] << 24 | (uint32_t)block[1] << 16 | (uint32_t)block[2] << 8 |
               (uint32_t)block[3];
  }
  for (int i = 16; i < kRounds; ++i) {
    const uint32_t near = words[i - 2];
    const uint32_t far = words[i - 15];
    words[i] = words[i - 16] + (turn(far, 7) ^ turn(far, 18) ^ far >> 3) + words[i - 7] +
               (turn(near, 17) ^ turn(near, 19) ^ near >> 10);
  }
}

// The state in the order of the standard: a is s[0], h is s[7].
static void take_block(uint32_t* state, const uint8_t* block) {
  uint32_t words[kRounds];
  uint32_t s[8];
  expand(block, words);
  memcpy(s, state, sizeof s);
  for (int i = 0; i < kRounds; ++i) {
    const uint32_t choice = (s[4] & s[5]) ^ (~s[4] & s[6]);
    const uint32_t majority = (s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]);
    const uint32_t one =
        s[7] + (turn(s[4], 6) ^ turn(s[4], 11) ^ turn(s[4], 25)) + choice + kRound[i] + words[i];
    const uint32_t two = (turn(s[0], 2) ^ turn(s[0], 13) ^ turn(s[0], 22)) + majority;
    memmove(s + 1, s, 7 * sizeof *s);
    s[4] += one;
    s[0] = one + two;
  }
  for (int i = 0; i < 8; ++i) state[i] += s[i];
}

void kiv_sha256_begin(kiv_sha256* hash) {
  // The fractions of the square roots of the first eight primes.
  static const uint32_t kStart[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                     0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  memcpy(hash->state, kStart, sizeof kStart);
  hash->length_bytes = 0;
}

void kiv_sha256_add(kiv_sha256* hash, const uint8_t* bytes, uint32_t length_bytes) {
  while (length_bytes > 0) {
    const uint32_t used = (uint32_t)(hash->length_bytes % KIV_SHA256_BLOCK_BYTES);
    const uint32_t room = KIV_SHA256_BLOCK_BYTES - used;
    const uint32_t taken = length_bytes < room ? length_bytes : room;
    if (taken == KIV_SHA256_BLOCK_BYTES) {
      take_block(hash->state, bytes);
    } else {
      memcpy(hash->block + used, bytes, taken);
      if (taken == room) take_block(hash->state, hash->block);
    }
    hash->length_bytes += taken;
    bytes += taken;
    length_bytes -= taken;
  }
}

void kiv_sha256_end(kiv_sha256* hash, uint8_t digest[KIV_SHA256_BYTES]) {
  static const uint8_t kOne = 0x80;
  static const uint8_t kZero = 0;
  const uint64_t length_bits = hash->length_bytes * 8;
  kiv_sha256_add(hash, &kOne, 1);
  while (hash->length_bytes % KIV_SHA256_BLOCK_BYTES != kLengthAt) kiv_sha256_add(hash, &kZero, 1);
  for (int shift = 56; shift >= 0; shift -= 8) {
    const uint8_t byte = (uint8_t)(length_bits >> shift);
    kiv_sha256_add(hash, &byte, 1);
  }
  for (uint32_t i = 0; i < KIV_SHA256_BYTES; ++i) {
    digest[i] = (uint8_t)(hash->state[i / 4] >> (24 - 8 * (i % 4)));
  }
}
