// The test functions that hosts can run by name, with parameters that they were compiled for. A
// function runs in small steps, so that the agent goes on answering beside it.
//
// Threads: one.
// Owns or borrows: a run owns its memory and borrows the parameters.
// Errors: told in the output; the verdict is then a failure.
#ifndef DEVICE_LINUX_TEST_FUNCTIONS_H_
#define DEVICE_LINUX_TEST_FUNCTIONS_H_

#include <stdbool.h>
#include <stdint.h>

#include "device/core/bytes.h"
#include "device/linux/sha256.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_TEST_LINE_BYTES 256u
#define KIV_TEST_MAX_MEMORY_BYTES (64u * 1024u * 1024u)
#define KIV_TEST_MAX_MEMORY_ROUNDS 100u
#define KIV_TEST_MAX_LOOP_TURNS 1000u
#define KIV_TEST_MAX_LOOP_PAUSE_MS 10000u
// A pause may be so much longer than it should be.
#define KIV_TEST_MAX_LATE_MS 1000

typedef enum kiv_verdict { KIV_TEST_GOES_ON, KIV_TEST_PASSED, KIV_TEST_FAILED } kiv_verdict;

typedef struct kiv_test_run kiv_test_run;

// One step. It may write one line into `run->line`.
typedef kiv_verdict (*kiv_test_fn)(kiv_test_run* run, int64_t now_ms);

struct kiv_test_run {
  kiv_test_fn step;  // null: nothing runs
  kiv_reader parameters;
  char line[KIV_TEST_LINE_BYTES];  // of the last step, not empty when there is one
  uint32_t step_count;
  int64_t wait_until_ms;  // nothing to do before; 0: go on at once
  // What the functions keep between steps.
  uint32_t rounds;
  uint32_t round;
  uint32_t period_ms;
  int64_t latest_ms;
  kiv_sha256 hash;
  uint64_t* memory;
  uint32_t words;
  uint32_t word;  // how far the pattern under way is
  uint32_t pattern;
  bool checks;  // whether it is being written or compared
};

// Null when there is none of that name.
kiv_test_fn kiv_test_find(const char* name);
void kiv_test_begin(kiv_test_run* run, kiv_test_fn step, const uint8_t* parameters,
                    uint32_t parameter_bytes);
// Empties the line and runs a step.
kiv_verdict kiv_test_step(kiv_test_run* run, int64_t now_ms);
// Frees what the run has; nothing runs then.
void kiv_test_end(kiv_test_run* run);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_TEST_FUNCTIONS_H_
