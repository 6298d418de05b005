// The processes of this machine, in order of their numbers.
//
// Threads: any; nothing is kept between calls.
// Owns or borrows: borrows the folder's name.
// Errors: false when the folder cannot be read. A process that ends meanwhile is left out.
#ifndef DEVICE_LINUX_PROCESS_FIGURES_H_
#define DEVICE_LINUX_PROCESS_FIGURES_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_MAX_PROCESSES_TAKEN 16u

typedef struct kiv_process_figures {
  char name[16];
  char state;
  uint32_t pid;
  uint32_t parent_pid;
  uint32_t threads;
  uint32_t resident_kib;
  uint32_t cpu_ms;  // modulo 2 to the 32nd
} kiv_process_figures;

// Takes the up to KIV_MAX_PROCESSES_TAKEN processes with the lowest numbers above `after_pid`;
// `taken` says how many, `count` how many processes there are in all.
bool kiv_figures_processes(const char* proc_folder, uint32_t after_pid,
                           kiv_process_figures out[KIV_MAX_PROCESSES_TAKEN], uint32_t* taken,
                           uint32_t* count);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_PROCESS_FIGURES_H_
