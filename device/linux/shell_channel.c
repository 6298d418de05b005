#include "device/linux/shell_channel.h"

#include <inttypes.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "device/core/result_codes.h"
#include "device/linux/board.h"
#include "device/linux/delayed_texts.h"
#include "device/linux/notice.h"
#include "device/linux/output_text.h"
#include "device/linux/shell_list.h"
#include "device/linux/text_piece.h"

enum { kReadBytes = 4000, kReadsInARow = 8, kTickMs = 25, kKillTickMs = 2, kCloseTries = 1000 };

typedef enum shell_state { SHELL_IDLE, SHELL_RUNS, SHELL_ENDS } shell_state;

typedef struct shell_channel {
  kiv_channel base;
  const kiv_shell_options* options;
  kiv_shell_list list;
  kiv_process_tree tree;
  kiv_delayed_texts pieces;  // as they came, until their delay is over
  kiv_delayed_texts lines;   // joined, until it is their turn
  char line[KIV_SHELL_MAX_LINE_BYTES + 1];
  uint32_t line_bytes;
  bool line_too_long;
  int64_t join_until_ms;  // -1: no piece waits for another
  int64_t open_until_ms;  // -1: the piece that came last ended its line
  int64_t skip_until_ms;  // -1: what comes does not belong to a line that was refused
  uint32_t skip_result;
  bool dropped;  // pieces that had been taken, which the host is to be told
  shell_state state;
  bool silent;  // the session is over, nobody waits for the end
  kiv_shell_command command;
  int64_t started_ms;
  uint32_t output_bytes;
  kiv_output_text output;
  uint32_t answer_id;
} shell_channel;

static void answer(shell_channel* shell, const void* text, uint32_t text_bytes) {
  shell->base.out.answer(shell->base.out.context, shell->answer_id, text, text_bytes);
}

// Ends a line that did not run; why has been told.
static void end_refused(shell_channel* shell, uint32_t result) {
  shell->base.out.refuse(shell->base.out.context, shell->answer_id, result, NULL, 0);
}

static bool has_room(const shell_channel* shell) {
  return shell->base.out.has_room(shell->base.out.context);
}

__attribute__((format(printf, 2, 3))) static void tell(shell_channel* shell, const char* format,
                                                       ...) {
  char text[256];
  va_list values;
  va_start(values, format);
  // With several files in one run clang-tidy 14 loses the line above.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const int length = vsnprintf(text, sizeof text, format, values);
  va_end(values);
  const uint32_t room = sizeof text - 1;
  answer(shell, text, (uint32_t)length < room ? (uint32_t)length : room);
}

static uint32_t push_piece(shell_channel* shell, const uint8_t* text, uint32_t text_bytes,
                           uint32_t delay_ms, int64_t now_ms) {
  const uint32_t waiting_bytes = shell->pieces.waiting_bytes + shell->lines.waiting_bytes;
  if (shell->pieces.count + shell->lines.count >= KIV_CHANNEL_MAX_WAITING_TEXTS ||
      waiting_bytes + text_bytes > KIV_CHANNEL_MAX_WAITING_BYTES) {
    return KIV_RESULT_BUSY;
  }
  return kiv_delayed_push(&shell->pieces, text, text_bytes, delay_ms, now_ms);
}

static bool is_full_item(const kiv_delayed_text* piece) {
  return kiv_is_full_piece(piece->text, piece->text_bytes);
}

static void forget_line(shell_channel* shell) {
  shell->line_bytes = 0;
  shell->line_too_long = false;
  shell->join_until_ms = -1;
}

// The line whose pieces came last does not run.
static void drop_open_line(shell_channel* shell) {
  kiv_delayed_drop_last(&shell->pieces, is_full_item);
  // Nothing before it waits: what is being joined is its beginning.
  if (shell->pieces.first == NULL) forget_line(shell);
  shell->dropped = true;
}

// A line runs whole or not at all: with one piece refused, so are those behind it, and those before
// it are dropped, which the host is told.
static uint32_t take(kiv_channel* self, uint32_t answer_id, const uint8_t* text,
                     uint32_t text_bytes, uint32_t delay_ms) {
  shell_channel* shell = (shell_channel*)self;
  const int64_t now_ms = kiv_board_now_ms();
  const int64_t more_until_ms =
      kiv_is_full_piece(text, text_bytes) ? now_ms + KIV_SHELL_JOIN_MS : -1;
  uint32_t result = shell->skip_result;
  if (now_ms > shell->skip_until_ms) {
    result = push_piece(shell, text, text_bytes, delay_ms, now_ms);
    if (result == KIV_RESULT_OK) {
      shell->answer_id = answer_id;
      shell->open_until_ms = more_until_ms;
      return result;
    }
    if (now_ms <= shell->open_until_ms) drop_open_line(shell);
  }
  shell->open_until_ms = -1;
  shell->skip_until_ms = more_until_ms;
  shell->skip_result = result;
  return result;
}

static void append(shell_channel* shell, const uint8_t* text, uint32_t text_bytes) {
  if (text_bytes > KIV_SHELL_MAX_LINE_BYTES - shell->line_bytes) {
    shell->line_too_long = true;
    return;
  }
  memcpy(shell->line + shell->line_bytes, text, text_bytes);
  shell->line_bytes += text_bytes;
}

