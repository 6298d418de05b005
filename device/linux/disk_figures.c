#include "device/linux/disk_figures.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/statvfs.h>

#include "device/linux/proc_text.h"

// Kinds whose files are on another machine, or are made up by a program that may have stopped. One
// that begins with "fuse" is of them, too.
static const char* const kRemoteKinds[] = {"nfs", "nfs4", "cifs",   "smb3", "ceph",
                                           "afs", "9p",   "autofs", "ncpfs"};

static bool is_remote(const char* kind) {
  if (strncmp(kind, "fuse", 4) == 0) return true;
  for (size_t i = 0; i < sizeof kRemoteKinds / sizeof kRemoteKinds[0]; ++i) {
    if (strcmp(kind, kRemoteKinds[i]) == 0) return true;
  }
  return false;
}

// Blanks, tabs, line feeds and backslashes of a path are written as a backslash and three octal
// digits.
static void unescape(char* text) {
  char* out = text;
  for (const char* in = text; *in != '\0'; ++out) {
    if (in[0] == '\\' && in[1] >= '0' && in[1] <= '3' && in[2] >= '0' && in[2] <= '7' &&
        in[3] >= '0' && in[3] <= '7') {
      *out = (char)((in[1] - '0') << 6 | (in[2] - '0') << 3 | (in[3] - '0'));
      in += 4;
    } else {
      *out = *in++;
    }
  }
  *out = '\0';
}

static uint32_t kib_of(uint64_t blocks, uint64_t block_bytes) {
  // A size beyond 2 to the 64th bytes is a wrong one; told as the largest.
  if (block_bytes != 0 && blocks > UINT64_MAX / block_bytes) return UINT32_MAX;
  const uint64_t kib = blocks * block_bytes / 1024;
  return kib > UINT32_MAX ? UINT32_MAX : (uint32_t)kib;
}

// False when it cannot be asked or has no size (the kernel's own file systems).
static bool measure(const char* mount_point, kiv_disk_figures* out) {
  struct statvfs status;
  if (statvfs(mount_point, &status) != 0 || status.f_blocks == 0) return false;
  const uint64_t used = status.f_bfree > status.f_blocks ? 0 : status.f_blocks - status.f_bfree;
  out->total_kib = kib_of(status.f_blocks, status.f_frsize);
  out->free_kib = kib_of(status.f_bfree, status.f_frsize);
  out->available_kib = kib_of(status.f_bavail, status.f_frsize);
  // Without a product that could be too large.
  out->used_permille = (uint16_t)((double)used * 1000 / (double)status.f_blocks);
  return true;
}

// A line of the list of mounts.
typedef struct mount {
  char* point;
  bool is_remote;
  char kind[sizeof((kiv_disk_figures*)NULL)->kind];
} mount;

typedef struct mount_list {
  mount* mounts;
  size_t count;
  size_t capacity;
} mount_list;

static void free_mounts(mount_list* list) {
  for (size_t i = 0; i < list->count; ++i) free(list->mounts[i].point);
  free(list->mounts);
}

static bool make_room(mount_list* list) {
  if (list->count < list->capacity) return true;
  const size_t capacity = list->capacity == 0 ? 64 : 2 * list->capacity;
  mount* mounts = realloc(list->mounts, capacity * sizeof *mounts);
  if (mounts == NULL) return false;
  list->mounts = mounts;
  list->capacity = capacity;
  return true;
}

// False without memory; a line that is none of a mount is passed over.
static bool add_mount(mount_list* list, char* line) {
  char* rest = line;
  (void)strsep(&rest, " ");  // the device
  char* point = rest == NULL ? NULL : strsep(&rest, " ");
  const char* kind = rest == NULL ? NULL : strsep(&rest, " ");
  if (kind == NULL) return true;
  unescape(point);
  if (!make_room(list)) return false;
  mount* one = &list->mounts[list->count];
  one->point = strdup(point);
  if (one->point == NULL) return false;
  one->is_remote = is_remote(kind);
  (void)snprintf(one->kind, sizeof one->kind, "%s", kind);
  ++list->count;
  return true;
}

static bool read_mounts(mount_list* list, FILE* file) {
  char line[4096];
  bool line_begins = true;  // options can be longer than the buffer
  while (fgets(line, sizeof line, file) != NULL) {
    const bool line_ends = strchr(line, '\n') != NULL;
    if (line_begins && !add_mount(list, line)) return false;
    line_begins = line_ends;
  }
  return true;
}

// Of several mounts at one place the last is what a path leads to; the others cannot be seen.
static bool is_covered(const mount_list* list, size_t index) {
  for (size_t i = index + 1; i < list->count; ++i) {
    if (strcmp(list->mounts[i].point, list->mounts[index].point) == 0) return true;
  }
  return false;
}

static bool take_mount(const mount_list* list, size_t index, kiv_disk_figures* out) {
  const mount* one = &list->mounts[index];
  if (one->is_remote || is_covered(list, index)) return false;
  memset(out, 0, sizeof *out);
  (void)snprintf(out->mount_point, sizeof out->mount_point, "%s", one->point);
  memcpy(out->kind, one->kind, sizeof out->kind);
  return measure(one->point, out);
}

bool kiv_figures_disks(const char* proc_folder, uint32_t skip, kiv_disk_figures* out,
                       uint32_t capacity, uint32_t* taken, uint32_t* count) {
  *taken = 0;
  *count = 0;
  FILE* file = kiv_open_proc_text(proc_folder, "self/mounts");
  if (file == NULL) return false;
  mount_list list = {NULL, 0, 0};
  const bool whole = read_mounts(&list, file);
  (void)fclose(file);
  for (size_t i = 0; whole && i < list.count; ++i) {
    kiv_disk_figures one;
    if (take_mount(&list, i, &one) && (*count)++ >= skip && *taken < capacity) {
      out[(*taken)++] = one;
    }
  }
  free_mounts(&list);
  return whole;
}
