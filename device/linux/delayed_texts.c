#include "device/linux/delayed_texts.h"

#include <stdlib.h>
#include <string.h>

#include "device/core/result_codes.h"
#include "device/linux/channel.h"

uint32_t kiv_delayed_push(kiv_delayed_texts* texts, const uint8_t* text, uint32_t text_bytes,
                          uint32_t delay_ms, int64_t now_ms) {
  if (delay_ms > KIV_CHANNEL_MAX_DELAY_MS) return KIV_RESULT_BAD_VALUE;
  const uint32_t max_bytes =
      texts->max_waiting_bytes == 0 ? KIV_CHANNEL_MAX_WAITING_BYTES : texts->max_waiting_bytes;
  if (texts->count >= KIV_CHANNEL_MAX_WAITING_TEXTS ||
      text_bytes > max_bytes - texts->waiting_bytes) {
    return KIV_RESULT_BUSY;
  }
  kiv_delayed_text* item = malloc(sizeof *item + text_bytes);
  if (item == NULL) return KIV_RESULT_NO_MEMORY;
  item->next = NULL;
  item->due_ms = now_ms + delay_ms;
  item->text_bytes = text_bytes;
  item->text = (uint8_t*)(item + 1);
  if (text_bytes > 0) memcpy(item->text, text, text_bytes);
  if (texts->last == NULL) {
    texts->first = item;
  } else {
    if (item->due_ms < texts->last->due_ms) item->due_ms = texts->last->due_ms;
    texts->last->next = item;
  }
  texts->last = item;
  ++texts->count;
  texts->waiting_bytes += text_bytes;
  return KIV_RESULT_OK;
}

int64_t kiv_delayed_next_due_ms(const kiv_delayed_texts* texts) {
  return texts->first == NULL ? -1 : texts->first->due_ms;
}

kiv_delayed_text* kiv_delayed_take(kiv_delayed_texts* texts, int64_t now_ms) {
  kiv_delayed_text* item = texts->first;
  if (item == NULL || item->due_ms > now_ms) return NULL;
  texts->first = item->next;
  if (texts->first == NULL) texts->last = NULL;
  --texts->count;
  texts->waiting_bytes -= item->text_bytes;
  return item;
}

void kiv_delayed_drop_last(kiv_delayed_texts* texts, bool (*unwanted)(const kiv_delayed_text*)) {
  kiv_delayed_text* kept = NULL;  // the last one that stays
  for (kiv_delayed_text* item = texts->first; item != NULL; item = item->next) {
    if (!unwanted(item)) kept = item;
  }
  kiv_delayed_text* item = kept == NULL ? texts->first : kept->next;
  *(kept == NULL ? &texts->first : &kept->next) = NULL;
  texts->last = kept;
  while (item != NULL) {
    kiv_delayed_text* next = item->next;
    --texts->count;
    texts->waiting_bytes -= item->text_bytes;
    free(item);
    item = next;
  }
}

void kiv_delayed_clear(kiv_delayed_texts* texts) {
  const uint32_t max_waiting_bytes = texts->max_waiting_bytes;
  while (texts->first != NULL) {
    kiv_delayed_text* item = texts->first;
    texts->first = item->next;
    free(item);
  }
  memset(texts, 0, sizeof *texts);
  texts->max_waiting_bytes = max_waiting_bytes;
}
