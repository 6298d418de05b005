#include "device/linux/options.h"

#include <errno.h>
#include <getopt.h>
#include <pwd.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "device/linux/byte_port.h"
#include "device/linux/load.h"

static const uint16_t kDefaultVariant = 248;

static const char kHelp[] =
    "usage: kivagent [OPTION...]\n"
    "The device side of the bench: answers diagnostic commands about this machine.\n"
    "\n"
    "  --stdio         talk over standard input and output (default)\n"
    "  --unix PATH     listen on a Unix socket: folder 0700, socket 0600, this user only\n"
    "  --tcp PORT      listen on a TCP port of this machine's loopback, or HOST:PORT with\n"
    "                  a loopback address; 0 for any port. From other machines use ssh.\n"
    "  --token-file FILE\n"
    "                  the secret that TCP hosts must show: a first line of 16 to 64 visible\n"
    "                  characters without '~', mode 0600\n"
    "  --serial DEV    talk over a serial port, 115200 baud or DEV?baud=N; waits for it and\n"
    "                  opens it again when it was unplugged\n"
    "  --at PORT       carry AT lines to a modem: a serial port, also as PORT?baud=N, or\n"
    "                  unix:PATH; without it a built-in responder answers them\n"
    "  --shell WHAT    what hosts may run: off (default), full, or list:FILE with a command or\n"
    "                  a whole line on each line, run without a shell\n"
    "  --shell-program FILE\n"
    "                  the shell of --shell full, run as 'sh -c LINE' (default: /bin/sh)\n"
    "  --shell-limits SECONDS,BYTES,PROCESSES\n"
    "                  of each line: time, output, processes (default: 60,4194304,64)\n"
    "  --hci PORT      carry HCI packets to a Bluetooth controller (H4): a serial port, also\n"
    "                  as PORT?baud=N, or unix:PATH\n"
    "  --load DIR      store the file that a host loads as DIR/loaded.bin (default: off)\n"
    "  --load-limit BYTES\n"
    "                  the largest file to load, 1 to 134215680 (default: 16777216)\n"
    "  --data DIR      keep what outlives the agent in DIR (default: $KIV_DATA_DIR/kivagent,\n"
    "                  else $XDG_DATA_HOME/kivagent, else ~/.local/share/kivagent)\n"
    "  --name NAME     name that hosts show (default: this machine's name)\n"
    "  --variant N     protocol variant code to report, 0 to 65535 (default: 248)\n"
    "  --product N     product version code to report, 0 to 65535 (default: 0)\n"
    "  --allow-root    as root, allow what is refused otherwise\n"
    "  --version       print the version and end\n"
    "  --help          print this and end\n";

enum {
  kStdio = 1,
  kUnix,
  kTcp,
  kTokenFile,
  kSerial,
  kAt,
  kShell,
  kShellProgram,
  kShellLimits,
  kHci,
  kLoad,
  kLoadLimit,
  kData,
  kName,
  kVariant,
  kProduct,
  kAllowRoot,
  kVersion,
  kHelpOption
};

static const struct option kLong[] = {{"stdio", no_argument, NULL, kStdio},
                                      {"unix", required_argument, NULL, kUnix},
                                      {"tcp", required_argument, NULL, kTcp},
                                      {"token-file", required_argument, NULL, kTokenFile},
                                      {"serial", required_argument, NULL, kSerial},
                                      {"at", required_argument, NULL, kAt},
                                      {"shell", required_argument, NULL, kShell},
                                      {"shell-program", required_argument, NULL, kShellProgram},
                                      {"shell-limits", required_argument, NULL, kShellLimits},
                                      {"hci", required_argument, NULL, kHci},
                                      {"load", required_argument, NULL, kLoad},
                                      {"load-limit", required_argument, NULL, kLoadLimit},
                                      {"data", required_argument, NULL, kData},
                                      {"name", required_argument, NULL, kName},
                                      {"variant", required_argument, NULL, kVariant},
                                      {"product", required_argument, NULL, kProduct},
                                      {"allow-root", no_argument, NULL, kAllowRoot},
                                      {"version", no_argument, NULL, kVersion},
                                      {"help", no_argument, NULL, kHelpOption},
                                      {NULL, 0, NULL, 0}};

