#include "device/core/frame.h"

#include <string.h>

#include "device/core/bytes.h"
#include "device/core/crc32.h"

enum { kFlag = 0x7E, kEscape = 0x7D, kEscapeXor = 0x20 };

// Not 0 when one of the eight bytes is `byte`; says nothing of which.
static uint64_t has_byte(uint64_t eight, uint8_t byte) {
  const uint64_t ones = UINT64_C(0x0101010101010101);
  const uint64_t zero_where_equal = eight ^ (ones * byte);
  return (zero_where_equal - ones) & ~zero_where_equal & (ones << 7);
}

// How many bytes from the front are neither flag nor escape.
static uint32_t plain_run(const uint8_t* bytes, uint32_t length_bytes) {
  uint32_t n = 0;
  for (; length_bytes - n >= sizeof(uint64_t); n += (uint32_t)sizeof(uint64_t)) {
    uint64_t eight;
    memcpy(&eight, bytes + n, sizeof eight);
    if ((has_byte(eight, kFlag) | has_byte(eight, kEscape)) != 0) break;
  }
  while (n < length_bytes && bytes[n] != kFlag && bytes[n] != kEscape) ++n;
  return n;
}

static void write_escaped(kiv_writer* line, const uint8_t* bytes, uint32_t length_bytes) {
  while (length_bytes > 0) {
    uint32_t n = plain_run(bytes, length_bytes);
    kiv_write_bytes(line, bytes, n);
    if (n < length_bytes) {
      kiv_write_u8(line, kEscape);
      kiv_write_u8(line, (uint8_t)(bytes[n] ^ kEscapeXor));
      ++n;
    }
    bytes += n;
    length_bytes -= n;
  }
}

uint32_t kiv_frame_encode(const kiv_head* head, const uint8_t* payload, uint32_t payload_bytes,
                          uint8_t* out, uint32_t capacity_bytes) {
  if (payload_bytes > KIV_MAX_PAYLOAD_BYTES) return 0;
  uint8_t head_bytes[KIV_HEAD_BYTES];
  kiv_head_write(head, head_bytes);
  uint32_t crc = kiv_crc32_run(KIV_CRC32_START, head_bytes, KIV_HEAD_BYTES);
  crc = ~kiv_crc32_run(crc, payload, payload_bytes);
  uint8_t fcs[KIV_FCS_BYTES];
  kiv_writer fcs_writer = kiv_writer_of(fcs, KIV_FCS_BYTES);
  kiv_write_u32(&fcs_writer, crc);

  kiv_writer line = kiv_writer_of(out, capacity_bytes);
  kiv_write_u8(&line, kFlag);
  write_escaped(&line, head_bytes, KIV_HEAD_BYTES);
  write_escaped(&line, payload, payload_bytes);
  write_escaped(&line, fcs, KIV_FCS_BYTES);
  kiv_write_u8(&line, kFlag);
  return line.failed ? 0 : line.used_bytes;
}

void kiv_deframer_init(kiv_deframer* deframer, uint8_t* buffer, kiv_frame_fn on_frame,
                       void* context) {
  memset(deframer, 0, sizeof *deframer);
  deframer->buffer = buffer;
  deframer->on_frame = on_frame;
  deframer->context = context;
}

static void store(kiv_deframer* deframer, const uint8_t* bytes, uint32_t length_bytes) {
  if (deframer->overlong || length_bytes == 0) return;
  if (length_bytes > KIV_MAX_FRAME_BYTES - deframer->used_bytes) {
    deframer->overlong = true;
    return;
  }
  memcpy(deframer->buffer + deframer->used_bytes, bytes, length_bytes);
  deframer->used_bytes += length_bytes;
}

// A flag has come: judges what stands before it and begins anew.
static void end_candidate(kiv_deframer* deframer) {
  const uint32_t length_bytes = deframer->used_bytes;
  const bool broken = deframer->overlong || deframer->escaped;
  const bool hunting = !deframer->in_step;
  deframer->in_step = true;
  deframer->used_bytes = 0;
  deframer->overlong = false;
  deframer->escaped = false;
  if (hunting || (length_bytes == 0 && !broken)) return;
  if (length_bytes < KIV_MIN_FRAME_BYTES && !broken) {
    ++deframer->stray;
  } else if (broken ||
             kiv_crc32_run(KIV_CRC32_START, deframer->buffer, length_bytes) != KIV_CRC32_GOOD) {
    ++deframer->damaged;
  } else {
    deframer->on_frame(deframer->context, deframer->buffer, length_bytes - KIV_FCS_BYTES);
  }
}

void kiv_deframer_feed(kiv_deframer* deframer, const uint8_t* bytes, uint32_t length_bytes) {
  if (length_bytes > 0 && !deframer->in_step) {
    const uint8_t* flag = memchr(bytes, kFlag, length_bytes);
    if (flag == NULL) return;
    length_bytes -= (uint32_t)(flag - bytes);
    bytes = flag;
  }
  while (length_bytes > 0) {
    if (*bytes == kFlag) {
      end_candidate(deframer);
    } else if (deframer->escaped) {
      const uint8_t meant = (uint8_t)(*bytes ^ kEscapeXor);
      deframer->escaped = false;
      store(deframer, &meant, 1);
    } else if (*bytes == kEscape) {
      deframer->escaped = true;
    } else {
      const uint32_t n = plain_run(bytes, length_bytes);
      store(deframer, bytes, n);
      bytes += n;
      length_bytes -= n;
      continue;
    }
    ++bytes;
    --length_bytes;
  }
}
