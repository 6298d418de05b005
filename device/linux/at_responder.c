#include "device/linux/at_responder.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "device/linux/at_commands.h"

enum { kLineEnd = 3, kLineFeed = 4, kBackspace = 5 };  // S registers that this file reads

static void flush(kiv_at_responder* responder) {
  if (responder->pending_used == 0) return;
  responder->out(responder->context, responder->pending, responder->pending_used);
  responder->pending_used = 0;
}

static void put(kiv_at_responder* responder, char c) {
  if (responder->pending_used == sizeof responder->pending) flush(responder);
  responder->pending[responder->pending_used++] = c;
}

static void put_text(kiv_at_responder* responder, const char* text) {
  while (*text != '\0') put(responder, *text++);
}

static void put_line_break(kiv_at_responder* responder) {
  put(responder, (char)responder->now.registers[kLineEnd]);
  put(responder, (char)responder->now.registers[kLineFeed]);
}

void kiv_at_tell(kiv_at_responder* responder, const char* text) {
  if (responder->now.values[KIV_AT_VERBOSE] != 0) put_line_break(responder);
  put_text(responder, text);
  put_line_break(responder);
}

// A result code: a word between line breaks, or with V0 its number and the line end alone.
static void put_result(kiv_at_responder* responder, const char* word, const char* number) {
  if (responder->now.values[KIV_AT_QUIET] != 0) return;
  if (responder->now.values[KIV_AT_VERBOSE] != 0) {
    kiv_at_tell(responder, word);
    return;
  }
  put_text(responder, number);
  put(responder, (char)responder->now.registers[kLineEnd]);
}

static void conclude(kiv_at_responder* responder, int result) {
  char text[64];
  const uint32_t detail = responder->now.values[KIV_AT_CMEE];
  if (result == KIV_AT_OK) {
    put_result(responder, "OK", "0");
  } else if (result == KIV_AT_NO_CARRIER) {
    put_result(responder, "NO CARRIER", "3");
  } else if (result < 0 || detail == 0) {
    put_result(responder, "ERROR", "4");
  } else {
    if (detail == 1) {
      (void)snprintf(text, sizeof text, "+CME ERROR: %d", result);
    } else {
      (void)snprintf(text, sizeof text, "+CME ERROR: %s", kiv_at_error_text(result));
    }
    put_result(responder, text, text);
  }
}

// What a register may hold; where `most` is 0 there is none.
static const struct {
  uint8_t most;
  uint8_t preset;
} kRegisters[KIV_AT_REGISTERS] = {{255, 0},  {0, 0},  {0, 0},    {127, 13}, {127, 10},
                                  {127, 8},  {10, 2}, {255, 50}, {255, 2},  {0, 0},
                                  {254, 14}, {0, 0},  {255, 50}};

static void set_factory(kiv_at_profile* profile) {
  memset(profile, 0, sizeof *profile);
  for (int i = 0; i < KIV_AT_REGISTERS; ++i) profile->registers[i] = kRegisters[i].preset;
  profile->values[KIV_AT_ECHO] = 1;
  profile->values[KIV_AT_VERBOSE] = 1;
  profile->values[KIV_AT_EXTENT] = 4;
  profile->values[KIV_AT_CARRIER] = 1;
  profile->values[KIV_AT_TERMINAL] = 2;
  kiv_at_extended_defaults(profile->values);
}

// Basic commands. `*at` stands behind what was read of the line.

// Decimal digits; a value above any limit stays above it.
static uint32_t take_number(const char** at) {
  uint32_t value = 0;
  for (; **at >= '0' && **at <= '9'; ++*at) {
    if (value < 100000) value = value * 10 + (uint32_t)(**at - '0');
  }
  return value;
}

static int run_register(kiv_at_responder* responder, const char** at) {
  if (**at < '0' || **at > '9') return KIV_AT_ERROR;
  const uint32_t number = take_number(at);
  if (number >= KIV_AT_REGISTERS || kRegisters[number].most == 0) return KIV_AT_ERROR;
  const char form = **at;
  if (form == '?') {
    char text[8];
    ++*at;
    (void)snprintf(text, sizeof text, "%03u", (unsigned)responder->now.registers[number]);
    kiv_at_tell(responder, text);
    return KIV_AT_OK;
  }
  if (form != '=') return KIV_AT_ERROR;
  ++*at;
  const uint32_t value = take_number(at);  // left out: 0
  if (value > kRegisters[number].most) return KIV_AT_ERROR;
  responder->now.registers[number] = (uint8_t)value;
  return KIV_AT_OK;
}

