// The commands of the board catalogue, answered with this machine's figures.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: borrows the folders' names; owns its NV store.
// Errors: result codes to the host.
#ifndef DEVICE_LINUX_BOARD_H_
#define DEVICE_LINUX_BOARD_H_

#include <stdint.h>

#include "device/core/agent.h"
#include "device/linux/faults.h"
#include "device/linux/figures.h"
#include "device/linux/indications.h"
#include "device/linux/load.h"
#include "device/linux/nv_store.h"

#ifdef __cplusplus
extern "C" {
#endif

// Room for the largest confirmation of the catalogue and a routing head.
#define KIV_BOARD_REPLY_BYTES 4096u
// Room for the largest indication.
#define KIV_BOARD_INDICATION_BYTES 256u

typedef struct kiv_board {
  const char* proc_folder;
  kiv_nv_store nv;
  kiv_cpu_times load_asked;      // when the command last asked, and
  kiv_cpu_times load_indicated;  // when an indication last told
  kiv_indications indications;
  kiv_faults faults;
  kiv_load load;  // off until kiv_load_open
} kiv_board;

void kiv_board_init(kiv_board* board, const char* proc_folder, const char* data_folder);
void kiv_board_destroy(kiv_board* board);
// What a session had started, indications, faults and a load, ends with it.
void kiv_board_end_session(kiv_board* board);
// The commands; their context is the board.
const kiv_command* kiv_board_commands(uint32_t* count);
// The catalogue's fingerprint, as hosts show it.
const uint8_t* kiv_board_fingerprint(uint8_t* length_bytes);
// Writes the next indication that is due and says which id it has; 0 when none is due.
uint32_t kiv_board_next_indication(kiv_board* board, int64_t now_ms, kiv_writer* body);
// The same for the indications that a fault asked for; `waiting` is how many wait for the host.
uint32_t kiv_board_next_of_fault(kiv_board* board, uint32_t waiting, kiv_writer* body);
// When something is due next: an indication, a confirmation held back, the end of a load's time; -1
// when nothing is.
int64_t kiv_board_next_due_ms(const kiv_board* board);
// Time on the clock by which all that is due.
int64_t kiv_board_now_ms(void);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_BOARD_H_
