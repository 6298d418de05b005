// The commands of the board catalogue that list things of the system, and its clock. Their context
// is the board.
//
// Threads, what they own and their errors are those of board.h.
#ifndef DEVICE_LINUX_BOARD_LISTS_H_
#define DEVICE_LINUX_BOARD_LISTS_H_

#include <stdint.h>

#include "device/core/bytes.h"

#ifdef __cplusplus
extern "C" {
#endif

uint32_t kiv_board_net_stats(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply);
uint32_t kiv_board_disk_usage(void* context, const uint8_t* request, uint32_t request_bytes,
                              kiv_writer* reply);
uint32_t kiv_board_proc_list(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply);
uint32_t kiv_board_time_read(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_BOARD_LISTS_H_