static bool is_line_end(char c) { return c == '\r' || c == '\n'; }

static void finish_line(shell_channel* shell, int64_t now_ms) {
  while (shell->line_bytes > 0 && is_line_end(shell->line[shell->line_bytes - 1])) {
    --shell->line_bytes;
  }
  uint32_t result = KIV_RESULT_BODY_LONG;
  if (shell->line_too_long) {
    tell(shell, "kivagent: the line is too long\n");
  } else {
    result =
        kiv_delayed_push(&shell->lines, (const uint8_t*)shell->line, shell->line_bytes, 0, now_ms);
    if (result != KIV_RESULT_OK) tell(shell, "kivagent: out of memory for the line\n");
  }
  if (result != KIV_RESULT_OK) end_refused(shell, result);
  forget_line(shell);
}

static void join_pieces(shell_channel* shell, int64_t now_ms) {
  for (kiv_delayed_text* piece = kiv_delayed_take(&shell->pieces, now_ms); piece != NULL;
       piece = kiv_delayed_take(&shell->pieces, now_ms)) {
    append(shell, piece->text, piece->text_bytes);
    if (kiv_is_full_piece(piece->text, piece->text_bytes)) {
      shell->join_until_ms = now_ms + KIV_SHELL_JOIN_MS;
    } else {
      finish_line(shell, now_ms);
    }
    free(piece);
  }
  if (shell->join_until_ms >= 0 && now_ms >= shell->join_until_ms) finish_line(shell, now_ms);
}

// 0, or the system's error; -1 when the line is not allowed, which has been told.
static int start_line(shell_channel* shell, char* line) {
  const kiv_shell_options* options = shell->options;
  if (options->mode == KIV_SHELL_FULL) {
    char name[] = "sh";
    char option[] = "-c";
    char* const arguments[] = {name, option, line, NULL};
    return kiv_shell_start(&shell->command, options->program, arguments, &options->limits);
  }
  char* words[KIV_SHELL_MAX_WORDS + 1];
  if (!kiv_shell_list_allows(&shell->list, line) || !kiv_shell_split(line, words)) {
    tell(shell, "kivagent: this line is not among the commands that are allowed\n");
    return -1;
  }
  return kiv_shell_start(&shell->command, words[0], words, &options->limits);
}

// A text that is no line of C: a zero byte would hide what stands behind it.
static bool has_zero(const kiv_delayed_text* text) {
  return text->text_bytes > 0 && memchr(text->text, 0, text->text_bytes) != NULL;
}

static void start_next(shell_channel* shell, int64_t now_ms) {
  kiv_delayed_text* next = kiv_delayed_take(&shell->lines, now_ms);
  if (next == NULL) return;
  char line[KIV_SHELL_MAX_LINE_BYTES + 1];
  const uint32_t length = next->text_bytes;
  const bool bad = has_zero(next);
  if (length > 0) memcpy(line, next->text, length);
  line[length] = '\0';
  free(next);
  if (bad) {
    tell(shell, "kivagent: a zero byte in the line\n");
    end_refused(shell, KIV_RESULT_BAD_VALUE);
    return;
  }
  const int error = start_line(shell, line);
  if (error == 0) {
    shell->state = SHELL_RUNS;
    shell->silent = false;
    shell->started_ms = now_ms;
    shell->output_bytes = 0;
    kiv_output_reset(&shell->output);
    return;
  }
  if (error > 0) tell(shell, "kivagent: no process for the line (error %d)\n", error);
  end_refused(shell, error > 0 ? KIV_RESULT_DEVICE_FAILED : KIV_RESULT_NOT_ENABLED);
}

static void end_command(shell_channel* shell) {
  uint8_t rest[KIV_OUTPUT_MAX_HELD_BYTES];
  const uint32_t rest_bytes = kiv_output_end(&shell->output, rest);
  if (rest_bytes > 0) answer(shell, rest, rest_bytes);
  shell->state = SHELL_ENDS;
}

// What was read goes out up to the limit.
static void pass_on(shell_channel* shell, const uint8_t* bytes, uint32_t length) {
  const uint32_t limit = shell->options->limits.output_bytes;
  const uint32_t left = limit - shell->output_bytes;
  const bool over = length > left;
  if (over) length = left;
  shell->output_bytes += length;
  uint8_t text[kReadBytes + KIV_OUTPUT_MAX_HELD_BYTES];
  const uint32_t text_bytes = kiv_output_add(&shell->output, bytes, length, text);
  if (text_bytes > 0) answer(shell, text, text_bytes);
  if (!over) return;
  end_command(shell);
  tell(shell, "\nkivagent: ended after %" PRIu32 " bytes of output\n", limit);
}

static void read_output(shell_channel* shell) {
  uint8_t bytes[kReadBytes];
  for (int i = 0; i < kReadsInARow && shell->state == SHELL_RUNS && has_room(shell); ++i) {
    const size_t length = kiv_shell_read(&shell->command, bytes, sizeof bytes);
    if (length > 0) {
      pass_on(shell, bytes, (uint32_t)length);
    } else {
      // Once the first process has ended, what others still write is not waited for.
      if (shell->command.exited) end_command(shell);
      return;
    }
  }
}