const char* kiv_options_help(void) { return kHelp; }

static kiv_wish wrong(kiv_options* options, const char* what, const char* argument) {
  (void)snprintf(options->problem, sizeof options->problem, "%s '%s'", what, argument);
  return KIV_WISH_WRONG;
}

static bool read_code(const char* text, uint16_t* code) {
  char* end = NULL;
  errno = 0;
  const unsigned long value = strtoul(text, &end, 10);
  if (text[0] < '0' || text[0] > '9' || *end != '\0' || errno != 0 || value > 65535) return false;
  *code = (uint16_t)value;
  return true;
}

static bool read_limit(const char* text, uint32_t* limit_bytes) {
  char* end = NULL;
  errno = 0;
  const unsigned long long value = strtoull(text, &end, 10);
  if (text[0] < '0' || text[0] > '9' || *end != '\0' || errno != 0) return false;
  if (value == 0 || value > KIV_LOAD_MAX_BYTES) return false;
  *limit_bytes = (uint32_t)value;
  return true;
}

typedef struct user_record {
  struct passwd entry;
  char texts[4096];
} user_record;

static const char* home_of_user(user_record* user) {
  struct passwd* found = NULL;
  const int error = getpwuid_r(geteuid(), &user->entry, user->texts, sizeof user->texts, &found);
  return error != 0 || found == NULL ? "/" : found->pw_dir;
}

// A folder that the environment names, when it is an absolute one.
static const char* folder_of(const char* variable) {
  // The agent has one thread: NOLINTNEXTLINE(concurrency-mt-unsafe)
  const char* folder = getenv(variable);
  return folder != NULL && folder[0] == '/' ? folder : NULL;
}

// From the user database where HOME is not set, so that the agent runs in an empty environment.
static void find_data_folder(kiv_options* options) {
  char* out = options->default_data_folder;
  const size_t room = sizeof options->default_data_folder;
  // The folder of hosts, too, so the agent's own name stands in it.
  const char* shared = folder_of("KIV_DATA_DIR");
  if (shared == NULL) shared = folder_of("XDG_DATA_HOME");
  const char* home = folder_of("HOME");
  user_record user;
  if (home == NULL) home = home_of_user(&user);
  const int length = shared != NULL ? snprintf(out, room, "%s/kivagent", shared)
                                    : snprintf(out, room, "%s/.local/share/kivagent", home);
  if (length < 0 || (size_t)length >= room) out[0] = '\0';  // writing then says it failed
  options->data_folder = out;
}

static void find_name(kiv_options* options) {
  if (gethostname(options->name, sizeof options->name) != 0 || options->name[0] == '\0') {
    (void)snprintf(options->name, sizeof options->name, "kivagent");
  }
  options->name[sizeof options->name - 1] = '\0';
}

static kiv_wish choose(kiv_options* options, kiv_transport_kind kind, bool* chosen) {
  if (*chosen && options->transport != kind) {
    return wrong(options, "only one of --stdio, --unix, --tcp and --serial, not also",
                 optarg == NULL ? "--stdio" : optarg);
  }
  *chosen = true;
  options->transport = kind;
  return KIV_WISH_RUN;
}

static kiv_wish take_text(kiv_options* options, const char** text, const char* option) {
  *text = optarg;
  return optarg[0] == '\0' ? wrong(options, "nothing for", option) : KIV_WISH_RUN;
}

// A port of the device, as byte_port.h has it.
static kiv_wish take_port(kiv_options* options, const char** place, const char* what) {
  kiv_byte_port port;
  *place = optarg;
  return kiv_byte_port_read_place(&port, optarg) ? KIV_WISH_RUN : wrong(options, what, optarg);
}

