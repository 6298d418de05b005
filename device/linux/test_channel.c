#include "device/linux/test_channel.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device/core/bytes.h"
#include "device/core/result_codes.h"
#include "device/linux/board.h"
#include "device/linux/delayed_texts.h"
#include "device/linux/notice.h"
#include "device/linux/test_functions.h"

// How long tests may run before the host is looked after again.
enum { kTurnMs = 5 };

typedef struct test_channel {
  kiv_channel base;
  kiv_delayed_texts packets;
  kiv_delayed_text* running;  // the run borrows its parameters
  kiv_test_run run;
  uint32_t answer_id;
} test_channel;

static bool has_room(const test_channel* tests) {
  return tests->base.out.has_room(tests->base.out.context);
}

static void say(test_channel* tests, const char* line) {
  tests->base.out.answer(tests->base.out.context, tests->answer_id, (const uint8_t*)line,
                         (uint32_t)strlen(line));
}

static bool are_zeros(const uint8_t* bytes, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    if (bytes[i] != 0) return false;
  }
  return true;
}

// Whether the packet is whole: its lengths, its name, and zeros where nothing else may stand.
static uint32_t check(const uint8_t* body, uint32_t body_bytes) {
  kiv_reader reader = kiv_reader_of(body, body_bytes);
  const uint8_t* name = kiv_read_bytes(&reader, KIV_TEST_NAME_BYTES);
  const uint8_t* reserved = kiv_read_bytes(&reader, 8);
  const uint32_t parameter_bytes = kiv_read_u32(&reader);
  if (reader.failed || parameter_bytes > reader.left_bytes) return KIV_RESULT_BODY_SHORT;
  if (parameter_bytes < reader.left_bytes) return KIV_RESULT_BODY_LONG;
  if (parameter_bytes > KIV_TEST_MAX_PARAMETER_BYTES) return KIV_RESULT_TOO_LONG;
  const uint32_t name_bytes = (uint32_t)strnlen((const char*)name, KIV_TEST_NAME_BYTES);
  const bool good = are_zeros(reserved, 8) && name_bytes < KIV_TEST_NAME_BYTES &&
                    are_zeros(name + name_bytes, KIV_TEST_NAME_BYTES - name_bytes);
  return good ? KIV_RESULT_OK : KIV_RESULT_BAD_VALUE;
}

static uint32_t take(kiv_channel* self, uint32_t answer_id, const uint8_t* body,
                     uint32_t body_bytes, uint32_t delay_ms) {
  test_channel* tests = (test_channel*)self;
  const uint32_t result = check(body, body_bytes);
  if (result != KIV_RESULT_OK) return result;
  tests->answer_id = answer_id;
  return kiv_delayed_push(&tests->packets, body, body_bytes, delay_ms, kiv_board_now_ms());
}

static void end_run(test_channel* tests) {
  kiv_test_end(&tests->run);
  free(tests->running);
  tests->running = NULL;
}

static void start_next(test_channel* tests, int64_t now_ms) {
  tests->running = kiv_delayed_take(&tests->packets, now_ms);
  if (tests->running == NULL) return;
  const char* name = (const char*)tests->running->text;  // a zero ends it, as was checked
  const kiv_test_fn step = kiv_test_find(name);
  if (step == NULL) {
    char line[KIV_TEST_NAME_BYTES + 64];
    (void)snprintf(line, sizeof line, "no test function is called '%s'", name);
    say(tests, line);
    say(tests, "result: fail");
    end_run(tests);
    return;
  }
  kiv_test_begin(&tests->run, step, tests->running->text + KIV_TEST_HEAD_BYTES,
                 tests->running->text_bytes - KIV_TEST_HEAD_BYTES);
}

static void step(test_channel* tests, int64_t now_ms) {
  const kiv_verdict verdict = kiv_test_step(&tests->run, now_ms);
  if (tests->run.line[0] != '\0') say(tests, tests->run.line);
  if (verdict == KIV_TEST_GOES_ON) return;
  say(tests, verdict == KIV_TEST_PASSED ? "result: pass" : "result: fail");
  end_run(tests);
}

static bool waits(const test_channel* tests, int64_t now_ms) {
  return tests->running != NULL && tests->run.wait_until_ms > now_ms;
}

static void serve(kiv_channel* self, const struct pollfd* entries, int64_t now_ms) {
  (void)entries;
  test_channel* tests = (test_channel*)self;
  const int64_t until_ms = now_ms + kTurnMs;
  while (has_room(tests) && !waits(tests, now_ms) && now_ms < until_ms) {
    if (tests->running == NULL) start_next(tests, now_ms);
    if (tests->running != NULL) {
      step(tests, now_ms);
    } else if (tests->packets.first == NULL || tests->packets.first->due_ms > now_ms) {
      return;
    }
    now_ms = kiv_board_now_ms();
  }
}

static int watch(kiv_channel* self, struct pollfd* entries, int max) {
  (void)self;
  (void)entries;
  (void)max;
  return 0;
}

static int64_t next_due_ms(const kiv_channel* self) {
  const test_channel* tests = (const test_channel*)self;
  if (!has_room(tests)) return -1;  // the host's reading brings the next turn
  return tests->running != NULL ? tests->run.wait_until_ms
                                : kiv_delayed_next_due_ms(&tests->packets);
}

static void end_session(kiv_channel* self) {
  test_channel* tests = (test_channel*)self;
  kiv_delayed_clear(&tests->packets);
  end_run(tests);
}

static void close_channel(kiv_channel* self) {
  end_session(self);
  free(self);
}

kiv_channel* kiv_test_channel_new(void) {
  static const kiv_channel_calls kCalls = {take,        watch,       serve,
                                           next_due_ms, end_session, close_channel};
  test_channel* tests = calloc(1, sizeof *tests);
  if (tests == NULL) {
    kiv_notice(KIV_NOTICE_ERROR, "out of memory for test cases");
    return NULL;
  }
  tests->base.calls = &kCalls;
  tests->packets.max_waiting_bytes = KIV_TEST_MAX_WAITING_BYTES;
  return &tests->base;
}
