#include "device/linux/board.h"

#include <string.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include "board_catalogue.h"
#include "device/core/result_codes.h"
#include "device/linux/board_lists.h"
#include "device/linux/board_load.h"
#include "device/linux/field_text.h"
#include "device/linux/notice.h"
#include "kiv_version.h"

// Behind the items that hosts can number (16 bits).
enum { kNoteItem = 0x10000 };

static uint32_t sys_info(void* context, const uint8_t* request, uint32_t request_bytes,
                         kiv_writer* reply) {
  (void)request;
  (void)request_bytes;
  const kiv_board* board = context;
  struct utsname system;
  kiv_memory memory;
  char boot_id[40] = "";
  if (uname(&system) != 0 || !kiv_figures_memory(board->proc_folder, &memory) ||
      !kiv_figures_boot_id(board->proc_folder, boot_id, sizeof boot_id)) {
    return KIV_RESULT_FIGURES_FAILED;
  }
  kiv_sys_info_cnf body;
  memset(&body, 0, sizeof body);
  KIV_SET_TEXT(body.host_name, system.nodename);
  KIV_SET_TEXT(body.system, system.sysname);
  KIV_SET_TEXT(body.kernel, system.release);
  KIV_SET_TEXT(body.machine, system.machine);
  KIV_SET_TEXT(body.boot_id, boot_id);
  KIV_SET_TEXT(body.agent_version, KIV_VERSION);
  body.cpu_count = kiv_le32((uint32_t)sysconf(_SC_NPROCESSORS_CONF));
  body.page_size_bytes = kiv_le32((uint32_t)sysconf(_SC_PAGESIZE));
  body.memory_total_kib = kiv_le32(memory.total_kib);
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

static uint32_t mem_info(void* context, const uint8_t* request, uint32_t request_bytes,
                         kiv_writer* reply) {
  (void)request;
  (void)request_bytes;
  const kiv_board* board = context;
  kiv_memory memory;
  if (!kiv_figures_memory(board->proc_folder, &memory)) return KIV_RESULT_FIGURES_FAILED;
  kiv_mem_info_cnf body;
  memset(&body, 0, sizeof body);
  body.total_kib = kiv_le32(memory.total_kib);
  body.free_kib = kiv_le32(memory.free_kib);
  body.available_kib = kiv_le32(memory.available_kib);
  body.buffers_kib = kiv_le32(memory.buffers_kib);
  body.cached_kib = kiv_le32(memory.cached_kib);
  body.swap_total_kib = kiv_le32(memory.swap_total_kib);
  body.swap_free_kib = kiv_le32(memory.swap_free_kib);
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

static uint32_t cpu_load(void* context, const uint8_t* request, uint32_t request_bytes,
                         kiv_writer* reply) {
  (void)request;
  (void)request_bytes;
  kiv_board* board = context;
  kiv_cpu_times now;
  uint32_t average_centi[3];
  if (!kiv_figures_cpu(board->proc_folder, &now) ||
      !kiv_figures_load_average(board->proc_folder, average_centi)) {
    return KIV_RESULT_FIGURES_FAILED;
  }
  const kiv_cpu_times* before = &board->load_asked;
  kiv_cpu_load_cnf body;
  memset(&body, 0, sizeof body);
  body.cpu_count = kiv_le32(now.online_count);
  body.total_permille = kiv_le16(kiv_cpu_permille(&before->total, &now.total));
  for (uint32_t i = 0; i < KIV_MAX_CPUS; ++i) {
    body.cpu_permille[i] = kiv_le16(kiv_cpu_permille(&before->cpu[i], &now.cpu[i]));
  }
  for (int i = 0; i < 3; ++i) body.load_average_centi[i] = kiv_le32(average_centi[i]);
  board->load_asked = now;
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

static uint32_t echo(void* context, const uint8_t* request, uint32_t request_bytes,
                     kiv_writer* reply) {
  (void)context;
  kiv_write_bytes(reply, request, request_bytes);
  return KIV_RESULT_OK;
}

// Keeps the text and shows what is kept now; an empty text only shows.
static uint32_t note(void* context, const uint8_t* request, uint32_t request_bytes,
                     kiv_writer* reply) {
  kiv_board* board = context;
  kiv_dbk_str_type_stru body;
  memset(&body, 0, sizeof body);
  const uint32_t text_bytes = (uint32_t)strnlen((const char*)request, request_bytes);
  if (text_bytes > sizeof body.text - 1) return KIV_RESULT_BODY_LONG;
  uint32_t result = KIV_RESULT_OK;
  if (text_bytes > 0) {
    result = kiv_nv_write(&board->nv, kNoteItem, request, text_bytes);
    memcpy(body.text, request, text_bytes);
  } else {
    uint32_t length_bytes = 0;
    result = kiv_nv_read(&board->nv, kNoteItem, (uint8_t*)body.text, sizeof body.text - 1,
                         &length_bytes);
    if (result == KIV_RESULT_NO_SUCH_ITEM) result = KIV_RESULT_OK;
  }
  if (result != KIV_RESULT_OK) return result;
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

static uint32_t nv_read(void* context, const uint8_t* request, uint32_t request_bytes,
                        kiv_writer* reply) {
  kiv_board* board = context;
  kiv_nv_read_req asked;
  kiv_nv_item body;
  memcpy(&asked, request, request_bytes);
  memset(&body, 0, sizeof body);
  uint32_t length_bytes = 0;
  const uint32_t read =
      kiv_nv_read(&board->nv, kiv_le16(asked.item), body.data, sizeof body.data, &length_bytes);
  body.item = asked.item;
  body.length_bytes = kiv_le16((uint16_t)length_bytes);
  kiv_write_bytes(reply, &body, sizeof body);
  return read;
}

static uint32_t nv_write(void* context, const uint8_t* request, uint32_t request_bytes,
                         kiv_writer* reply) {
  kiv_board* board = context;
  kiv_nv_item item;
  memcpy(&item, request, request_bytes);
  const uint16_t length_bytes = kiv_le16(item.length_bytes);
  if (length_bytes > sizeof item.data) return KIV_RESULT_BAD_VALUE;
  kiv_write_bytes(reply, NULL, KIV_CMD_NV_WRITE_CNF_BYTES);
  return kiv_nv_write(&board->nv, kiv_le16(item.item), item.data, length_bytes);
}

static uint32_t ind_start(void* context, const uint8_t* request, uint32_t request_bytes,
                          kiv_writer* reply) {
  kiv_board* board = context;
  kiv_ind_start_req asked;
  memcpy(&asked, request, request_bytes);
  if (!kiv_indications_start(&board->indications, asked.which, kiv_le32(asked.period_ms),
                             kiv_le32(asked.count), kiv_board_now_ms())) {
    return KIV_RESULT_BAD_VALUE;
  }
  kiv_ind_start_cnf body;
  memset(&body, 0, sizeof body);
  body.running = kiv_indications_running(&board->indications);
  body.period_ms = asked.period_ms;
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

static uint32_t ind_stop(void* context, const uint8_t* request, uint32_t request_bytes,
                         kiv_writer* reply) {
  kiv_board* board = context;
  kiv_ind_stop_req asked;
  memcpy(&asked, request, request_bytes);
  if (!kiv_indications_stop(&board->indications, asked.which)) return KIV_RESULT_BAD_VALUE;
  kiv_ind_stop_cnf body;
  memset(&body, 0, sizeof body);
  body.running = kiv_indications_running(&board->indications);
  body.sent = kiv_le32(board->indications.sent);
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

static uint32_t log_level(void* context, const uint8_t* request, uint32_t request_bytes,
                          kiv_writer* reply) {
  (void)context;
  kiv_log_level_req asked;
  memcpy(&asked, request, request_bytes);
  if (asked.action == KIV_LOG_ACTION_SET) {
    if (asked.level > KIV_LOG_LEVEL_DEBUG) return KIV_RESULT_BAD_VALUE;
    kiv_notice_set_level((kiv_notice_level)asked.level);
  } else if (asked.action != KIV_LOG_ACTION_GET) {
    return KIV_RESULT_BAD_VALUE;
  }
  const kiv_log_level_cnf body = {(kiv_log_level)kiv_notice_get_level()};
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

static uint32_t link_fault(void* context, const uint8_t* request, uint32_t request_bytes,
                           kiv_writer* reply) {
  kiv_board* board = context;
  kiv_link_fault_req asked;
  memcpy(&asked, request, request_bytes);
  if (!kiv_faults_set(&board->faults, asked.kind, kiv_le32(asked.amount),
                      kiv_le32(asked.commands))) {
    return KIV_RESULT_BAD_VALUE;
  }
  kiv_link_fault_cnf body;
  memset(&body, 0, sizeof body);
  body.kind = board->faults.kind;
  body.commands = kiv_le32(board->faults.commands);
  body.met = kiv_le32(board->faults.met);
  kiv_write_bytes(reply, &body, sizeof body);
  return KIV_RESULT_OK;
}

// A request that has exactly one length.
#define EXACTLY(length_bytes) (length_bytes), (length_bytes)
static const kiv_command kCommands[] = {
    {KIV_CMD_SYS_INFO, EXACTLY(0), sys_info},
    {KIV_CMD_MEM_INFO, EXACTLY(0), mem_info},
    {KIV_CMD_CPU_LOAD, EXACTLY(0), cpu_load},
    {KIV_CMD_NET_STATS, EXACTLY(KIV_CMD_NET_STATS_REQ_BYTES), kiv_board_net_stats},
    {KIV_CMD_DISK_USAGE, EXACTLY(KIV_CMD_DISK_USAGE_REQ_BYTES), kiv_board_disk_usage},
    {KIV_CMD_PROC_LIST, EXACTLY(KIV_CMD_PROC_LIST_REQ_BYTES), kiv_board_proc_list},
    {KIV_CMD_TIME_READ, EXACTLY(0), kiv_board_time_read},
    {KIV_CMD_ECHO_ALL, EXACTLY(KIV_CMD_ECHO_ALL_REQ_BYTES), echo},
    {KIV_CMD_ECHO_NESTED, EXACTLY(KIV_CMD_ECHO_NESTED_REQ_BYTES), echo},
    {KIV_CMD_NOTE, 1, sizeof(kiv_dbk_str_type), note},  // a text, as long as it is
    {KIV_CMD_NV_READ, EXACTLY(KIV_CMD_NV_READ_REQ_BYTES), nv_read},
    {KIV_CMD_NV_WRITE, EXACTLY(KIV_CMD_NV_WRITE_REQ_BYTES), nv_write},
    {KIV_CMD_LDNV, EXACTLY(KIV_CMD_LDNV_REQ_BYTES), kiv_board_ldnv},
    {KIV_CMD_LOAD_INFO, EXACTLY(0), kiv_board_load_info},
    {KIV_CMD_IND_START, EXACTLY(KIV_CMD_IND_START_REQ_BYTES), ind_start},
    {KIV_CMD_IND_STOP, EXACTLY(KIV_CMD_IND_STOP_REQ_BYTES), ind_stop},
    {KIV_CMD_LOG_LEVEL, EXACTLY(KIV_CMD_LOG_LEVEL_REQ_BYTES), log_level},
    {KIV_CMD_LINK_FAULT, EXACTLY(KIV_CMD_LINK_FAULT_REQ_BYTES), link_fault}};

static uint32_t ind_tick(uint32_t number, kiv_writer* body) {
  struct timespec up;
  (void)clock_gettime(CLOCK_BOOTTIME, &up);
  const uint64_t uptime_ms = (uint64_t)up.tv_sec * 1000 + (uint64_t)up.tv_nsec / 1000000;
  kiv_ind_tick_ind tick;
  memset(&tick, 0, sizeof tick);
  tick.number = kiv_le32(number);
  tick.uptime_ms = kiv_le32((uint32_t)uptime_ms);
  kiv_write_bytes(body, &tick, sizeof tick);
  return KIV_CMD_IND_TICK;
}

// Figures that cannot be read are told as 0: an indication has no result to say so.
static uint32_t ind_load(kiv_board* board, uint32_t number, kiv_writer* body) {
  kiv_cpu_times now;
  kiv_memory memory;
  if (!kiv_figures_cpu(board->proc_folder, &now)) now = board->load_indicated;
  if (!kiv_figures_memory(board->proc_folder, &memory)) memory.available_kib = 0;
  kiv_ind_load_ind load;
  memset(&load, 0, sizeof load);
  load.number = kiv_le32(number);
  load.total_permille = kiv_le16(kiv_cpu_permille(&board->load_indicated.total, &now.total));
  load.available_kib = kiv_le32(memory.available_kib);
  board->load_indicated = now;
  kiv_write_bytes(body, &load, sizeof load);
  return KIV_CMD_IND_LOAD;
}

void kiv_board_init(kiv_board* board, const char* proc_folder, const char* data_folder) {
  memset(board, 0, sizeof *board);
  board->proc_folder = proc_folder;
  kiv_nv_init(&board->nv, data_folder);
  kiv_load_init(&board->load);
}

void kiv_board_end_session(kiv_board* board) {
  kiv_indications_reset(&board->indications);
  kiv_faults_reset(&board->faults);
  kiv_load_end_session(&board->load);
}

void kiv_board_destroy(kiv_board* board) {
  kiv_board_end_session(board);
  kiv_nv_destroy(&board->nv);
  kiv_load_close(&board->load);
}

const kiv_command* kiv_board_commands(uint32_t* count) {
  *count = sizeof kCommands / sizeof kCommands[0];
  return kCommands;
}

const uint8_t* kiv_board_fingerprint(uint8_t* length_bytes) {
  static const uint8_t kFingerprint[] = KIV_CATALOGUE_FINGERPRINT_BYTES;
  *length_bytes = sizeof kFingerprint;
  return kFingerprint;
}

uint32_t kiv_board_next_indication(kiv_board* board, int64_t now_ms, kiv_writer* body) {
  uint32_t number = 0;
  switch (kiv_indications_take(&board->indications, now_ms, &number)) {
    case KIV_IND_TICK:
      return ind_tick(number, body);
    case KIV_IND_LOAD:
      return ind_load(board, number, body);
    default:
      return 0;
  }
}

uint32_t kiv_board_next_of_fault(kiv_board* board, uint32_t waiting, kiv_writer* body) {
  const uint32_t number = kiv_faults_take_indication(&board->faults, waiting);
  if (number == 0) return 0;
  ++board->indications.sent;
  return ind_tick(number, body);
}

// Of two times the earlier one; -1 is none.
static int64_t earlier(int64_t one_ms, int64_t other_ms) {
  if (one_ms < 0 || other_ms < 0) return one_ms < 0 ? other_ms : one_ms;
  return one_ms < other_ms ? one_ms : other_ms;
}

int64_t kiv_board_next_due_ms(const kiv_board* board) {
  const int64_t indication_ms = kiv_indications_next_due_ms(&board->indications);
  const int64_t fault_ms = kiv_faults_next_due_ms(&board->faults);
  return earlier(indication_ms, earlier(fault_ms, kiv_load_next_due_ms(&board->load)));
}

int64_t kiv_board_now_ms(void) {
  struct timespec now;
  (void)clock_gettime(CLOCK_MONOTONIC, &now);
  return (int64_t)now.tv_sec * 1000 + now.tv_nsec / 1000000;
}
