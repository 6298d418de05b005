#include "device/linux/test_functions.h"

#include <inttypes.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kEchoLineBytes = 16, kWordsAStep = 128 * 1024, kPatterns = 5 };

__attribute__((format(printf, 2, 3))) static void say(kiv_test_run* run, const char* format, ...) {
  va_list values;
  va_start(values, format);
  // With several files in one run clang-tidy 14 loses the line above.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  (void)vsnprintf(run->line, sizeof run->line, format, values);
  va_end(values);
}

static void write_hex(char* out, const uint8_t* bytes, uint32_t count, const char* between) {
  for (uint32_t i = 0; i < count; ++i) {
    out += sprintf(out, "%s%02x", i == 0 ? "" : between, bytes[i]);
  }
}

// Tells how many parameters there are, then 16 a line, then their SHA-256.
static kiv_verdict echo(kiv_test_run* run, int64_t now_ms) {
  (void)now_ms;
  kiv_reader* left = &run->parameters;
  char hex[KIV_SHA256_BYTES * 3];
  if (run->step_count == 1) {
    kiv_sha256_begin(&run->hash);
    say(run, "parameters: %" PRIu32 " bytes", left->left_bytes);
    return KIV_TEST_GOES_ON;
  }
  const uint32_t count = left->left_bytes < kEchoLineBytes ? left->left_bytes : kEchoLineBytes;
  if (count > 0) {
    const uint8_t* bytes = kiv_read_bytes(left, count);
    kiv_sha256_add(&run->hash, bytes, count);
    write_hex(hex, bytes, count, " ");
    say(run, "%s", hex);
    return KIV_TEST_GOES_ON;
  }
  uint8_t digest[KIV_SHA256_BYTES];
  kiv_sha256_end(&run->hash, digest);
  write_hex(hex, digest, sizeof digest, "");
  say(run, "sha256: %s", hex);
  return KIV_TEST_PASSED;
}

// Every bit both ways, neighbours different, and each word its own place, so that lines of the
// address that stick show as well.
static uint64_t pattern_word(uint32_t pattern, uint32_t word) {
  static const uint64_t kSame[kPatterns - 1] = {0, UINT64_MAX, 0x5555555555555555u,
                                                0xAAAAAAAAAAAAAAAAu};
  return pattern < kPatterns - 1 ? kSame[pattern] : word * UINT64_C(0x9E3779B97F4A7C15);
}

static const char* pattern_name(uint32_t pattern) {
  static const char* const kNames[kPatterns] = {"0x00", "0xff", "0x55", "0xaa", "address"};
  return kNames[pattern];
}

static bool begin_memory(kiv_test_run* run) {
  const uint32_t size_bytes = kiv_read_u32(&run->parameters);
  run->rounds = kiv_read_u32(&run->parameters);
  if (run->parameters.failed || run->parameters.left_bytes > 0) {
    say(run, "the parameters are two numbers of 4 bytes: size in bytes, passes");
  } else if (size_bytes < sizeof *run->memory || size_bytes > KIV_TEST_MAX_MEMORY_BYTES ||
             size_bytes % sizeof *run->memory != 0) {
    say(run, "a multiple of 8 up to %u bytes, not %" PRIu32, KIV_TEST_MAX_MEMORY_BYTES, size_bytes);
  } else if (run->rounds < 1 || run->rounds > KIV_TEST_MAX_MEMORY_ROUNDS) {
    say(run, "1 to %u passes, not %" PRIu32, KIV_TEST_MAX_MEMORY_ROUNDS, run->rounds);
  } else {
    run->words = size_bytes / (uint32_t)sizeof *run->memory;
    run->memory = malloc(size_bytes);
    if (run->memory == NULL) say(run, "out of memory for %" PRIu32 " bytes", size_bytes);
  }
  return run->memory != NULL;
}

// Writes or compares a part of the memory; false, with a line, at a word that is not what it was.
static bool do_words(kiv_test_run* run) {
  const uint32_t left = run->words - run->word;
  const uint32_t end = run->word + (left < kWordsAStep ? left : kWordsAStep);
  for (; run->word < end; ++run->word) {
    const uint64_t wanted = pattern_word(run->pattern, run->word);
    if (!run->checks) {
      run->memory[run->word] = wanted;
    } else if (run->memory[run->word] != wanted) {
      say(run, "offset %" PRIu64 ": 0x%016" PRIx64 " instead of 0x%016" PRIx64,
          (uint64_t)run->word * sizeof *run->memory, run->memory[run->word], wanted);
      return false;
    }
  }
  return true;
}

