// The commands of the board catalogue that load a file. Their context is the board.
//
// Threads, what they own and their errors are those of board.h.
#ifndef DEVICE_LINUX_BOARD_LOAD_H_
#define DEVICE_LINUX_BOARD_LOAD_H_

#include <stdint.h>

#include "device/core/bytes.h"

#ifdef __cplusplus
extern "C" {
#endif

uint32_t kiv_board_ldnv(void* context, const uint8_t* request, uint32_t request_bytes,
                        kiv_writer* reply);
uint32_t kiv_board_load_info(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_BOARD_LOAD_H_
