#include "device/linux/board_load.h"

#include <string.h>
#include <time.h>

#include "board_catalogue.h"
#include "device/core/result_codes.h"
#include "device/linux/board.h"

uint32_t kiv_board_ldnv(void* context, const uint8_t* request, uint32_t request_bytes,
                        kiv_writer* reply) {
  kiv_board* board = context;
  kiv_reader reader = kiv_reader_of(request, request_bytes);
  kiv_load_part part;
  part.index = kiv_read_u16(&reader);
  part.count = kiv_read_u16(&reader);
  const uint8_t* data = kiv_read_bytes(&reader, sizeof part.bytes);
  part.length_bytes = kiv_read_u16(&reader);
  if (reader.failed) return KIV_RESULT_BODY_SHORT;
  memcpy(part.bytes, data, sizeof part.bytes);
  kiv_load_progress state = KIV_LOAD_NONE;
  const uint32_t result = kiv_load_take(&board->load, &part, kiv_board_now_ms(), &state);
  if (result != KIV_RESULT_OK) return result;
  kiv_ldnv_cnf body;
  memset(&body, 0, sizeof body);
  body.chunk_index = kiv_le16(part.index);
  body.chunk_count = kiv_le16(part.count);
  body.state = (kiv_load_state)state;
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

// By the board's clock, which may have been set back.
static uint32_t age_s(const struct stat* status) {
  const time_t now = time(NULL);
  const int64_t age = (int64_t)now - (int64_t)status->st_mtim.tv_sec;
  if (age < 0) return 0;
  return age < UINT32_MAX ? (uint32_t)age : UINT32_MAX;
}

uint32_t kiv_board_load_info(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply) {
  (void)request;
  (void)request_bytes;
  kiv_board* board = context;
  kiv_load* load = &board->load;
  kiv_load_progress state = KIV_LOAD_NONE;
  bool has_file = false;
  const uint32_t result = kiv_load_info(load, &state, &has_file);
  if (result != KIV_RESULT_OK) return result;
  kiv_load_info_cnf body;
  memset(&body, 0, sizeof body);
  body.state = (kiv_load_state)state;
  if (has_file) {
    const kiv_stored_file* stored = &load->file.stored;
    body.size_bytes = kiv_le32((uint32_t)stored->status.st_size);
    memcpy(body.sha256, stored->digest, sizeof body.sha256);
    body.age_s = kiv_le32(age_s(&stored->status));
  }
  if (kiv_load_is_receiving(load)) {
    body.chunks_received = kiv_le16(load->next_index);
    body.chunk_count = kiv_le16(load->last.count);
  }
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}
