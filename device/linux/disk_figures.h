// Room on the mounted file systems of this machine.
//
// Only local ones with a size are looked at: asking one of a server that is gone would hold the
// agent up for minutes. Of several mounts at one place only the topmost is there to be seen.
//
// Threads: any; nothing is kept between calls.
// Owns or borrows: borrows the folder's name.
// Errors: false when the list of mounts is missing, or memory is out.
#ifndef DEVICE_LINUX_DISK_FIGURES_H_
#define DEVICE_LINUX_DISK_FIGURES_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kiv_disk_figures {
  char mount_point[64];  // cut when it is longer
  char kind[16];
  uint32_t total_kib;  // this and the others: UINT32_MAX for as much or more
  uint32_t free_kib;
  uint32_t available_kib;
  uint16_t used_permille;  // of all blocks, those that are not free; rounded down
} kiv_disk_figures;

// Leaves out the first `skip` file systems and takes at most `capacity`; `taken` says how many it
// took, `count` how many there are.
bool kiv_figures_disks(const char* proc_folder, uint32_t skip, kiv_disk_figures* out,
                       uint32_t capacity, uint32_t* taken, uint32_t* count);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_DISK_FIGURES_H_
