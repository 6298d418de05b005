#include "device/linux/process_figures.h"

#include <dirent.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "device/linux/proc_text.h"

// Columns behind the name, which is the second one.
enum {
  kStateColumn = 3,
  kParentColumn = 4,
  kUserTicksColumn = 14,
  kSystemTicksColumn = 15,
  kThreadsColumn = 20,
  kResidentColumn = 24
};

// Of "12 (name) S 1 ...": the name stands between the first and the last parenthesis, since it may
// hold blanks and parentheses itself.
static bool take_stat(char* line, kiv_process_figures* out) {
  char* open = strchr(line, '(');
  char* close = strrchr(line, ')');
  if (open == NULL || close == NULL || close < open) return false;
  *close = '\0';
  (void)snprintf(out->name, sizeof out->name, "%s", open + 1);
  char* rest = close + 1;
  uint64_t ticks = 0;
  for (int column = kStateColumn; column <= kResidentColumn; ++column) {
    rest += strspn(rest, " ");
    if (*rest == '\0' || *rest == '\n') return false;
    if (column == kStateColumn) {
      out->state = *rest;
    } else {
      const uint64_t value = strtoull(rest, NULL, 10);
      if (column == kParentColumn) out->parent_pid = (uint32_t)value;
      if (column == kUserTicksColumn || column == kSystemTicksColumn) ticks += value;
      if (column == kThreadsColumn) out->threads = (uint32_t)value;
      if (column == kResidentColumn) {
        const uint64_t kib = value * ((uint64_t)sysconf(_SC_PAGESIZE) / 1024);
        out->resident_kib = kib > UINT32_MAX ? UINT32_MAX : (uint32_t)kib;
      }
    }
    rest += strcspn(rest, " ");
  }
  out->cpu_ms = (uint32_t)(ticks * 1000 / (uint64_t)sysconf(_SC_CLK_TCK));
  return true;
}

static bool read_process(const char* proc_folder, uint32_t pid, kiv_process_figures* out) {
  char name[32];
  (void)snprintf(name, sizeof name, "%" PRIu32 "/stat", pid);
  FILE* file = kiv_open_proc_text(proc_folder, name);
  if (file == NULL) return false;
  char text[1024];
  const size_t length = fread(text, 1, sizeof text - 1, file);
  (void)fclose(file);
  text[length] = '\0';
  memset(out, 0, sizeof *out);
  out->pid = pid;
  return take_stat(text, out);
}

// The number that a folder of a process is named with; 0 for another name.
static uint32_t pid_of(const char* name) {
  if (name[0] < '1' || name[0] > '9') return 0;
  char* end = NULL;
  const unsigned long long value = strtoull(name, &end, 10);
  return *end != '\0' || value > UINT32_MAX ? 0 : (uint32_t)value;
}

// Keeps the lowest numbers, in order.
static void keep_lowest(uint32_t* pids, uint32_t* kept, uint32_t pid) {
  uint32_t at = *kept;
  if (at == KIV_MAX_PROCESSES_TAKEN && pid > pids[at - 1]) return;
  if (at < KIV_MAX_PROCESSES_TAKEN) ++*kept;
  if (at == KIV_MAX_PROCESSES_TAKEN) --at;
  for (; at > 0 && pids[at - 1] > pid; --at) pids[at] = pids[at - 1];
  pids[at] = pid;
}

bool kiv_figures_processes(const char* proc_folder, uint32_t after_pid,
                           kiv_process_figures out[KIV_MAX_PROCESSES_TAKEN], uint32_t* taken,
                           uint32_t* count) {
  uint32_t pids[KIV_MAX_PROCESSES_TAKEN];
  uint32_t kept = 0;
  *taken = 0;
  *count = 0;
  DIR* folder = opendir(proc_folder);
  if (folder == NULL) return false;
  const struct dirent* entry = NULL;
  // A stream of its own: NOLINTNEXTLINE(concurrency-mt-unsafe)
  while ((entry = readdir(folder)) != NULL) {
    const uint32_t pid = pid_of(entry->d_name);
    if (pid == 0) continue;
    ++*count;
    if (pid > after_pid) keep_lowest(pids, &kept, pid);
  }
  closedir(folder);
  for (uint32_t i = 0; i < kept; ++i) {
    if (read_process(proc_folder, pids[i], &out[*taken])) ++*taken;
  }
  return true;
}
