#include "device/linux/out_queue.h"

#include <stdlib.h>
#include <string.h>

// Small frames are written together up to this size; what is encoded can no longer be overtaken
// by a probe answer, so it is kept small.
enum { kBatchBytes = 16 * 1024 };
static const uint32_t kLineBytes = kBatchBytes + KIV_MAX_LINE_BYTES;
enum { kSmallestCutBytes = 256, kBitsOfHalfASecondsByte = 20 };

struct kiv_queued {
  kiv_queued* next;
  uint64_t stamp;  // order of arising, over all lists
  kiv_head head;
  bool kept;
  uint8_t body[];
};

static void append(kiv_list* list, kiv_queued* item) {
  item->next = NULL;
  if (list->last == NULL) {
    list->first = item;
  } else {
    list->last->next = item;
  }
  list->last = item;
  ++list->count;
}

static kiv_queued* take_first(kiv_list* list) {
  kiv_queued* item = list->first;
  if (item == NULL) return NULL;
  list->first = item->next;
  if (list->first == NULL) list->last = NULL;
  --list->count;
  return item;
}

static void free_all(kiv_list* list) {
  for (kiv_queued* item = take_first(list); item != NULL; item = take_first(list)) free(item);
}

static uint64_t cost_of(const kiv_queued* item) {
  return sizeof *item + (uint64_t)item->head.body_bytes;
}

static bool is_kept_kind(uint8_t kind) {
  return kind == KIV_CNF || kind == KIV_RAW || kind == KIV_SDT;
}

bool kiv_queue_init(kiv_queue* queue) {
  memset(queue, 0, sizeof *queue);
  queue->cut_bytes = KIV_MAX_PAYLOAD_BYTES;
  queue->batch_bytes = kBatchBytes;
  queue->line = malloc(kLineBytes);
  return queue->line != NULL;
}

void kiv_queue_slow_down(kiv_queue* queue, uint32_t baud) {
  uint32_t cut_bytes = baud / kBitsOfHalfASecondsByte;
  if (cut_bytes < kSmallestCutBytes) cut_bytes = kSmallestCutBytes;
  if (cut_bytes < KIV_MAX_PAYLOAD_BYTES) queue->cut_bytes = cut_bytes;
  if (cut_bytes < kBatchBytes) queue->batch_bytes = cut_bytes;
}

static void forget_messages(kiv_queue* queue) {
  free_all(&queue->urgent);
  free_all(&queue->kept);
  free_all(&queue->indications);
  free(queue->under_way);
  queue->under_way = NULL;
  queue->kept_bytes = 0;
  queue->kept_beyond = 0;
}

void kiv_queue_destroy(kiv_queue* queue) {
  forget_messages(queue);
  free(queue->line);
  queue->line = NULL;
}

void kiv_queue_clear(kiv_queue* queue) {
  forget_messages(queue);
  queue->next_sequence = 0;
  queue->dropped_indications = 0;
}

bool kiv_queue_has_room(const kiv_queue* queue) { return queue->kept_bytes <= KIV_MAX_KEPT_BYTES; }

bool kiv_queue_is_overfull(const kiv_queue* queue) {
  return queue->kept_beyond > KIV_MAX_KEPT_BEYOND;
}

bool kiv_queue_is_empty(const kiv_queue* queue) {
  return queue->line_used == queue->line_written && queue->under_way == NULL &&
         queue->urgent.first == NULL && queue->kept.first == NULL &&
         queue->indications.first == NULL;
}

bool kiv_queue_has_room_for_answers(const kiv_queue* queue) {
  return queue->kept_bytes <= KIV_MAX_ANSWER_BYTES;
}

static kiv_queued* new_item(kiv_queue* queue, const kiv_head* head, const uint8_t* body,
                            uint32_t body_bytes) {
  kiv_queued* item = malloc(sizeof *item + body_bytes);
  if (item == NULL) return NULL;
  item->stamp = queue->next_stamp++;
  item->head = *head;
  item->head.body_bytes = body_bytes;
  item->kept = is_kept_kind(head->kind);
  if (body_bytes > 0) memcpy(item->body, body, body_bytes);
  return item;
}

