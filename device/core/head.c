#include "device/core/head.h"

#include <string.h>

#include "device/core/bytes.h"

kiv_head kiv_head_of(kiv_kind kind) {
  kiv_head head;
  memset(&head, 0, sizeof head);
  head.version = KIV_WIRE_VERSION;
  head.kind = (uint8_t)kind;
  return head;
}

void kiv_head_write(const kiv_head* head, uint8_t out[KIV_HEAD_BYTES]) {
  kiv_writer writer = kiv_writer_of(out, KIV_HEAD_BYTES);
  kiv_write_u8(&writer, head->version);
  kiv_write_u8(&writer, head->kind);
  kiv_write_u8(&writer, head->flags);
  kiv_write_u8(&writer, 0);
  kiv_write_u32(&writer, head->id);
  kiv_write_u16(&writer, head->tag);
  kiv_write_u16(&writer, head->word16);
  kiv_write_u32(&writer, head->word32);
  kiv_write_u32(&writer, head->result);
  kiv_write_u32(&writer, head->sequence);
  kiv_write_u32(&writer, head->body_bytes);
  kiv_write_u32(&writer, head->offset_bytes);
}

kiv_head kiv_head_read(const uint8_t in[KIV_HEAD_BYTES]) {
  kiv_reader reader = kiv_reader_of(in, KIV_HEAD_BYTES);
  kiv_head head;
  head.version = kiv_read_u8(&reader);
  head.kind = kiv_read_u8(&reader);
  head.flags = kiv_read_u8(&reader);
  (void)kiv_read_u8(&reader);
  head.id = kiv_read_u32(&reader);
  head.tag = kiv_read_u16(&reader);
  head.word16 = kiv_read_u16(&reader);
  head.word32 = kiv_read_u32(&reader);
  head.result = kiv_read_u32(&reader);
  head.sequence = kiv_read_u32(&reader);
  head.body_bytes = kiv_read_u32(&reader);
  head.offset_bytes = kiv_read_u32(&reader);
  return head;
}

bool kiv_head_is_well_formed(const kiv_head* head, uint32_t payload_bytes) {
  if (head->version != KIV_WIRE_VERSION) return false;
  if (head->kind < KIV_HELLO || head->kind > KIV_KEEP_ALIVE) return false;
  if (head->body_bytes > KIV_MAX_BODY_BYTES || head->offset_bytes > head->body_bytes) return false;
  const uint32_t left_bytes = head->body_bytes - head->offset_bytes;
  const bool more = (head->flags & KIV_FLAG_MORE_FOLLOWS) != 0;
  if (more ? (payload_bytes == 0 || payload_bytes >= left_bytes) : payload_bytes != left_bytes) {
    return false;
  }
  const bool always_one_frame = head->kind == KIV_HELLO || head->kind == KIV_KEEP_ALIVE;
  if (always_one_frame && (more || head->offset_bytes != 0)) return false;
  return head->kind != KIV_HELLO || head->sequence == 0;
}

bool kiv_head_same_message(const kiv_head* first, const kiv_head* next) {
  return first->kind == next->kind && first->id == next->id && first->tag == next->tag &&
         first->word16 == next->word16 && first->word32 == next->word32 &&
         first->result == next->result && first->body_bytes == next->body_bytes;
}