static int run_identity(kiv_at_responder* responder, uint32_t which) {
  const kiv_at_identity* self = &responder->self;
  if (which == 0 || which == 1) kiv_at_tell(responder, self->manufacturer);
  if (which == 0 || which == 2) kiv_at_tell(responder, self->model);
  if (which == 0 || which == 3) kiv_at_tell(responder, self->revision);
  return KIV_AT_OK;
}

static int run_no_carrier(kiv_at_responder* responder, uint32_t value) {
  (void)responder;
  (void)value;
  return KIV_AT_NO_CARRIER;  // there is nobody to call
}

static int run_nothing(kiv_at_responder* responder, uint32_t value) {
  (void)responder;
  (void)value;
  return KIV_AT_OK;
}

static int run_reset(kiv_at_responder* responder, uint32_t value) {
  (void)value;
  responder->now = responder->stored;
  return KIV_AT_OK;
}

static int run_factory(kiv_at_responder* responder, uint32_t value) {
  (void)value;
  set_factory(&responder->now);
  return KIV_AT_OK;
}

static int run_store(kiv_at_responder* responder, uint32_t value) {
  (void)value;
  responder->stored = responder->now;
  return KIV_AT_OK;
}

static int run_view(kiv_at_responder* responder, uint32_t value);

typedef struct basic_row {
  char name[3];
  uint32_t most;
  int (*run)(kiv_at_responder* responder, uint32_t value);  // null: `value` keeps the number
  kiv_at_value value;
} basic_row;

static const basic_row kBasic[] = {
    {"E", 1, NULL, KIV_AT_ECHO},     {"Q", 1, NULL, KIV_AT_QUIET},
    {"V", 1, NULL, KIV_AT_VERBOSE},  {"X", 4, NULL, KIV_AT_EXTENT},
    {"L", 3, NULL, KIV_AT_LOUDNESS}, {"M", 3, NULL, KIV_AT_SPEAKER},
    {"&C", 1, NULL, KIV_AT_CARRIER}, {"&D", 2, NULL, KIV_AT_TERMINAL},
    {"A", 0, run_no_carrier, 0},     {"O", 0, run_no_carrier, 0},
    {"H", 1, run_nothing, 0},        {"P", 0, run_nothing, 0},
    {"T", 0, run_nothing, 0},        {"I", 3, run_identity, 0},
    {"Z", 0, run_reset, 0},          {"&F", 0, run_factory, 0},
    {"&V", 0, run_view, 0},          {"&W", 0, run_store, 0},
};
enum { kBasicCount = sizeof kBasic / sizeof kBasic[0] };

static int run_view(kiv_at_responder* responder, uint32_t value) {
  (void)value;
  char line[256];
  int used = 0;
  for (int i = 0; i < kBasicCount; ++i) {
    if (kBasic[i].run != NULL) continue;
    used += snprintf(line + used, sizeof line - (size_t)used, "%s%s%" PRIu32, used == 0 ? "" : " ",
                     kBasic[i].name, responder->now.values[kBasic[i].value]);
  }
  kiv_at_tell(responder, line);
  used = 0;
  for (int i = 0; i < KIV_AT_REGISTERS; ++i) {
    if (kRegisters[i].most == 0) continue;
    used += snprintf(line + used, sizeof line - (size_t)used, "%sS%02d:%03u", used == 0 ? "" : " ",
                     i, (unsigned)responder->now.registers[i]);
  }
  kiv_at_tell(responder, line);
  return KIV_AT_OK;
}

// Z and D have the rest of the line to themselves.
static int run_basic(kiv_at_responder* responder, const char** at) {
  char name[3] = {*(*at)++, '\0', '\0'};
  if (name[0] == '&' && **at != '\0') name[1] = *(*at)++;
  if (name[0] == 'S') return run_register(responder, at);
  if (name[0] == 'D') {
    *at += strlen(*at);
    return KIV_AT_NO_CARRIER;
  }
  const uint32_t value = take_number(at);  // left out: 0
  for (int i = 0; i < kBasicCount; ++i) {
    const basic_row* self = &kBasic[i];
    if (strcmp(self->name, name) != 0) continue;
    if (value > self->most) return KIV_AT_ERROR;
    if (self->run == run_reset) *at += strlen(*at);
    if (self->run != NULL) return self->run(responder, value);
    responder->now.values[self->value] = value;
    return KIV_AT_OK;
  }
  return KIV_AT_ERROR;
}

