#include "device/linux/board_lists.h"

#include <string.h>
#include <time.h>

#include "board_catalogue.h"
#include "device/core/result_codes.h"
#include "device/linux/board.h"
#include "device/linux/disk_figures.h"
#include "device/linux/field_text.h"
#include "device/linux/net_figures.h"
#include "device/linux/process_figures.h"

#define COUNT_OF(array) (sizeof(array) / sizeof((array)[0]))

static uint32_t first_of(const uint8_t* request, uint32_t request_bytes) {
  kiv_first_req asked;
  memcpy(&asked, request, request_bytes);
  return kiv_le32(asked.first);
}

uint32_t kiv_board_net_stats(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply) {
  const kiv_board* board = context;
  kiv_net_stats_cnf body;
  memset(&body, 0, sizeof body);
  kiv_net_figures found[COUNT_OF(body.interfaces)];
  uint32_t taken = 0;
  uint32_t count = 0;
  if (!kiv_figures_net(board->proc_folder, first_of(request, request_bytes), found, COUNT_OF(found),
                       &taken, &count)) {
    return KIV_RESULT_FIGURES_FAILED;
  }
  body.interface_count = kiv_le32(count);
  body.shown = kiv_le32(taken);
  for (uint32_t i = 0; i < taken; ++i) {
    kiv_net_interface* out = &body.interfaces[i];
    const uint32_t* counters = found[i].counters;
    KIV_SET_TEXT(out->name, found[i].name);
    out->rx_bytes = kiv_le32(counters[KIV_NET_RX_BYTES]);
    out->rx_packets = kiv_le32(counters[KIV_NET_RX_PACKETS]);
    out->rx_errors = kiv_le32(counters[KIV_NET_RX_ERRORS]);
    out->rx_dropped = kiv_le32(counters[KIV_NET_RX_DROPPED]);
    out->tx_bytes = kiv_le32(counters[KIV_NET_TX_BYTES]);
    out->tx_packets = kiv_le32(counters[KIV_NET_TX_PACKETS]);
    out->tx_errors = kiv_le32(counters[KIV_NET_TX_ERRORS]);
    out->tx_dropped = kiv_le32(counters[KIV_NET_TX_DROPPED]);
  }
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

uint32_t kiv_board_disk_usage(void* context, const uint8_t* request, uint32_t request_bytes,
                              kiv_writer* reply) {
  const kiv_board* board = context;
  kiv_disk_usage_cnf body;
  memset(&body, 0, sizeof body);
  kiv_disk_figures found[COUNT_OF(body.disks)];
  uint32_t taken = 0;
  uint32_t count = 0;
  if (!kiv_figures_disks(board->proc_folder, first_of(request, request_bytes), found,
                         COUNT_OF(found), &taken, &count)) {
    return KIV_RESULT_FIGURES_FAILED;
  }
  body.disk_count = kiv_le32(count);
  body.shown = kiv_le32(taken);
  for (uint32_t i = 0; i < taken; ++i) {
    KIV_SET_TEXT(body.disks[i].mount_point, found[i].mount_point);
    KIV_SET_TEXT(body.disks[i].kind, found[i].kind);
    body.disks[i].total_kib = kiv_le32(found[i].total_kib);
    body.disks[i].free_kib = kiv_le32(found[i].free_kib);
    body.disks[i].available_kib = kiv_le32(found[i].available_kib);
    body.disks[i].used_permille = kiv_le16(found[i].used_permille);
  }
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

uint32_t kiv_board_proc_list(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply) {
  const kiv_board* board = context;
  kiv_proc_list_req asked;
  memcpy(&asked, request, request_bytes);
  kiv_proc_list_cnf body;
  memset(&body, 0, sizeof body);
  kiv_process_figures found[KIV_MAX_PROCESSES_TAKEN];
  KIV_CATALOGUE_ASSERT(COUNT_OF(body.processes) == KIV_MAX_PROCESSES_TAKEN, "as many as fit");
  uint32_t taken = 0;
  uint32_t count = 0;
  if (!kiv_figures_processes(board->proc_folder, kiv_le32(asked.after_pid), found, &taken,
                             &count)) {
    return KIV_RESULT_FIGURES_FAILED;
  }
  body.process_count = kiv_le32(count);
  body.shown = kiv_le32(taken);
  for (uint32_t i = 0; i < taken; ++i) {
    KIV_SET_TEXT(body.processes[i].name, found[i].name);
    body.processes[i].state[0] = found[i].state;
    body.processes[i].pid = kiv_le32(found[i].pid);
    body.processes[i].parent_pid = kiv_le32(found[i].parent_pid);
    body.processes[i].threads = kiv_le32(found[i].threads);
    body.processes[i].resident_kib = kiv_le32(found[i].resident_kib);
    body.processes[i].cpu_ms = kiv_le32(found[i].cpu_ms);
  }
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

uint32_t kiv_board_time_read(void* context, const uint8_t* request, uint32_t request_bytes,
                             kiv_writer* reply) {
  (void)context;
  (void)request;
  (void)request_bytes;
  struct timespec now;
  struct timespec up;
  struct tm parts;
  kiv_time_read_cnf body;
  memset(&body, 0, sizeof body);
  if (clock_gettime(CLOCK_REALTIME, &now) != 0 || clock_gettime(CLOCK_BOOTTIME, &up) != 0 ||
      gmtime_r(&now.tv_sec, &parts) == NULL) {
    return KIV_RESULT_FIGURES_FAILED;
  }
  // Nothing is left in the field when the year has more digits than fit.
  (void)strftime(body.utc, sizeof body.utc, "%Y-%m-%dT%H:%M:%SZ", &parts);
  body.unix_s = kiv_le32((uint32_t)now.tv_sec);
  body.ms = kiv_le16((uint16_t)(now.tv_nsec / 1000000));
  body.uptime_ms =
      kiv_le32((uint32_t)((uint64_t)up.tv_sec * 1000 + (uint64_t)up.tv_nsec / 1000000));
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}
