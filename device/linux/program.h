// The agent's loop: one thread, one poll, the host over standard input and output or hosts over a
// Unix socket, indications by a timer, an orderly end by signal.
//
// Threads: the calling one.
// Owns or borrows: everything inside is its own; borrows the options.
// Errors: texts on standard error and the exit status.
#ifndef DEVICE_LINUX_PROGRAM_H_
#define DEVICE_LINUX_PROGRAM_H_

#include "device/linux/options.h"

#ifdef __cplusplus
extern "C" {
#endif

// Runs until the input ends, a signal comes or nothing can go on; returns the exit status.
int kiv_program_run(const kiv_options* options);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_PROGRAM_H_
