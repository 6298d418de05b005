// Puts a text into a field of fixed size.
#ifndef DEVICE_LINUX_FIELD_TEXT_H_
#define DEVICE_LINUX_FIELD_TEXT_H_

#include <stddef.h>
#include <string.h>

// Cuts the text when it is too long, fills the field with zeros, always terminates it.
static inline void kiv_set_text(char* field, size_t field_bytes, const char* text) {
  const size_t length = strnlen(text, field_bytes - 1);
  memcpy(field, text, length);
  memset(field + length, 0, field_bytes - length);
}
#define KIV_SET_TEXT(field, text) kiv_set_text((field), sizeof(field), (text))

#endif  // DEVICE_LINUX_FIELD_TEXT_H_