static void keep(kiv_queue* queue, kiv_queued* item) {
  if (!kiv_queue_has_room(queue)) ++queue->kept_beyond;
  item->kept = true;
  queue->kept_bytes += cost_of(item);
  append(&queue->kept, item);
}

bool kiv_queue_push_answer(kiv_queue* queue, const kiv_head* head, const uint8_t* body,
                           uint32_t body_bytes) {
  kiv_queued* item = new_item(queue, head, body, body_bytes);
  if (item != NULL) keep(queue, item);
  return item != NULL;
}

bool kiv_queue_push(kiv_queue* queue, const kiv_head* head, const uint8_t* body,
                    uint32_t body_bytes) {
  kiv_queued* item = new_item(queue, head, body, body_bytes);
  if (item == NULL) {
    if (head->kind == KIV_IND) ++queue->dropped_indications;
    return false;
  }
  if (head->kind == KIV_IND) {
    append(&queue->indications, item);
    if (queue->indications.count > KIV_MAX_INDICATIONS) {
      free(take_first(&queue->indications));
      ++queue->dropped_indications;
    }
  } else if (item->kept) {
    keep(queue, item);
  } else {
    append(&queue->urgent, item);
    if (queue->urgent.count > KIV_MAX_PROBE_ANSWERS) free(take_first(&queue->urgent));
  }
  return true;
}

// The oldest of confirmations and indications.
static kiv_queued* take_oldest(kiv_queue* queue) {
  const kiv_queued* kept = queue->kept.first;
  const kiv_queued* indication = queue->indications.first;
  const bool indication_next =
      indication != NULL && (kept == NULL || indication->stamp < kept->stamp);
  kiv_queued* item = take_first(indication_next ? &queue->indications : &queue->kept);
  if (item != NULL && item->head.kind == KIV_IND) item->head.word32 = queue->dropped_indications;
  return item;
}

static void forget(kiv_queue* queue, kiv_queued* item) {
  if (item->kept) {
    queue->kept_bytes -= cost_of(item);
    if (kiv_queue_has_room(queue)) queue->kept_beyond = 0;
  }
  free(item);
}

// Encodes one frame of the item behind what is in the line; says whether it was the last.
static bool encode_part(kiv_queue* queue, const kiv_queued* item, uint32_t offset) {
  const uint32_t left_bytes = item->head.body_bytes - offset;
  const bool more = left_bytes > queue->cut_bytes;
  const uint32_t payload_bytes = more ? queue->cut_bytes : left_bytes;
  kiv_head head = item->head;
  head.flags = more ? KIV_FLAG_MORE_FOLLOWS : 0;
  head.offset_bytes = offset;
  head.sequence = queue->next_sequence++;
  queue->line_used +=
      kiv_frame_encode(&head, item->body + offset, payload_bytes, queue->line + queue->line_used,
                       kLineBytes - queue->line_used);
  return !more;
}

static bool encode_next(kiv_queue* queue) {
  kiv_queued* urgent = take_first(&queue->urgent);
  if (urgent != NULL) {
    (void)encode_part(queue, urgent, 0);
    free(urgent);
    return true;
  }
  if (queue->under_way == NULL) {
    queue->under_way = take_oldest(queue);
    queue->under_way_offset = 0;
  }
  if (queue->under_way == NULL) return false;
  if (encode_part(queue, queue->under_way, queue->under_way_offset)) {
    forget(queue, queue->under_way);
    queue->under_way = NULL;
  } else {
    queue->under_way_offset += queue->cut_bytes;
  }
  return true;
}

const uint8_t* kiv_queue_bytes(kiv_queue* queue, size_t* length_bytes) {
  if (queue->line_written == queue->line_used) {
    queue->line_written = 0;
    queue->line_used = 0;
    while (queue->line_used < queue->batch_bytes && encode_next(queue)) continue;
  }
  *length_bytes = queue->line_used - queue->line_written;
  return *length_bytes == 0 ? NULL : queue->line + queue->line_written;
}

void kiv_queue_wrote(kiv_queue* queue, size_t length_bytes) {
  queue->line_written += (uint32_t)length_bytes;
}