// Writes and compares patterns, a part of the memory a step.
static kiv_verdict memory_pattern(kiv_test_run* run, int64_t now_ms) {
  (void)now_ms;
  if (run->step_count == 1) return begin_memory(run) ? KIV_TEST_GOES_ON : KIV_TEST_FAILED;
  if (!do_words(run)) return KIV_TEST_FAILED;
  if (run->word < run->words) return KIV_TEST_GOES_ON;
  run->word = 0;
  run->checks = !run->checks;
  if (run->checks) return KIV_TEST_GOES_ON;
  say(run, "pass %" PRIu32 " of %" PRIu32 ", pattern %s: %zu bytes good", run->round + 1,
      run->rounds, pattern_name(run->pattern), run->words * sizeof *run->memory);
  run->pattern = (run->pattern + 1) % kPatterns;
  if (run->pattern == 0) ++run->round;
  return run->round == run->rounds ? KIV_TEST_PASSED : KIV_TEST_GOES_ON;
}

static bool begin_loop(kiv_test_run* run) {
  run->rounds = kiv_read_u32(&run->parameters);
  run->period_ms = kiv_read_u32(&run->parameters);
  if (run->parameters.failed || run->parameters.left_bytes > 0) {
    say(run, "the parameters are two numbers of 4 bytes: turns, pause in ms");
  } else if (run->rounds < 1 || run->rounds > KIV_TEST_MAX_LOOP_TURNS) {
    say(run, "1 to %u turns, not %" PRIu32, KIV_TEST_MAX_LOOP_TURNS, run->rounds);
  } else if (run->period_ms < 1 || run->period_ms > KIV_TEST_MAX_LOOP_PAUSE_MS) {
    say(run, "a pause of 1 to %u ms, not %" PRIu32, KIV_TEST_MAX_LOOP_PAUSE_MS, run->period_ms);
  } else {
    return true;
  }
  return false;
}

// A line a turn and a pause behind each. A pause that lasts far too long fails the test.
static kiv_verdict timed_loop(kiv_test_run* run, int64_t now_ms) {
  if (run->step_count == 1) return begin_loop(run) ? KIV_TEST_GOES_ON : KIV_TEST_FAILED;
  if (run->round > 0) {
    const int64_t late_ms = now_ms - run->wait_until_ms;
    if (late_ms > run->latest_ms) run->latest_ms = late_ms;
  }
  if (run->round < run->rounds) {
    ++run->round;
    say(run, "turn %" PRIu32 " of %" PRIu32, run->round, run->rounds);
    run->wait_until_ms = now_ms + run->period_ms;
    return KIV_TEST_GOES_ON;
  }
  say(run, "longest pause: %" PRId64 " ms", run->period_ms + run->latest_ms);
  return run->latest_ms > KIV_TEST_MAX_LATE_MS ? KIV_TEST_FAILED : KIV_TEST_PASSED;
}

kiv_test_fn kiv_test_find(const char* name) {
  static const struct {
    const char* name;
    kiv_test_fn step;
  } kTests[] = {{"cts_echo", echo}, {"cts_memory", memory_pattern}, {"cts_loop", timed_loop}};
  for (size_t i = 0; i < sizeof kTests / sizeof kTests[0]; ++i) {
    if (strcmp(kTests[i].name, name) == 0) return kTests[i].step;
  }
  return NULL;
}

void kiv_test_begin(kiv_test_run* run, kiv_test_fn step, const uint8_t* parameters,
                    uint32_t parameter_bytes) {
  memset(run, 0, sizeof *run);
  run->step = step;
  run->parameters = kiv_reader_of(parameters, parameter_bytes);
}

kiv_verdict kiv_test_step(kiv_test_run* run, int64_t now_ms) {
  run->line[0] = '\0';
  ++run->step_count;
  return run->step(run, now_ms);
}

void kiv_test_end(kiv_test_run* run) {
  free(run->memory);
  run->memory = NULL;
  run->step = NULL;
}
