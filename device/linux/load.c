#include "device/linux/load.h"

#include <errno.h>
#include <inttypes.h>
#include <string.h>

#include "device/core/result_codes.h"
#include "device/linux/notice.h"

void kiv_load_init(kiv_load* load) {
  memset(load, 0, sizeof *load);
  kiv_load_file_init(&load->file);
}

int kiv_load_open(kiv_load* load, const char* folder, uint32_t limit_bytes) {
  load->limit_bytes = limit_bytes;
  return kiv_load_file_open_folder(&load->file, folder);
}

void kiv_load_close(kiv_load* load) { kiv_load_file_close_folder(&load->file); }

bool kiv_load_is_on(const kiv_load* load) { return load->file.folder >= 0; }

bool kiv_load_is_receiving(const kiv_load* load) { return load->file.temporary >= 0; }

void kiv_load_end_session(kiv_load* load) {
  kiv_load_file_discard(&load->file);
  load->has_last = false;
}

int64_t kiv_load_next_due_ms(const kiv_load* load) {
  return kiv_load_is_receiving(load) ? load->forget_at_ms : -1;
}

void kiv_load_expire(kiv_load* load, int64_t now_ms) {
  if (!kiv_load_is_receiving(load) || now_ms < load->forget_at_ms) return;
  kiv_notice(KIV_NOTICE_WARNING,
             "a load was not gone on with after %" PRIu16 " of %" PRIu16 " parts, it is forgotten",
             load->next_index, load->last.count);
  kiv_load_end_session(load);
}

static uint32_t result_of(int error) {
  switch (error) {
    case 0:
      return KIV_RESULT_OK;
    case -EBUSY:
      return KIV_RESULT_BUSY;
    case -ENOSPC:
    case -EDQUOT:
    case -EFBIG:  // the system's limit on sizes: no room, as on a full disk
      return KIV_RESULT_STORAGE_FULL;
    case -EILSEQ:
      return KIV_RESULT_LOAD_DAMAGED;
    default:
      return KIV_RESULT_STORAGE_FAILED;
  }
}

// The disk failed: the load is over.
static uint32_t give_up(kiv_load* load, int error) {
  errno = -error;  // %m is its text
  kiv_notice(KIV_NOTICE_WARNING, "a load failed: %m");
  load->has_last = false;
  return result_of(error);
}

static bool is_last(const kiv_load_part* part) { return part->index + 1 == part->count; }

static uint64_t bytes_before(const kiv_load_part* part) {
  return (uint64_t)part->index * KIV_LOAD_PART_BYTES;
}

// What can be said of a part by itself.
static uint32_t check_form(const kiv_load_part* part) {
  if (part->count == 0 || part->index >= part->count) return KIV_RESULT_LOAD_COUNT;
  if (part->length_bytes == 0 || part->length_bytes > KIV_LOAD_PART_BYTES) {
    return KIV_RESULT_LOAD_LENGTH;
  }
  if (!is_last(part) && part->length_bytes < KIV_LOAD_PART_BYTES) return KIV_RESULT_LOAD_LENGTH;
  return KIV_RESULT_OK;
}

static bool is_same(const kiv_load_part* one, const kiv_load_part* other) {
  return one->length_bytes == other->length_bytes &&
         memcmp(one->bytes, other->bytes, one->length_bytes) == 0;
}

// Whether it is the part accepted last, sent again.
static bool is_repeated(const kiv_load* load, const kiv_load_part* part) {
  return load->has_last && part->index != 0 && part->index == load->last.index;
}