static void check_limits(shell_channel* shell, int64_t now_ms) {
  const kiv_shell_limits* limits = &shell->options->limits;
  if (now_ms - shell->started_ms >= (int64_t)limits->seconds * 1000) {
    end_command(shell);
    tell(shell, "\nkivagent: ended after %" PRIu32 " s\n", limits->seconds);
  } else if (kiv_tree_count(&shell->tree, limits->processes) > limits->processes) {
    end_command(shell);
    tell(shell, "\nkivagent: ended with more than %" PRIu32 " processes\n", limits->processes);
  }
}

static void run(shell_channel* shell, int64_t now_ms) {
  kiv_shell_look(&shell->command);
  if (has_room(shell)) read_output(shell);
  if (shell->state == SHELL_RUNS) check_limits(shell, now_ms);
}

static void end_slowly(shell_channel* shell) {
  if (kiv_shell_kill(&shell->command, &shell->tree)) return;
  shell->state = SHELL_IDLE;
  if (!shell->silent) answer(shell, NULL, 0);
  shell->silent = false;
}

static void serve(kiv_channel* self, const struct pollfd* entries, int64_t now_ms) {
  (void)entries;
  shell_channel* shell = (shell_channel*)self;
  if (shell->dropped) {
    shell->dropped = false;
    tell(shell, "kivagent: a part of the line was refused, it does not run\n");
    end_refused(shell, shell->skip_result);
  }
  join_pieces(shell, now_ms);
  if (shell->state == SHELL_IDLE && has_room(shell)) start_next(shell, now_ms);
  if (shell->state == SHELL_RUNS) run(shell, now_ms);
  if (shell->state == SHELL_ENDS) end_slowly(shell);
}

static int watch(kiv_channel* self, struct pollfd* entries, int max) {
  const shell_channel* shell = (const shell_channel*)self;
  if (max < 1 || shell->state != SHELL_RUNS || shell->command.hung_up || !has_room(shell)) return 0;
  const struct pollfd entry = {shell->command.terminal, POLLIN, 0};
  entries[0] = entry;
  return 1;
}

static int64_t next_due_ms(const kiv_channel* self) {
  const shell_channel* shell = (const shell_channel*)self;
  int64_t due_ms = kiv_delayed_next_due_ms(&shell->pieces);
  if (shell->join_until_ms >= 0 && (due_ms < 0 || shell->join_until_ms < due_ms)) {
    due_ms = shell->join_until_ms;
  }
  int64_t tick_ms = -1;
  if (shell->state == SHELL_RUNS) tick_ms = shell->command.hung_up ? kKillTickMs : kTickMs;
  if (shell->state == SHELL_ENDS) tick_ms = kKillTickMs;
  if (shell->state == SHELL_IDLE && shell->lines.first != NULL && has_room(shell)) tick_ms = 0;
  if (tick_ms < 0) return due_ms;
  tick_ms += kiv_board_now_ms();
  return due_ms < 0 || tick_ms < due_ms ? tick_ms : due_ms;
}

static void end_session(kiv_channel* self) {
  shell_channel* shell = (shell_channel*)self;
  kiv_delayed_clear(&shell->pieces);
  kiv_delayed_clear(&shell->lines);
  forget_line(shell);
  shell->open_until_ms = -1;
  shell->skip_until_ms = -1;
  shell->dropped = false;
  if (shell->state == SHELL_IDLE) return;
  shell->silent = true;
  shell->state = SHELL_ENDS;
  end_slowly(shell);
}

static void close_channel(kiv_channel* self) {
  shell_channel* shell = (shell_channel*)self;
  end_session(self);
  const struct timespec pause = {0, 1000000};
  for (int i = 0; i < kCloseTries && shell->state != SHELL_IDLE; ++i) {
    (void)nanosleep(&pause, NULL);
    end_slowly(shell);
  }
  kiv_shell_list_free(&shell->list);
  free(shell);
}

kiv_channel* kiv_shell_channel_new(const kiv_shell_options* options) {
  static const kiv_channel_calls kCalls = {take,        watch,       serve,
                                           next_due_ms, end_session, close_channel};
  shell_channel* shell = calloc(1, sizeof *shell);
  if (shell == NULL) {
    kiv_notice(KIV_NOTICE_ERROR, "out of memory for the shell");
    return NULL;
  }
  if (options->mode == KIV_SHELL_LIST && !kiv_shell_list_read(&shell->list, options->list_path)) {
    kiv_notice(KIV_NOTICE_ERROR, "%s", shell->list.problem);
    kiv_shell_list_free(&shell->list);
    free(shell);
    return NULL;
  }
  shell->base.calls = &kCalls;
  shell->options = options;
  shell->join_until_ms = -1;
  shell->open_until_ms = -1;
  shell->skip_until_ms = -1;
  shell->command.terminal = -1;
  kiv_tree_init(&shell->tree);
  return &shell->base;
}
