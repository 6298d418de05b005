#include "device/core/bytes.h"

#include <stddef.h>
#include <string.h>

kiv_reader kiv_reader_of(const uint8_t* bytes, uint32_t length_bytes) {
  kiv_reader reader = {bytes, bytes == NULL ? 0 : length_bytes, false};
  return reader;
}

const uint8_t* kiv_read_bytes(kiv_reader* reader, uint32_t length_bytes) {
  if (reader->failed || length_bytes > reader->left_bytes) {
    reader->failed = true;
    return NULL;
  }
  const uint8_t* at = reader->bytes;
  if (length_bytes > 0) {
    reader->bytes += length_bytes;
    reader->left_bytes -= length_bytes;
  }
  return at;
}

uint8_t kiv_read_u8(kiv_reader* reader) {
  const uint8_t* at = kiv_read_bytes(reader, 1);
  return at == NULL ? 0 : at[0];
}

uint16_t kiv_read_u16(kiv_reader* reader) {
  const uint8_t* at = kiv_read_bytes(reader, 2);
  return at == NULL ? 0 : (uint16_t)(at[0] | (uint16_t)(at[1] << 8));
}

uint32_t kiv_read_u32(kiv_reader* reader) {
  const uint8_t* at = kiv_read_bytes(reader, 4);
  if (at == NULL) return 0;
  return (uint32_t)at[0] | (uint32_t)at[1] << 8 | (uint32_t)at[2] << 16 | (uint32_t)at[3] << 24;
}

kiv_writer kiv_writer_of(uint8_t* bytes, uint32_t capacity_bytes) {
  kiv_writer writer = {bytes, capacity_bytes, 0, false};
  return writer;
}

void kiv_write_bytes(kiv_writer* writer, const void* bytes, uint32_t length_bytes) {
  if (writer->failed || length_bytes > writer->capacity_bytes - writer->used_bytes) {
    writer->failed = true;
    return;
  }
  if (length_bytes == 0) return;
  uint8_t* at = writer->bytes + writer->used_bytes;
  if (bytes == NULL) {
    memset(at, 0, length_bytes);
  } else {
    memcpy(at, bytes, length_bytes);
  }
  writer->used_bytes += length_bytes;
}

void kiv_write_u8(kiv_writer* writer, uint8_t value) { kiv_write_bytes(writer, &value, 1); }

void kiv_write_u16(kiv_writer* writer, uint16_t value) {
  const uint8_t bytes[2] = {(uint8_t)value, (uint8_t)(value >> 8)};
  kiv_write_bytes(writer, bytes, sizeof bytes);
}

void kiv_write_u32(kiv_writer* writer, uint32_t value) {
  const uint8_t bytes[4] = {(uint8_t)value, (uint8_t)(value >> 8), (uint8_t)(value >> 16),
                            (uint8_t)(value >> 24)};
  kiv_write_bytes(writer, bytes, sizeof bytes);
}

uint16_t kiv_le16(uint16_t value) {
  const uint8_t bytes[2] = {(uint8_t)value, (uint8_t)(value >> 8)};
  uint16_t ordered;
  memcpy(&ordered, bytes, sizeof ordered);
  return ordered;
}

uint32_t kiv_le32(uint32_t value) {
  const uint8_t bytes[4] = {(uint8_t)value, (uint8_t)(value >> 8), (uint8_t)(value >> 16),
                            (uint8_t)(value >> 24)};
  uint32_t ordered;
  memcpy(&ordered, bytes, sizeof ordered);
  return ordered;
}
