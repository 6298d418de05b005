// The secret that a host shows before the first frame of a TCP connection (docs/wire-format.md,
// "The token"), read from a file that only its owner can read, and the check of what a host shows.
//
// Threads: any; a check belongs to one thread.
// Owns or borrows: values only.
// Errors: `kiv_token_read` gives a text for standard error.
#ifndef DEVICE_LINUX_TOKEN_H_
#define DEVICE_LINUX_TOKEN_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_TOKEN_MIN_BYTES 16u
#define KIV_TOKEN_MAX_BYTES 64u
#define KIV_TOKEN_HEAD_BYTES 9u

typedef struct kiv_token {
  uint8_t bytes[KIV_TOKEN_MAX_BYTES];
  uint8_t length_bytes;
} kiv_token;

// False with a text in `problem` when the file is not a regular one of this user's, its mode is
// neither 0600 nor 0400, or its first line is no token.
bool kiv_token_read(kiv_token* token, const char* path, char* problem, size_t problem_bytes);

typedef enum kiv_token_verdict {
  KIV_TOKEN_UNDECIDED,
  KIV_TOKEN_RIGHT,
  KIV_TOKEN_WRONG
} kiv_token_verdict;

// What one host has shown so far.
typedef struct kiv_token_check {
  uint8_t shown[KIV_TOKEN_HEAD_BYTES + KIV_TOKEN_MAX_BYTES];
  uint32_t shown_bytes;
} kiv_token_check;

// How many bytes may be read next: never one behind the token. Not 0 while it is undecided.
uint32_t kiv_token_wanted_bytes(const kiv_token_check* check);
// Takes at most as many bytes as are wanted. A wrong token takes as long to refuse wherever it
// differs.
kiv_token_verdict kiv_token_take(kiv_token_check* check, const kiv_token* token,
                                 const uint8_t* bytes, uint32_t length_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_TOKEN_H_
