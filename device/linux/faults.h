// Misbehaviour that a host asks for, so that hosts can be tested against a device that is late,
// silent, wrong or too talkative. It changes what is confirmed, never what a command did, ends with
// the session, and is bounded in time, commands and memory.
//
// Threads: none of its own; an object belongs to one thread. It knows no clock: times are handed
// in. Owns or borrows: owns copies of the confirmations that it holds back. Errors:
// `kiv_faults_set` refuses values out of range. Without memory a confirmation is not held back.
#ifndef DEVICE_LINUX_FAULTS_H_
#define DEVICE_LINUX_FAULTS_H_

#include <stdbool.h>
#include <stdint.h>

#include "device/core/head.h"

#ifdef __cplusplus
extern "C" {
#endif

// The numbers are those of the catalogue.
typedef enum kiv_fault_kind {
  KIV_FAULTS_NONE = 0,
  KIV_FAULTS_DELAY = 1,
  KIV_FAULTS_SILENCE = 2,
  KIV_FAULTS_RESULT = 3,
  KIV_FAULTS_SHORT_BODY = 4,
  KIV_FAULTS_BURST = 5,
  KIV_FAULTS_STREAM = 6,
  KIV_FAULTS_KINDS
} kiv_fault_kind;

#define KIV_FAULTS_MAX_COMMANDS 1000u
#define KIV_FAULTS_MAX_DELAY_MS 60000u
#define KIV_FAULTS_MAX_CUT_BYTES 65535u
#define KIV_FAULTS_MAX_BURST 100000u
#define KIV_FAULTS_MAX_STREAM 1000000u
// Beyond so many waiting ones a confirmation is not held back any more.
#define KIV_FAULTS_MAX_HELD 1000u

typedef struct kiv_held_back kiv_held_back;

typedef struct kiv_faults {
  uint8_t kind;  // what the next `commands` commands meet
  uint32_t amount;
  uint32_t commands;
  uint32_t met;          // commands that met one in this session
  uint32_t burst_left;   // indications still to come at once,
  uint32_t stream_left;  // or as the host takes them
  uint32_t number;       // of the last of them; 1 is the first
  kiv_held_back* held;   // in order of their times
  uint32_t held_count;
} kiv_faults;

// A session is over: forgets everything.
void kiv_faults_reset(kiv_faults* faults);
// A kind that meets commands replaces another one, indications replace other indications, and
// KIV_FAULTS_NONE ends both. False, and nothing changes, for an unknown kind or a value out of its
// range.
bool kiv_faults_set(kiv_faults* faults, uint8_t kind, uint32_t amount, uint32_t commands);
// Every confirmation passes by here on its way out, but for those of requests that ask for faults.
// False when it must not be sent now; else head
// and length may have been changed.
bool kiv_faults_pass(kiv_faults* faults, kiv_head* head, const uint8_t* body, uint32_t* body_bytes,
                     int64_t now_ms);
// When the next one held back is due; -1 when none waits.
int64_t kiv_faults_next_due_ms(const kiv_faults* faults);
// Takes one that is due and hands it to `send`; false when none is. Call until false.
bool kiv_faults_release(kiv_faults* faults, int64_t now_ms,
                        void (*send)(void* context, const kiv_head* head, const uint8_t* body,
                                     uint32_t body_bytes),
                        void* context);
// Takes one of the indications to be sent: its number, or 0. `waiting` is how many already wait for
// the host.
uint32_t kiv_faults_take_indication(kiv_faults* faults, uint32_t waiting);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_FAULTS_H_