// Extended commands

static bool is_name(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || (c != '\0' && strchr("!%-./:_", c));
}

// Where the command ends: at a ';' outside of a string, or with the line.
static char* end_of_command(char* at) {
  bool in_text = false;
  for (; *at != '\0' && (in_text || *at != ';'); ++at) {
    if (*at == '"') in_text = !in_text;
  }
  return at;
}

// Takes the command apart in place.
static int run_extended(kiv_at_responder* responder, char** at) {
  char* command = *at;
  char* end = end_of_command(command);
  *at = *end == '\0' ? end : end + 1;
  *end = '\0';
  char* rest = command + 1;
  while (is_name(*rest)) ++rest;
  kiv_at_form form = KIV_AT_RUN;
  const char* arguments = "";
  if (strcmp(rest, "?") == 0) {
    form = KIV_AT_READ;
  } else if (strcmp(rest, "=?") == 0) {
    form = KIV_AT_TEST;
  } else if (*rest == '=') {
    form = KIV_AT_SET;
    arguments = rest + 1;
  } else if (*rest != '\0') {
    return KIV_AT_ERROR;
  }
  *rest = '\0';
  return kiv_at_extended(responder, command, form, arguments);
}

static void run_line(kiv_at_responder* responder) {
  int result = responder->too_long ? KIV_AT_ERROR : KIV_AT_OK;
  memcpy(responder->work, responder->line, responder->line_used);
  responder->work[responder->line_used] = '\0';
  char* at = responder->work;
  while (*at != '\0' && result == KIV_AT_OK) {
    if (*at == ';') {
      ++at;
    } else if (*at == '+' || *at == '^') {
      result = run_extended(responder, &at);
    } else {
      const char* rest = at;
      result = run_basic(responder, &rest);
      at += rest - at;
    }
  }
  conclude(responder, result);
}

// Reading

static bool in_text(const kiv_at_responder* responder) {
  bool inside = false;
  for (uint32_t i = 0; i < responder->line_used; ++i) {
    if (responder->line[i] == '"') inside = !inside;
  }
  return inside;
}

static void keep(kiv_at_responder* responder, char c) {
  if ((unsigned char)c < ' ' || c == 0x7F) return;
  const bool inside = (c == ' ' || (c >= 'a' && c <= 'z')) && in_text(responder);
  if (c == ' ' && !inside) return;
  if (c >= 'a' && c <= 'z' && !inside) c = (char)(c - 'a' + 'A');
  if (responder->line_used == KIV_AT_LINE_BYTES) {
    responder->too_long = true;
  } else {
    responder->line[responder->line_used++] = c;
  }
}

static void take_in_line(kiv_at_responder* responder, char c) {
  if (c == (char)responder->now.registers[kLineEnd]) {
    responder->state = KIV_AT_WANTS_A;
    run_line(responder);
  } else if (c == (char)responder->now.registers[kBackspace]) {
    if (responder->line_used > 0) --responder->line_used;
  } else {
    keep(responder, c);
  }
}

static void take_before_line(kiv_at_responder* responder, char c) {
  const bool had_a = responder->state == KIV_AT_WANTS_T;
  responder->state = c == 'A' || c == 'a' ? KIV_AT_WANTS_T : KIV_AT_WANTS_A;
  if (!had_a) return;
  if (c == '/') run_line(responder);
  if (c != 'T' && c != 't') return;
  responder->state = KIV_AT_IN_LINE;
  responder->line_used = 0;
  responder->too_long = false;
}

static void take(kiv_at_responder* responder, char c) {
  const bool in_line = responder->state == KIV_AT_IN_LINE;
  // Line feeds behind a line are no part of the next one.
  const bool shown = in_line || (unsigned char)c >= ' ';
  if (shown && responder->now.values[KIV_AT_ECHO] != 0) put(responder, c);
  if (in_line) {
    take_in_line(responder, c);
  } else {
    take_before_line(responder, c);
  }
}

void kiv_at_init(kiv_at_responder* responder, const kiv_at_identity* self, kiv_at_out_fn out,
                 void* context) {
  memset(responder, 0, sizeof *responder);
  responder->self = *self;
  responder->out = out;
  responder->context = context;
  set_factory(&responder->stored);
  responder->now = responder->stored;
}

void kiv_at_feed(kiv_at_responder* responder, const uint8_t* bytes, size_t length_bytes) {
  for (size_t i = 0; i < length_bytes; ++i) take(responder, (char)bytes[i]);
  flush(responder);
}
