// Counters of the network interfaces.
//
// Threads: any; nothing is kept between calls.
// Owns or borrows: borrows the folder's name.
// Errors: false when the kernel's text is missing or another one than expected.
#ifndef DEVICE_LINUX_NET_FIGURES_H_
#define DEVICE_LINUX_NET_FIGURES_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// The counters in the order in which the catalogue has them.
enum {
  KIV_NET_RX_BYTES,
  KIV_NET_RX_PACKETS,
  KIV_NET_RX_ERRORS,
  KIV_NET_RX_DROPPED,
  KIV_NET_TX_BYTES,
  KIV_NET_TX_PACKETS,
  KIV_NET_TX_ERRORS,
  KIV_NET_TX_DROPPED,
  KIV_NET_COUNTERS
};

typedef struct kiv_net_figures {
  char name[16];
  uint32_t counters[KIV_NET_COUNTERS];  // modulo 2 to the 32nd
} kiv_net_figures;

// Leaves out the first `skip` interfaces and takes at most `capacity`; `taken` says how many it
// took, `count` how many there are.
bool kiv_figures_net(const char* proc_folder, uint32_t skip, kiv_net_figures* out,
                     uint32_t capacity, uint32_t* taken, uint32_t* count);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_NET_FIGURES_H_
