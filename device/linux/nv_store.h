// Numbered items that outlive the agent, each a file beneath DATA/nv.
//
// Threads: one; two agents may share a folder, the later write wins whole.
// Owns or borrows: owns the folder's descriptor.
// Errors: result codes.
#ifndef DEVICE_LINUX_NV_STORE_H_
#define DEVICE_LINUX_NV_STORE_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_NV_MAX_ITEM_BYTES 4096u
#define KIV_NV_MAX_ITEMS 4096u

typedef struct kiv_nv_store {
  const char* data_folder;  // borrowed; made at the first write
  int folder;               // of the items, -1 until it is open
} kiv_nv_store;

void kiv_nv_init(kiv_nv_store* store, const char* data_folder);
void kiv_nv_destroy(kiv_nv_store* store);
// On 0 `length_bytes` is the item's length. 705 when there is no such item, 706 when it cannot be
// read or is damaged.
uint32_t kiv_nv_read(kiv_nv_store* store, uint32_t item, uint8_t* out, uint32_t capacity_bytes,
                     uint32_t* length_bytes);
// 703 when it is longer than an item may be, 706 or 707 when it could not be stored; the item is
// then what it was.
uint32_t kiv_nv_write(kiv_nv_store* store, uint32_t item, const uint8_t* bytes,
                      uint32_t length_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_NV_STORE_H_
