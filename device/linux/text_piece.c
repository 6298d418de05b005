#include "device/linux/text_piece.h"

bool kiv_is_full_piece(const uint8_t* text, uint32_t text_bytes) {
  if (text_bytes == 0 || text[text_bytes - 1] == '\n') return false;
  if (text_bytes == KIV_PIECE_CHARS) return true;
  uint32_t points = 0;
  uint32_t units = 0;
  for (uint32_t i = 0; i < text_bytes; ++i) {
    if ((text[i] & 0xC0) == 0x80) continue;
    ++points;
    units += text[i] >= 0xF0 ? 2 : 1;
  }
  return points == KIV_PIECE_CHARS || units == KIV_PIECE_CHARS;
}
