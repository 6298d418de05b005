#include "device/linux/faults.h"

#include <stdlib.h>
#include <string.h>

// Of a stream so many wait for the host at most: enough that it never waits, too few to be dropped.
enum { kStreamWaiting = 128 };

struct kiv_held_back {
  kiv_held_back* next;
  int64_t due_ms;
  kiv_head head;
  uint32_t body_bytes;
  uint8_t body[];
};

typedef struct kind_range {
  uint32_t min;
  uint32_t max;
  bool meets_commands;
} kind_range;

static const kind_range kRanges[KIV_FAULTS_KINDS] = {
    {0, UINT32_MAX, false},               // none
    {1, KIV_FAULTS_MAX_DELAY_MS, true},   // delay
    {0, UINT32_MAX, true},                // silence
    {1, UINT32_MAX, true},                // result
    {1, KIV_FAULTS_MAX_CUT_BYTES, true},  // short_body
    {1, KIV_FAULTS_MAX_BURST, false},     // burst
    {1, KIV_FAULTS_MAX_STREAM, false},    // stream
};

void kiv_faults_reset(kiv_faults* faults) {
  while (faults->held != NULL) {
    kiv_held_back* first = faults->held;
    faults->held = first->next;
    free(first);
  }
  memset(faults, 0, sizeof *faults);
}

bool kiv_faults_set(kiv_faults* faults, uint8_t kind, uint32_t amount, uint32_t commands) {
  if (kind >= KIV_FAULTS_KINDS) return false;
  const kind_range* range = &kRanges[kind];
  if (amount < range->min || amount > range->max) return false;
  if (range->meets_commands && (commands == 0 || commands > KIV_FAULTS_MAX_COMMANDS)) return false;
  const bool indicates = kind == KIV_FAULTS_BURST || kind == KIV_FAULTS_STREAM;
  if (!indicates) {
    faults->kind = kind;
    faults->amount = amount;
    faults->commands = range->meets_commands ? commands : 0;
  }
  if (indicates || kind == KIV_FAULTS_NONE) {
    faults->burst_left = kind == KIV_FAULTS_BURST ? amount : 0;
    faults->stream_left = kind == KIV_FAULTS_STREAM ? amount : 0;
    faults->number = 0;
  }
  return true;
}

static bool hold_back(kiv_faults* faults, const kiv_head* head, const uint8_t* body,
                      uint32_t body_bytes, int64_t due_ms) {
  if (faults->held_count >= KIV_FAULTS_MAX_HELD) return false;
  kiv_held_back* item = malloc(sizeof *item + body_bytes);
  if (item == NULL) return false;
  item->due_ms = due_ms;
  item->head = *head;
  item->body_bytes = body_bytes;
  if (body_bytes > 0) memcpy(item->body, body, body_bytes);
  kiv_held_back** at = &faults->held;
  while (*at != NULL && (*at)->due_ms <= due_ms) at = &(*at)->next;
  item->next = *at;
  *at = item;
  ++faults->held_count;
  return true;
}

bool kiv_faults_pass(kiv_faults* faults, kiv_head* head, const uint8_t* body, uint32_t* body_bytes,
                     int64_t now_ms) {
  if (faults->commands == 0) return true;
  const uint8_t kind = faults->kind;
  ++faults->met;
  if (--faults->commands == 0) faults->kind = KIV_FAULTS_NONE;
  switch (kind) {
    case KIV_FAULTS_DELAY:
      return !hold_back(faults, head, body, *body_bytes, now_ms + faults->amount);
    case KIV_FAULTS_SILENCE:
      return false;
    case KIV_FAULTS_RESULT:
      head->result = faults->amount;
      *body_bytes = 0;
      return true;
    default:  // short_body
      *body_bytes -= faults->amount < *body_bytes ? faults->amount : *body_bytes;
      return true;
  }
}

int64_t kiv_faults_next_due_ms(const kiv_faults* faults) {
  return faults->held == NULL ? -1 : faults->held->due_ms;
}

bool kiv_faults_release(kiv_faults* faults, int64_t now_ms,
                        void (*send)(void* context, const kiv_head* head, const uint8_t* body,
                                     uint32_t body_bytes),
                        void* context) {
  kiv_held_back* first = faults->held;
  if (first == NULL || first->due_ms > now_ms) return false;
  faults->held = first->next;
  --faults->held_count;
  send(context, &first->head, first->body, first->body_bytes);
  free(first);
  return true;
}

uint32_t kiv_faults_take_indication(kiv_faults* faults, uint32_t waiting) {
  if (faults->burst_left > 0) {
    --faults->burst_left;
    return ++faults->number;
  }
  if (faults->stream_left == 0 || waiting >= kStreamWaiting) return 0;
  --faults->stream_left;
  return ++faults->number;
}
