// The body of the greeting, both ways.
//
// Threads: any.
// Owns or borrows: a parsed greeting points into the body it was read from.
// Errors: `kiv_hello_read` says false for everything that is not the exact greeting.
#ifndef DEVICE_CORE_HELLO_H_
#define DEVICE_CORE_HELLO_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_HELLO_MAX_FINGERPRINT_BYTES 32u
#define KIV_HELLO_MAX_NAME_BYTES 64u
#define KIV_HELLO_MAX_TOKEN_BYTES 64u
#define KIV_HELLO_MAX_BYTES (20u + 33u + 65u + 65u)

typedef enum kiv_side { KIV_SIDE_HOST, KIV_SIDE_AGENT } kiv_side;

// What an agent, as it runs now, can do: the bits of `kiv_hello.abilities`.
#define KIV_ABILITY_COMMANDS 0x0001u
#define KIV_ABILITY_INDICATIONS 0x0002u
#define KIV_ABILITY_ROUTED 0x0004u
#define KIV_ABILITY_AT 0x0008u
#define KIV_ABILITY_SHELL 0x0010u
#define KIV_ABILITY_HCI 0x0020u
#define KIV_ABILITY_TEST_CASES 0x0040u
#define KIV_ABILITY_LOADS 0x0080u
#define KIV_ABILITY_LINE_TEST 0x0100u
#define KIV_ABILITY_FAULTS 0x0200u

typedef struct kiv_hello {
  uint16_t protocol_version;
  uint16_t variant;
  uint16_t product;
  uint32_t abilities;
  const uint8_t* fingerprint;
  uint8_t fingerprint_bytes;
  const uint8_t* name;  // UTF-8, not terminated
  uint8_t name_bytes;
  const uint8_t* token;
  uint8_t token_bytes;
} kiv_hello;

// `from` is the side that wrote it. On false `hello` holds nothing that may be used.
bool kiv_hello_read(kiv_hello* hello, kiv_side from, const uint8_t* body, uint32_t body_bytes);
// Returns the length written, 0 when a field is over its limit.
uint32_t kiv_hello_write(const kiv_hello* hello, kiv_side from, uint8_t out[KIV_HELLO_MAX_BYTES]);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_CORE_HELLO_H_
