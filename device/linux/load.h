// Loads: the parts of a file that a host sends one by one, put together in order. Part 0 begins a
// load anew, the last part stores the file; a load that is not gone on with is forgotten.
//
// Threads: none of its own; an object belongs to one thread. It knows no clock: times are handed
// in. Owns or borrows: owns its file. Errors: result codes to the host. A part that is refused
// leaves the load as it is, unless the disk or the size was the reason: then there is none any
// more. The stored file stays as it was.
#ifndef DEVICE_LINUX_LOAD_H_
#define DEVICE_LINUX_LOAD_H_

#include <stdbool.h>
#include <stdint.h>

#include "device/linux/load_file.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_LOAD_PART_BYTES 2048u
#define KIV_LOAD_MAX_BYTES (65535u * KIV_LOAD_PART_BYTES)
#define KIV_LOAD_DEFAULT_LIMIT_BYTES (16u * 1024 * 1024)
// A load of which nothing came for so long is forgotten.
#define KIV_LOAD_PATIENCE_MS 10000

typedef struct kiv_load_part {
  uint16_t index;
  uint16_t count;
  uint16_t length_bytes;
  uint8_t bytes[KIV_LOAD_PART_BYTES];  // behind `length_bytes` of no meaning
} kiv_load_part;

// The numbers are those of the catalogue.
typedef enum kiv_load_progress {
  KIV_LOAD_NONE = 0,
  KIV_LOAD_RECEIVING = 1,
  KIV_LOAD_STORED = 2
} kiv_load_progress;

typedef struct kiv_load {
  uint32_t limit_bytes;
  kiv_load_file file;
  uint16_t next_index;  // of the part that is due; means something while receiving
  int64_t forget_at_ms;
  bool has_last;
  kiv_load_part last;  // the part accepted last, of this load or of the file stored last
} kiv_load;

// Loads are off.
void kiv_load_init(kiv_load* load);
// Turns them on; a negative error number when the folder cannot be had. Its name must stay until
// the loads are closed.
int kiv_load_open(kiv_load* load, const char* folder, uint32_t limit_bytes);
void kiv_load_close(kiv_load* load);
bool kiv_load_is_on(const kiv_load* load);

// Takes a part. On 0 `state` is KIV_LOAD_RECEIVING, or KIV_LOAD_STORED when the file is on the
// disk. The part accepted last may be sent again, for a host that missed its answer.
uint32_t kiv_load_take(kiv_load* load, const kiv_load_part* part, int64_t now_ms,
                       kiv_load_progress* state);
// On 0 `state` says what there is, and the stored file is described in `load->file.stored` when
// `has_file` is set.
uint32_t kiv_load_info(kiv_load* load, kiv_load_progress* state, bool* has_file);
bool kiv_load_is_receiving(const kiv_load* load);

// A session is over, and its load with it.
void kiv_load_end_session(kiv_load* load);
// When the load is to be forgotten; -1 when there is none.
int64_t kiv_load_next_due_ms(const kiv_load* load);
// Forgets it when its time has come.
void kiv_load_expire(kiv_load* load, int64_t now_ms);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_LOAD_H_
