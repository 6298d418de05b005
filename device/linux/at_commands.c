#include "device/linux/at_commands.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "device/linux/at_arguments.h"

enum {
  kNotAllowed = 3,
  kNotSupported = 4,
  kWrongText = 24,  // "text string too long": the nearest that the list has for a text
  kBadValue = 50
};

typedef struct row row;

typedef int (*row_fn)(kiv_at_responder* responder, const row* self, kiv_at_form form,
                      const char* arguments);

struct row {
  const char* name;
  int forms;
  row_fn run;
  const char* test;  // of +X=?, behind the name; null: nothing but OK
  kiv_at_value value;
  uint32_t least;
  uint32_t most;
  uint32_t preset;
  const char* text;  // of rows that answer always the same
};

static void tell_named(kiv_at_responder* responder, const char* name, const char* text) {
  char line[320];
  (void)snprintf(line, sizeof line, "%s: %s", name, text);
  kiv_at_tell(responder, line);
}

static bool is_on(const kiv_at_responder* responder) {
  return responder->now.values[KIV_AT_CFUN] == 1;
}

static int run_identity(kiv_at_responder* responder, const row* self, kiv_at_form form,
                        const char* arguments) {
  (void)form;
  (void)arguments;
  const kiv_at_identity* who = &responder->self;
  switch (self->name[strlen(self->name) - 1]) {
    case 'I':
      kiv_at_tell(responder, who->manufacturer);
      break;
    case 'M':
      kiv_at_tell(responder, who->model);
      break;
    case 'R':
      kiv_at_tell(responder, who->revision);
      break;
    default:
      kiv_at_tell(responder, who->serial_number);
  }
  return KIV_AT_OK;
}

static int run_text(kiv_at_responder* responder, const row* self, kiv_at_form form,
                    const char* arguments) {
  (void)form;
  (void)arguments;
  tell_named(responder, self->name, self->text);
  return KIV_AT_OK;
}

static int run_bare_text(kiv_at_responder* responder, const row* self, kiv_at_form form,
                         const char* arguments) {
  (void)form;
  (void)arguments;
  kiv_at_tell(responder, self->text);
  return KIV_AT_OK;
}

static int set_number(kiv_at_responder* responder, const row* self, const char* text) {
  kiv_at_arguments arguments = kiv_at_arguments_of(text);
  const uint32_t value = kiv_at_next_number(&arguments, self->preset);
  if (!kiv_at_arguments_end(&arguments) || value < self->least || value > self->most) {
    return kBadValue;
  }
  responder->now.values[self->value] = value;
  return KIV_AT_OK;
}

static int run_number(kiv_at_responder* responder, const row* self, kiv_at_form form,
                      const char* arguments) {
  if (form == KIV_AT_SET) return set_number(responder, self, arguments);
  char text[16];
  (void)snprintf(text, sizeof text, "%" PRIu32, responder->now.values[self->value]);
  tell_named(responder, self->name, text);
  return KIV_AT_OK;
}

// Only 0, 1 and 4 of 0 to 4 are there; 1 behind the comma resets first, which changes nothing here.
static int run_cfun(kiv_at_responder* responder, const row* self, kiv_at_form form,
                    const char* text) {
  if (form == KIV_AT_READ) return run_number(responder, self, form, text);
  kiv_at_arguments arguments = kiv_at_arguments_of(text);
  const uint32_t level = kiv_at_next_number(&arguments, 1);
  const uint32_t reset = kiv_at_next_number(&arguments, 0);
  const bool known = level == 0 || level == 1 || level == 4;
  if (!kiv_at_arguments_end(&arguments) || !known || reset > 1) return kBadValue;
  responder->now.values[KIV_AT_CFUN] = level;
  return KIV_AT_OK;
}

// Registered at home while the radio is on.
static int run_registration(kiv_at_responder* responder, const row* self, kiv_at_form form,
                            const char* arguments) {
  if (form == KIV_AT_SET) return set_number(responder, self, arguments);
  char text[24];
  (void)snprintf(text, sizeof text, "%" PRIu32 ",%d", responder->now.values[self->value],
                 is_on(responder) ? 1 : 0);
  tell_named(responder, self->name, text);
  return KIV_AT_OK;
}

static int run_csq(kiv_at_responder* responder, const row* self, kiv_at_form form,
                   const char* arguments) {
  (void)form;
  (void)arguments;
  tell_named(responder, self->name, is_on(responder) ? "20,0" : "99,99");
  return KIV_AT_OK;
}

