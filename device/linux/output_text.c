#include "device/linux/output_text.h"

#include <string.h>

// Length of the character that the byte begins; 1 for what begins none.
static uint32_t length_of(uint8_t first) {
  if (first >= 0xF0 && first < 0xF8) return 4;
  if (first >= 0xE0 && first < 0xF0) return 3;
  return first >= 0xC0 && first < 0xE0 ? 2 : 1;
}

// How many bytes at the end are the beginning of a character that is not whole.
static uint32_t unfinished_bytes(const uint8_t* text, uint32_t length_bytes) {
  for (uint32_t back = 1; back <= KIV_OUTPUT_MAX_HELD_BYTES && back <= length_bytes; ++back) {
    const uint8_t byte = text[length_bytes - back];
    if ((byte & 0xC0) == 0x80) continue;
    return length_of(byte) > back ? back : 0;
  }
  return 0;
}

void kiv_output_reset(kiv_output_text* output) { output->held_bytes = 0; }

uint32_t kiv_output_add(kiv_output_text* output, const uint8_t* bytes, uint32_t length_bytes,
                        uint8_t* text) {
  uint32_t used = output->held_bytes;
  memcpy(text, output->held, used);
  for (uint32_t i = 0; i < length_bytes; ++i) {
    if (bytes[i] != 0) text[used++] = bytes[i];
  }
  output->held_bytes = unfinished_bytes(text, used);
  used -= output->held_bytes;
  memcpy(output->held, text + used, output->held_bytes);
  return used;
}

uint32_t kiv_output_end(kiv_output_text* output, uint8_t text[KIV_OUTPUT_MAX_HELD_BYTES]) {
  const uint32_t length = output->held_bytes;
  memcpy(text, output->held, length);
  output->held_bytes = 0;
  return length;
}
