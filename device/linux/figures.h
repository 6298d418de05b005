// Figures of the running system, read from the kernel's text files.
//
// Threads: any; nothing is kept between calls.
// Owns or borrows: borrows the folder's name ("/proc", another one in tests).
// Errors: false when a file is missing or says something else than expected; the out-parameter then
// holds nothing that may be used.
#ifndef DEVICE_LINUX_FIGURES_H_
#define DEVICE_LINUX_FIGURES_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_MAX_CPUS 16u

typedef struct kiv_memory {
  uint32_t total_kib;
  uint32_t free_kib;
  uint32_t available_kib;
  uint32_t buffers_kib;
  uint32_t cached_kib;
  uint32_t swap_total_kib;
  uint32_t swap_free_kib;
} kiv_memory;

// Ticks since the start of the machine.
typedef struct kiv_cpu_time {
  uint64_t busy;
  uint64_t all;
} kiv_cpu_time;

typedef struct kiv_cpu_times {
  kiv_cpu_time total;
  kiv_cpu_time cpu[KIV_MAX_CPUS];  // by the kernel's number; zero where there is none
  uint32_t online_count;           // also of those beyond KIV_MAX_CPUS
} kiv_cpu_times;

bool kiv_figures_memory(const char* proc_folder, kiv_memory* memory);
bool kiv_figures_cpu(const char* proc_folder, kiv_cpu_times* times);
// Share of busy ticks between two readings, 0 to 1000; 0 when no tick lies between them.
uint16_t kiv_cpu_permille(const kiv_cpu_time* before, const kiv_cpu_time* now);
// Run queue over 1, 5 and 15 minutes, times 100.
bool kiv_figures_load_average(const char* proc_folder, uint32_t centi[3]);
// Another text after each start of the kernel; terminated, cut when it does not fit.
bool kiv_figures_boot_id(const char* proc_folder, char* out, size_t capacity_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_FIGURES_H_