// Its answer may have been lost. A file that was stored and has been changed or taken away since is
// not said to be stored.
static uint32_t answer_again(kiv_load* load, const kiv_load_part* part, int64_t now_ms,
                             kiv_load_progress* state) {
  if (part->count != load->last.count) return KIV_RESULT_LOAD_COUNT;
  if (!is_same(part, &load->last)) return KIV_RESULT_LOAD_REPEATED;
  if (kiv_load_is_receiving(load)) {
    load->forget_at_ms = now_ms + KIV_LOAD_PATIENCE_MS;
    *state = KIV_LOAD_RECEIVING;
    return KIV_RESULT_OK;
  }
  *state = KIV_LOAD_STORED;
  return kiv_load_file_is_unchanged(&load->file) ? KIV_RESULT_OK : KIV_RESULT_NO_LOAD;
}

// A file whose last part is still to come has at least one byte in it.
static uint64_t least_size(const kiv_load_part* part) {
  if (is_last(part)) return bytes_before(part) + part->length_bytes;
  return (uint64_t)(part->count - 1) * KIV_LOAD_PART_BYTES + 1;
}

static uint64_t most_size(const kiv_load* load, const kiv_load_part* part) {
  const uint64_t size_bytes = (uint64_t)part->count * KIV_LOAD_PART_BYTES;
  return size_bytes < load->limit_bytes ? size_bytes : load->limit_bytes;
}

// Part 0 begins anew, whatever was before; every other one must be the one that is due.
static uint32_t begin_or_go_on(kiv_load* load, const kiv_load_part* part) {
  if (part->index == 0) {
    kiv_load_end_session(load);
  } else if (!kiv_load_is_receiving(load)) {
    return KIV_RESULT_NO_LOAD;
  } else if (part->count != load->last.count) {
    return KIV_RESULT_LOAD_COUNT;
  } else if (part->index != load->next_index) {
    return KIV_RESULT_LOAD_ORDER;
  }
  if (least_size(part) > load->limit_bytes) {
    kiv_load_end_session(load);
    return KIV_RESULT_LOAD_TOO_LARGE;
  }
  if (part->index != 0) return KIV_RESULT_OK;
  const int begun = kiv_load_file_begin(&load->file, most_size(load, part));
  return begun == 0 ? (uint32_t)KIV_RESULT_OK : give_up(load, begun);
}

uint32_t kiv_load_take(kiv_load* load, const kiv_load_part* part, int64_t now_ms,
                       kiv_load_progress* state) {
  if (!kiv_load_is_on(load)) return KIV_RESULT_NOT_ENABLED;
  uint32_t result = check_form(part);
  if (result != KIV_RESULT_OK) return result;
  if (is_repeated(load, part)) return answer_again(load, part, now_ms, state);
  result = begin_or_go_on(load, part);
  if (result != KIV_RESULT_OK) return result;
  int error = kiv_load_file_append(&load->file, part->bytes, part->length_bytes);
  if (error == 0 && is_last(part)) error = kiv_load_file_store(&load->file);
  if (error != 0) return give_up(load, error);
  load->last = *part;
  load->has_last = true;
  load->next_index = (uint16_t)(part->index + 1);
  load->forget_at_ms = now_ms + KIV_LOAD_PATIENCE_MS;
  *state = is_last(part) ? KIV_LOAD_STORED : KIV_LOAD_RECEIVING;
  if (is_last(part)) {
    kiv_notice(KIV_NOTICE_NOTICE, "stored a file of %" PRIu64 " bytes", load->file.size_bytes);
  }
  return KIV_RESULT_OK;
}

uint32_t kiv_load_info(kiv_load* load, kiv_load_progress* state, bool* has_file) {
  if (!kiv_load_is_on(load)) return KIV_RESULT_NOT_ENABLED;
  const int found = kiv_load_file_stored(&load->file, load->limit_bytes);
  if (found == -EFBIG) return KIV_RESULT_LOAD_TOO_LARGE;
  if (found != 0 && found != -ENOENT) return result_of(found);
  *has_file = found == 0;
  *state = found == 0 ? KIV_LOAD_STORED : KIV_LOAD_NONE;
  if (kiv_load_is_receiving(load)) *state = KIV_LOAD_RECEIVING;
  return KIV_RESULT_OK;
}
