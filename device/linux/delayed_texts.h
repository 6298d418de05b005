// Texts that wait until their delay is over, in the order in which they came: one without a delay
// does not overtake one that still waits.
//
// Threads: none of its own; an object belongs to one thread. It knows no clock: times are handed
// in. Owns or borrows: owns copies of the texts until they are taken. Errors: result codes.
#ifndef DEVICE_LINUX_DELAYED_TEXTS_H_
#define DEVICE_LINUX_DELAYED_TEXTS_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// One text; the taker frees it with free().
typedef struct kiv_delayed_text {
  struct kiv_delayed_text* next;
  int64_t due_ms;
  uint32_t text_bytes;
  uint8_t* text;  // in the same piece of memory
} kiv_delayed_text;

// All zero: empty.
typedef struct kiv_delayed_texts {
  kiv_delayed_text* first;
  kiv_delayed_text* last;
  uint32_t count;
  uint32_t waiting_bytes;
  uint32_t max_waiting_bytes;  // 0: KIV_CHANNEL_MAX_WAITING_BYTES
} kiv_delayed_texts;

// KIV_RESULT_OK, KIV_RESULT_BAD_VALUE for a delay over KIV_CHANNEL_MAX_DELAY_MS, KIV_RESULT_BUSY
// when as much waits as may, KIV_RESULT_NO_MEMORY.
uint32_t kiv_delayed_push(kiv_delayed_texts* texts, const uint8_t* text, uint32_t text_bytes,
                          uint32_t delay_ms, int64_t now_ms);
// When the first may be taken; -1 when there is none.
int64_t kiv_delayed_next_due_ms(const kiv_delayed_texts* texts);
// The first text, when its time has come; else null.
kiv_delayed_text* kiv_delayed_take(kiv_delayed_texts* texts, int64_t now_ms);
// Drops the longest run of texts at the end that are all `unwanted`.
void kiv_delayed_drop_last(kiv_delayed_texts* texts, bool (*unwanted)(const kiv_delayed_text*));
void kiv_delayed_clear(kiv_delayed_texts* texts);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_DELAYED_TEXTS_H_
