// Files beneath one folder, and never outside it, whatever a name says.
//
// Threads: any, as long as two do not write the same name at once.
// Owns or borrows: borrows the folder's descriptor; the caller closes what is opened.
// Errors: negative error numbers of the system.
#ifndef DEVICE_LINUX_BENEATH_H_
#define DEVICE_LINUX_BENEATH_H_

#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

// Opens `name` (relative, components separated by '/') below `folder` without following a symbolic
// link; a name that leaves the folder fails. Close-on-exec is always set.
int kiv_beneath_open(int folder, const char* name, int flags, mode_t mode);
// The same for kernels that lack the call for it or forbid it: component by component.
int kiv_beneath_open_by_steps(int folder, const char* name, int flags, mode_t mode);

// Reads a regular file of at most `capacity_bytes`; returns its length. A longer one is -EFBIG,
// anything but a regular file -EINVAL.
int kiv_beneath_read(int folder, const char* name, uint8_t* out, uint32_t capacity_bytes);

// Writes all bytes, in as many calls as it takes.
int kiv_beneath_write_all(int file, const uint8_t* bytes, uint32_t length_bytes);

// Replaces the file whole or not at all: written beside it, synced, read back and compared,
// renamed, the folder synced. `name` is one component. Returns 0.
int kiv_beneath_replace(int folder, const char* name, const uint8_t* bytes, uint32_t length_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_BENEATH_H_