static int run_cpin(kiv_at_responder* responder, const row* self, kiv_at_form form,
                    const char* text) {
  if (form == KIV_AT_READ) {
    tell_named(responder, self->name, "READY");
    return KIV_AT_OK;
  }
  char pin[9];
  char next[9];
  kiv_at_arguments arguments = kiv_at_arguments_of(text);
  kiv_at_next_text(&arguments, pin, sizeof pin);
  kiv_at_next_text(&arguments, next, sizeof next);
  // Nothing asks for one.
  return kiv_at_arguments_end(&arguments) && pin[0] != '\0' ? kNotAllowed : kWrongText;
}

static int read_operator(kiv_at_responder* responder, const char* name) {
  static const char* const kNames[] = {"\"Kiv Bench\"", "\"Kiv\"", "\"00101\""};
  const uint32_t mode = responder->now.values[KIV_AT_COPS_MODE];
  const uint32_t format = responder->now.values[KIV_AT_COPS_FORMAT];
  char text[40];
  if (mode == 2 || !is_on(responder)) {
    (void)snprintf(text, sizeof text, "%" PRIu32, mode);
  } else {
    (void)snprintf(text, sizeof text, "%" PRIu32 ",%" PRIu32 ",%s", mode, format, kNames[format]);
  }
  tell_named(responder, name, text);
  return KIV_AT_OK;
}

static int run_cops(kiv_at_responder* responder, const row* self, kiv_at_form form,
                    const char* text) {
  if (form == KIV_AT_READ) return read_operator(responder, self->name);
  uint32_t* values = responder->now.values;
  char wanted[40];
  kiv_at_arguments arguments = kiv_at_arguments_of(text);
  const uint32_t mode = kiv_at_next_number(&arguments, 0);
  const uint32_t format = kiv_at_next_number(&arguments, values[KIV_AT_COPS_FORMAT]);
  kiv_at_next_text(&arguments, wanted, sizeof wanted);
  if (!kiv_at_arguments_end(&arguments) || mode > 3 || format > 2) return kBadValue;
  values[KIV_AT_COPS_FORMAT] = format;
  if (mode != 3) values[KIV_AT_COPS_MODE] = mode;  // 3 sets the format alone
  return KIV_AT_OK;
}

static const char* const kAlphabets[] = {"IRA", "GSM", "UTF-8"};
enum { kAlphabetCount = sizeof kAlphabets / sizeof kAlphabets[0] };

static int run_cscs(kiv_at_responder* responder, const row* self, kiv_at_form form,
                    const char* text) {
  char name[16];
  if (form == KIV_AT_READ) {
    (void)snprintf(name, sizeof name, "\"%s\"", kAlphabets[responder->now.values[KIV_AT_CSCS]]);
    tell_named(responder, self->name, name);
    return KIV_AT_OK;
  }
  kiv_at_arguments arguments = kiv_at_arguments_of(text);
  kiv_at_next_text(&arguments, name, sizeof name);
  for (uint32_t i = 0; i < kAlphabetCount && kiv_at_arguments_end(&arguments); ++i) {
    if (strcmp(name, kAlphabets[i]) != 0) continue;
    responder->now.values[KIV_AT_CSCS] = i;
    return KIV_AT_OK;
  }
  return kBadValue;
}

// The speed of a line that is none: any of the list is taken, 0 is "as the terminal speaks".
static int run_ipr(kiv_at_responder* responder, const row* self, kiv_at_form form,
                   const char* text) {
  static const uint32_t kSpeeds[] = {0,     1200,  2400,   4800,   9600,  19200,
                                     38400, 57600, 115200, 230400, 460800};
  if (form == KIV_AT_READ) return run_number(responder, self, form, text);
  kiv_at_arguments arguments = kiv_at_arguments_of(text);
  const uint32_t speed = kiv_at_next_number(&arguments, 0);
  for (size_t i = 0; i < sizeof kSpeeds / sizeof kSpeeds[0]; ++i) {
    if (speed != kSpeeds[i] || !kiv_at_arguments_end(&arguments)) continue;
    responder->now.values[KIV_AT_IPR] = speed;
    return KIV_AT_OK;
  }
  return kBadValue;
}

static int run_clac(kiv_at_responder* responder, const row* self, kiv_at_form form,
                    const char* arguments);

enum {
  kRunTest = KIV_AT_RUN | KIV_AT_TEST,
  kReadTest = KIV_AT_READ | KIV_AT_TEST,
  kReadTestSet = KIV_AT_READ | KIV_AT_TEST | KIV_AT_SET
};

