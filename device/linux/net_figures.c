#include "device/linux/net_figures.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device/linux/proc_text.h"

// Columns of the kernel's text: bytes packets errs drop fifo frame compressed multicast of what was
// received, then bytes packets errs drop ... of what was sent.
enum { kColumnsNeeded = 12 };
static const int kCounterOfColumn[kColumnsNeeded] = {
    KIV_NET_RX_BYTES, KIV_NET_RX_PACKETS, KIV_NET_RX_ERRORS, KIV_NET_RX_DROPPED, -1, -1, -1, -1,
    KIV_NET_TX_BYTES, KIV_NET_TX_PACKETS, KIV_NET_TX_ERRORS, KIV_NET_TX_DROPPED};

static bool take_interface(const char* line, kiv_net_figures* out) {
  memset(out, 0, sizeof *out);
  line += strspn(line, " ");
  const char* colon = strrchr(line, ':');  // a name may have colons of its own
  const size_t length = colon == NULL ? 0 : (size_t)(colon - line);
  if (length == 0 || length >= sizeof out->name) return false;
  memcpy(out->name, line, length);
  const char* at = colon + 1;
  for (int column = 0; column < kColumnsNeeded; ++column) {
    char* end = NULL;
    const unsigned long long value = strtoull(at, &end, 10);
    if (end == at) return false;
    at = end;
    const int counter = kCounterOfColumn[column];
    if (counter >= 0) out->counters[counter] = (uint32_t)value;
  }
  return true;
}

bool kiv_figures_net(const char* proc_folder, uint32_t skip, kiv_net_figures* out,
                     uint32_t capacity, uint32_t* taken, uint32_t* count) {
  *taken = 0;
  *count = 0;
  FILE* file = kiv_open_proc_text(proc_folder, "net/dev");
  if (file == NULL) return false;
  char line[512];
  bool good = true;
  for (int number = 0; good && fgets(line, sizeof line, file) != NULL; ++number) {
    if (number < 2) {  // headings
      good = strchr(line, '|') != NULL;
      continue;
    }
    kiv_net_figures one;
    good = take_interface(line, &one);
    if (good && (*count)++ >= skip && *taken < capacity) out[(*taken)++] = one;
  }
  (void)fclose(file);
  return good;
}