static kiv_wish take(kiv_options* options, int option, bool* chosen) {
  kiv_wish wish = KIV_WISH_RUN;
  switch (option) {
    case kStdio:
      return choose(options, KIV_TRANSPORT_STDIO, chosen);
    case kUnix:
      wish = choose(options, KIV_TRANSPORT_UNIX, chosen);
      if (wish != KIV_WISH_RUN) return wish;
      options->unix_path = optarg;
      return optarg[0] == '\0' ? wrong(options, "no path for", "--unix") : KIV_WISH_RUN;
    case kTcp:
      wish = choose(options, KIV_TRANSPORT_TCP, chosen);
      return wish != KIV_WISH_RUN ? wish : take_text(options, &options->tcp_place, "--tcp");
    case kTokenFile:
      return take_text(options, &options->token_file, "--token-file");
    case kSerial:
      wish = choose(options, KIV_TRANSPORT_SERIAL, chosen);
      if (wish != KIV_WISH_RUN || kiv_serial_read(&options->serial, optarg)) return wish;
      return wrong(options, "no serial port", optarg);
    case kAt:
      return take_port(options, &options->at_place, "no AT port");
    case kShell:
      return kiv_shell_read_mode(&options->shell, optarg) ? KIV_WISH_RUN
                                                          : wrong(options, "no --shell", optarg);
    case kShellProgram:
      return take_text(options, &options->shell.program, "--shell-program");
    case kShellLimits:
      return kiv_shell_read_limits(&options->shell.limits, optarg)
                 ? KIV_WISH_RUN
                 : wrong(options, "no limits", optarg);
    case kHci:
      return take_port(options, &options->hci_place, "no HCI port");
    case kLoad:
      return take_text(options, &options->load_folder, "--load");
    case kLoadLimit:
      return read_limit(optarg, &options->load_limit_bytes)
                 ? KIV_WISH_RUN
                 : wrong(options, "no limit from 1 to 134215680", optarg);
    case kData:
      options->data_folder = optarg;
      return KIV_WISH_RUN;
    case kName:
      if (strlen(optarg) >= sizeof options->name) {
        return wrong(options, "name longer than 64 bytes", optarg);
      }
      (void)snprintf(options->name, sizeof options->name, "%s", optarg);
      return KIV_WISH_RUN;
    case kVariant:
      return read_code(optarg, &options->variant)
                 ? KIV_WISH_RUN
                 : wrong(options, "--variant wants a number from 0 to 65535, not", optarg);
    case kProduct:
      return read_code(optarg, &options->product)
                 ? KIV_WISH_RUN
                 : wrong(options, "--product wants a number from 0 to 65535, not", optarg);
    case kAllowRoot:
      options->allow_root = true;
      return KIV_WISH_RUN;
    case kVersion:
      return KIV_WISH_VERSION;
    default:
      return KIV_WISH_HELP;
  }
}

// Any user of the machine can connect to a TCP port, so there is none without a secret.
static kiv_wish check_token_file(kiv_options* options) {
  const bool needed = options->transport == KIV_TRANSPORT_TCP;
  if (needed && options->token_file == NULL) {
    return wrong(options, "a --token-file is needed for --tcp", options->tcp_place);
  }
  if (!needed && options->token_file != NULL) {
    return wrong(options, "only --tcp takes a --token-file, not", options->token_file);
  }
  return KIV_WISH_RUN;
}

static kiv_wish check_load_limit(kiv_options* options) {
  if (options->load_folder == NULL && options->load_limit_bytes != 0) {
    return wrong(options, "a --load is needed for", "--load-limit");
  }
  if (options->load_limit_bytes == 0) options->load_limit_bytes = KIV_LOAD_DEFAULT_LIMIT_BYTES;
  return KIV_WISH_RUN;
}

kiv_wish kiv_options_read(kiv_options* options, int argc, char** argv) {
  memset(options, 0, sizeof *options);
  options->variant = kDefaultVariant;
  kiv_shell_options_init(&options->shell);
  find_data_folder(options);
  find_name(options);
  bool chosen = false;
  opterr = 0;
  optind = 1;
  while (true) {
    const int at = optind;
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    const int option = getopt_long(argc, argv, "", kLong, NULL);
    if (option == -1) break;
    if (option == '?') return wrong(options, "unknown or incomplete option", argv[at]);
    const kiv_wish wish = take(options, option, &chosen);
    if (wish != KIV_WISH_RUN) return wish;
  }
  if (optind < argc) return wrong(options, "unexpected argument", argv[optind]);
  const kiv_wish wish = check_load_limit(options);
  return wish != KIV_WISH_RUN ? wish : check_token_file(options);
}
