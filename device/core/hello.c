#include "device/core/hello.h"

#include <string.h>

#include "device/core/bytes.h"

enum { kGreetingBytes = 8 };

static const char* greeting_of(kiv_side side) {
  return side == KIV_SIDE_HOST ? "KIV-HOST" : "KIV-UNIT";
}

static const uint8_t* read_counted(kiv_reader* reader, uint32_t max_bytes, uint8_t* length_bytes) {
  *length_bytes = kiv_read_u8(reader);
  if (*length_bytes > max_bytes) reader->failed = true;
  return kiv_read_bytes(reader, *length_bytes);
}

bool kiv_hello_read(kiv_hello* hello, kiv_side from, const uint8_t* body, uint32_t body_bytes) {
  kiv_reader reader = kiv_reader_of(body, body_bytes);
  const uint8_t* greeting = kiv_read_bytes(&reader, kGreetingBytes);
  if (greeting == NULL || memcmp(greeting, greeting_of(from), kGreetingBytes) != 0) return false;
  hello->protocol_version = kiv_read_u16(&reader);
  hello->variant = kiv_read_u16(&reader);
  hello->product = kiv_read_u16(&reader);
  (void)kiv_read_u16(&reader);
  hello->abilities = kiv_read_u32(&reader);
  hello->fingerprint =
      read_counted(&reader, KIV_HELLO_MAX_FINGERPRINT_BYTES, &hello->fingerprint_bytes);
  hello->name = read_counted(&reader, KIV_HELLO_MAX_NAME_BYTES, &hello->name_bytes);
  hello->token = read_counted(&reader, KIV_HELLO_MAX_TOKEN_BYTES, &hello->token_bytes);
  return !reader.failed;
}

static void write_counted(kiv_writer* writer, const uint8_t* bytes, uint8_t length_bytes,
                          uint32_t max_bytes) {
  if (length_bytes > max_bytes) writer->failed = true;
  kiv_write_u8(writer, length_bytes);
  kiv_write_bytes(writer, bytes, length_bytes);
}

uint32_t kiv_hello_write(const kiv_hello* hello, kiv_side from, uint8_t out[KIV_HELLO_MAX_BYTES]) {
  kiv_writer writer = kiv_writer_of(out, KIV_HELLO_MAX_BYTES);
  kiv_write_bytes(&writer, greeting_of(from), kGreetingBytes);
  kiv_write_u16(&writer, hello->protocol_version);
  kiv_write_u16(&writer, hello->variant);
  kiv_write_u16(&writer, hello->product);
  kiv_write_u16(&writer, 0);
  kiv_write_u32(&writer, hello->abilities);
  write_counted(&writer, hello->fingerprint, hello->fingerprint_bytes,
                KIV_HELLO_MAX_FINGERPRINT_BYTES);
  write_counted(&writer, hello->name, hello->name_bytes, KIV_HELLO_MAX_NAME_BYTES);
  write_counted(&writer, hello->token, hello->token_bytes, KIV_HELLO_MAX_TOKEN_BYTES);
  return writer.failed ? 0 : writer.used_bytes;
}
