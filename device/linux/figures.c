#include "device/linux/figures.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device/linux/proc_text.h"

typedef struct memory_row {
  const char* key;
  size_t offset;
  bool needed;  // an old kernel, or one without swap, may leave the others out
} memory_row;

static const memory_row kMemoryRows[] = {
    {"MemTotal", offsetof(kiv_memory, total_kib), true},
    {"MemFree", offsetof(kiv_memory, free_kib), true},
    {"MemAvailable", offsetof(kiv_memory, available_kib), false},
    {"Buffers", offsetof(kiv_memory, buffers_kib), false},
    {"Cached", offsetof(kiv_memory, cached_kib), false},
    {"SwapTotal", offsetof(kiv_memory, swap_total_kib), false},
    {"SwapFree", offsetof(kiv_memory, swap_free_kib), false}};
enum { kMemoryRowCount = sizeof kMemoryRows / sizeof kMemoryRows[0] };

// Takes a line "Key:   number kB"; returns the row that it belongs to, kMemoryRowCount for none.
static size_t take_memory_line(const char* line, kiv_memory* memory) {
  char key[32];
  uint64_t value_kib = 0;
  if (sscanf(line, "%31[^:]: %" SCNu64, key, &value_kib) != 2) return kMemoryRowCount;
  const uint32_t shown_kib = value_kib > UINT32_MAX ? UINT32_MAX : (uint32_t)value_kib;
  for (size_t i = 0; i < kMemoryRowCount; ++i) {
    if (strcmp(key, kMemoryRows[i].key) != 0) continue;
    memcpy((char*)memory + kMemoryRows[i].offset, &shown_kib, sizeof shown_kib);
    return i;
  }
  return kMemoryRowCount;
}

bool kiv_figures_memory(const char* proc_folder, kiv_memory* memory) {
  memset(memory, 0, sizeof *memory);
  FILE* file = kiv_open_proc_text(proc_folder, "meminfo");
  if (file == NULL) return false;
  bool seen[kMemoryRowCount + 1] = {false};
  char line[256];
  while (fgets(line, sizeof line, file) != NULL) seen[take_memory_line(line, memory)] = true;
  (void)fclose(file);
  for (size_t i = 0; i < kMemoryRowCount; ++i) {
    if (kMemoryRows[i].needed && !seen[i]) return false;
  }
  return true;
}

// Takes the columns behind "cpu" or "cpuN": user nice system idle iowait irq softirq steal. Guest
// time, behind them, is contained in user time. Old kernels have fewer columns.
static bool take_ticks(const char* text, kiv_cpu_time* time) {
  enum { kColumns = 8, kNeeded = 4, kIdle = 3, kWaiting = 4 };
  int column = 0;
  for (; column < kColumns; ++column) {
    char* end = NULL;
    const uint64_t ticks = strtoull(text, &end, 10);
    if (end == text) break;
    text = end;
    time->all += ticks;
    if (column != kIdle && column != kWaiting) time->busy += ticks;
  }
  return column >= kNeeded;
}

static bool take_cpu_line(const char* line, kiv_cpu_times* times) {
  if (strncmp(line, "cpu", 3) != 0) return true;
  if (line[3] == ' ') return take_ticks(line + 4, &times->total);
  char* end = NULL;
  const unsigned long number = strtoul(line + 3, &end, 10);
  ++times->online_count;
  return number >= KIV_MAX_CPUS || take_ticks(end, &times->cpu[number]);
}

bool kiv_figures_cpu(const char* proc_folder, kiv_cpu_times* times) {
  memset(times, 0, sizeof *times);
  FILE* file = kiv_open_proc_text(proc_folder, "stat");
  if (file == NULL) return false;
  bool good = true;
  bool line_begins = true;  // the line of interrupts is longer than the buffer
  char line[512];
  while (good && fgets(line, sizeof line, file) != NULL) {
    if (line_begins) good = take_cpu_line(line, times);
    line_begins = strchr(line, '\n') != NULL;
  }
  (void)fclose(file);
  return good && times->total.all > 0;
}

uint16_t kiv_cpu_permille(const kiv_cpu_time* before, const kiv_cpu_time* now) {
  // Waiting time can run backwards by a few ticks.
  if (now->all <= before->all || now->busy <= before->busy) return 0;
  const uint64_t permille = (now->busy - before->busy) * 1000 / (now->all - before->all);
  return permille > 1000 ? 1000 : (uint16_t)permille;
}

bool kiv_figures_load_average(const char* proc_folder, uint32_t centi[3]) {
  FILE* file = kiv_open_proc_text(proc_folder, "loadavg");
  if (file == NULL) return false;
  uint32_t whole[3];
  uint32_t hundredths[3];
  const int taken =
      fscanf(file, "%" SCNu32 ".%2" SCNu32 " %" SCNu32 ".%2" SCNu32 " %" SCNu32 ".%2" SCNu32,
             &whole[0], &hundredths[0], &whole[1], &hundredths[1], &whole[2], &hundredths[2]);
  (void)fclose(file);
  if (taken != 6) return false;
  for (int i = 0; i < 3; ++i) centi[i] = whole[i] * 100 + hundredths[i];
  return true;
}

bool kiv_figures_boot_id(const char* proc_folder, char* out, size_t capacity_bytes) {
  FILE* file = kiv_open_proc_text(proc_folder, "sys/kernel/random/boot_id");
  if (file == NULL) return false;
  const bool read = fgets(out, (int)capacity_bytes, file) != NULL;
  (void)fclose(file);
  if (read) out[strcspn(out, "\n")] = '\0';
  return read;
}
