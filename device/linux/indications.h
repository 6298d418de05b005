// Which indications run, how often, and when the next is due. It knows no clock and sends nothing:
// times are handed in, and who holds it sends what is due.
//
// Threads: none of its own; an object belongs to one thread. Owns or borrows: nothing.
// Errors: `kiv_indications_start` refuses values out of range.
#ifndef DEVICE_LINUX_INDICATIONS_H_
#define DEVICE_LINUX_INDICATIONS_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_MAX_PERIOD_MS (24u * 60u * 60u * 1000u)

// Bits of a set of indications.
enum { KIV_IND_TICK = 1, KIV_IND_LOAD = 2, KIV_IND_ALL = 3 };
enum { KIV_IND_STREAMS = 2 };  // stream n is bit n of a set

typedef struct kiv_ind_stream {
  bool runs;
  bool counted;  // ends by itself, when `left` is 0
  uint32_t left;
  uint32_t number;  // of the last one; 1 is the first
  uint32_t period_ms;
  int64_t due_ms;
} kiv_ind_stream;

typedef struct kiv_indications {
  kiv_ind_stream streams[KIV_IND_STREAMS];
  uint32_t sent;  // in this session
} kiv_indications;

// Stops all and forgets how many were sent.
void kiv_indications_reset(kiv_indications* all);
// (Re)starts each stream of `set` with number 1, the first due one period from now. `count` 0 means
// without end. False, and nothing changes, for an empty or unknown set or a period that is 0 or
// above KIV_MAX_PERIOD_MS.
bool kiv_indications_start(kiv_indications* all, uint8_t set, uint32_t period_ms, uint32_t count,
                           int64_t now_ms);
// False for an empty or unknown set.
bool kiv_indications_stop(kiv_indications* all, uint8_t set);
uint8_t kiv_indications_running(const kiv_indications* all);
// Time of the next one; -1 when none runs.
int64_t kiv_indications_next_due_ms(const kiv_indications* all);
// Takes one that is due: returns its bit and its number, 0 when none is. Call until 0.
uint8_t kiv_indications_take(kiv_indications* all, int64_t now_ms, uint32_t* number);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_INDICATIONS_H_
