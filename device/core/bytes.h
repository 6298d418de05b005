// Bounds-checked reading and writing of little-endian bytes, whatever the processor's own order.
//
// A reader or writer that once ran over its end has failed and stays failed: it reads zeros and
// writes nothing more, so that a caller checks once, at the end.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: borrows the bytes.
// Errors: the member `failed`.
#ifndef DEVICE_CORE_BYTES_H_
#define DEVICE_CORE_BYTES_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kiv_reader {
  const uint8_t* bytes;
  uint32_t left_bytes;
  bool failed;
} kiv_reader;

kiv_reader kiv_reader_of(const uint8_t* bytes, uint32_t length_bytes);
uint8_t kiv_read_u8(kiv_reader* reader);
uint16_t kiv_read_u16(kiv_reader* reader);
uint32_t kiv_read_u32(kiv_reader* reader);
// The next `length_bytes` bytes where they stand; null (and failed) when there are not as many.
const uint8_t* kiv_read_bytes(kiv_reader* reader, uint32_t length_bytes);

typedef struct kiv_writer {
  uint8_t* bytes;
  uint32_t capacity_bytes;
  uint32_t used_bytes;
  bool failed;
} kiv_writer;

kiv_writer kiv_writer_of(uint8_t* bytes, uint32_t capacity_bytes);
void kiv_write_u8(kiv_writer* writer, uint8_t value);
void kiv_write_u16(kiv_writer* writer, uint16_t value);
void kiv_write_u32(kiv_writer* writer, uint32_t value);
// Null bytes with a length write zeros.
void kiv_write_bytes(kiv_writer* writer, const void* bytes, uint32_t length_bytes);

// The value whose bytes in memory are the little-endian form of `value`: for members of the
// structures that go out as they stand. Each is its own inverse.
uint16_t kiv_le16(uint16_t value);
uint32_t kiv_le32(uint32_t value);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_CORE_BYTES_H_