// +CLAC lists them in this order.
static const row kRows[] = {
    {"+CBC", kRunTest, run_text, "(0-3),(0-100)", 0, 0, 0, 0, "0,100"},
    {"+CEREG", kReadTestSet, run_registration, "(0-2)", KIV_AT_CEREG, 0, 2, 0, NULL},
    {"+CESQ", kRunTest, run_text, "(0-63,99),(0-7,99),(255),(255),(0-34,255),(0-97,255)", 0, 0, 0,
     0, "99,99,255,255,20,60"},
    {"+CFUN", kReadTestSet, run_cfun, "(0,1,4),(0,1)", KIV_AT_CFUN, 0, 4, 1, NULL},
    {"+CGATT", kReadTestSet, run_number, "(0,1)", KIV_AT_CGATT, 0, 1, 1, NULL},
    {"+CGMI", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+CGMM", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+CGMR", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+CGREG", kReadTestSet, run_registration, "(0-2)", KIV_AT_CGREG, 0, 2, 0, NULL},
    {"+CGSN", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+CIMI", kRunTest, run_bare_text, NULL, 0, 0, 0, 0, "001010000000001"},
    {"+CLAC", kRunTest, run_clac, NULL, 0, 0, 0, 0, NULL},
    {"+CLIP", kReadTestSet, run_number, "(0,1)", KIV_AT_CLIP, 0, 1, 0, NULL},
    {"+CMEE", kReadTestSet, run_number, "(0-2)", KIV_AT_CMEE, 0, 2, 0, NULL},
    {"+CMGF", kReadTestSet, run_number, "(0,1)", KIV_AT_CMGF, 0, 1, 0, NULL},
    {"+COPS", kReadTestSet, run_cops, "(2,\"Kiv Bench\",\"Kiv\",\"00101\"),,(0-3),(0-2)", 0, 0, 0,
     0, NULL},
    {"+CPAS", kRunTest, run_text, "(0,2,3,4)", 0, 0, 0, 0, "0"},
    {"+CPIN", kReadTestSet, run_cpin, NULL, 0, 0, 0, 0, NULL},
    {"+CRC", kReadTestSet, run_number, "(0,1)", KIV_AT_CRC, 0, 1, 0, NULL},
    {"+CREG", kReadTestSet, run_registration, "(0-2)", KIV_AT_CREG, 0, 2, 0, NULL},
    {"+CSCS", kReadTestSet, run_cscs, "(\"IRA\",\"GSM\",\"UTF-8\")", KIV_AT_CSCS, 0, 2, 0, NULL},
    {"+CSQ", kRunTest, run_csq, "(0-31,99),(0-7,99)", 0, 0, 0, 0, NULL},
    {"+GCAP", kRunTest, run_text, NULL, 0, 0, 0, 0, "+CGSM"},
    {"+GMI", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+GMM", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+GMR", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+GSN", kRunTest, run_identity, NULL, 0, 0, 0, 0, NULL},
    {"+IPR", kReadTestSet, run_ipr,
     "(),(0,1200,2400,4800,9600,19200,38400,57600,115200,230400,460800)", KIV_AT_IPR, 0, 460800, 0,
     NULL},
    {"+WS46", kReadTest, run_text, "(12)", 0, 0, 0, 0, "12"},
};
enum { kRowCount = sizeof kRows / sizeof kRows[0] };

static int run_clac(kiv_at_responder* responder, const row* self, kiv_at_form form,
                    const char* arguments) {
  (void)self;
  (void)form;
  (void)arguments;
  for (size_t i = 0; i < kRowCount; ++i) {
    char line[32];
    (void)snprintf(line, sizeof line, "AT%s", kRows[i].name);
    kiv_at_tell(responder, line);
  }
  return KIV_AT_OK;
}

void kiv_at_extended_defaults(uint32_t values[KIV_AT_VALUES]) {
  for (size_t i = 0; i < kRowCount; ++i) {
    if ((kRows[i].forms & KIV_AT_SET) != 0 && kRows[i].most != 0) {
      values[kRows[i].value] = kRows[i].preset;
    }
  }
  values[KIV_AT_COPS_MODE] = 0;
  values[KIV_AT_COPS_FORMAT] = 0;
}

int kiv_at_extended(kiv_at_responder* responder, const char* name, kiv_at_form form,
                    const char* arguments) {
  for (size_t i = 0; i < kRowCount; ++i) {
    const row* self = &kRows[i];
    if (strcmp(self->name, name) != 0) continue;
    if ((self->forms & (int)form) == 0) return kNotSupported;
    if (form != KIV_AT_TEST) return self->run(responder, self, form, arguments);
    if (self->test != NULL) tell_named(responder, name, self->test);
    return KIV_AT_OK;
  }
  return KIV_AT_ERROR;
}

const char* kiv_at_error_text(int number) {
  switch (number) {
    case kNotAllowed:
      return "operation not allowed";
    case kNotSupported:
      return "operation not supported";
    case kWrongText:
      return "text string too long";
    case kBadValue:
      return "incorrect parameters";
    default:
      return "unknown";
  }
}
