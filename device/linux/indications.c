#include "device/linux/indications.h"

#include <string.h>

static bool is_set(uint8_t set) { return set != 0 && (set & ~KIV_IND_ALL) == 0; }

static bool has(uint8_t set, int stream) { return (set >> stream & 1) != 0; }

void kiv_indications_reset(kiv_indications* all) { memset(all, 0, sizeof *all); }

bool kiv_indications_start(kiv_indications* all, uint8_t set, uint32_t period_ms, uint32_t count,
                           int64_t now_ms) {
  if (!is_set(set) || period_ms == 0 || period_ms > KIV_MAX_PERIOD_MS) return false;
  for (int i = 0; i < KIV_IND_STREAMS; ++i) {
    if (!has(set, i)) continue;
    const kiv_ind_stream fresh = {true, count != 0, count, 0, period_ms, now_ms + period_ms};
    all->streams[i] = fresh;
  }
  return true;
}

bool kiv_indications_stop(kiv_indications* all, uint8_t set) {
  if (!is_set(set)) return false;
  for (int i = 0; i < KIV_IND_STREAMS; ++i) {
    if (has(set, i)) all->streams[i].runs = false;
  }
  return true;
}

uint8_t kiv_indications_running(const kiv_indications* all) {
  uint8_t set = 0;
  for (int i = 0; i < KIV_IND_STREAMS; ++i) {
    if (all->streams[i].runs) set = (uint8_t)(set | 1 << i);
  }
  return set;
}

int64_t kiv_indications_next_due_ms(const kiv_indications* all) {
  int64_t next_ms = -1;
  for (int i = 0; i < KIV_IND_STREAMS; ++i) {
    const kiv_ind_stream* stream = &all->streams[i];
    if (stream->runs && (next_ms < 0 || stream->due_ms < next_ms)) next_ms = stream->due_ms;
  }
  return next_ms;
}

uint8_t kiv_indications_take(kiv_indications* all, int64_t now_ms, uint32_t* number) {
  for (int i = 0; i < KIV_IND_STREAMS; ++i) {
    kiv_ind_stream* stream = &all->streams[i];
    if (!stream->runs || stream->due_ms > now_ms) continue;
    stream->due_ms += stream->period_ms;
    // After a pause (a stopped process, a suspended board) there is no burst of what was missed.
    if (stream->due_ms <= now_ms) stream->due_ms = now_ms + stream->period_ms;
    *number = ++stream->number;
    ++all->sent;
    if (stream->counted && --stream->left == 0) stream->runs = false;
    return (uint8_t)(1 << i);
  }
  return 0;
}
