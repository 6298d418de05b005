#include "device/linux/proc_text.h"

#include <limits.h>

FILE* kiv_open_proc_text(const char* proc_folder, const char* name) {
  char path[PATH_MAX];
  const int length = snprintf(path, sizeof path, "%s/%s", proc_folder, name);
  return length < 0 || length >= (int)sizeof path ? NULL : fopen(path, "re");
}
