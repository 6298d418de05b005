// kivagent: the program. What may run as whom is decided here.
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include "device/linux/options.h"
#include "device/linux/program.h"
#include "kiv_version.h"

enum { kStatusFailed = 1, kStatusWrongUsage = 2 };

static int run(const kiv_options* options) {
  const bool root = geteuid() == 0 && !options->allow_root;
  if (root && options->transport != KIV_TRANSPORT_STDIO) {
    (void)fprintf(stderr, "kivagent: as root no %s is opened without --allow-root\n",
                  options->transport == KIV_TRANSPORT_SERIAL ? "serial port" : "socket");
    return kStatusFailed;
  }
  if (root && (options->at_place != NULL || options->hci_place != NULL)) {
    (void)fprintf(stderr,
                  "kivagent: as root no port of a modem or controller is opened without "
                  "--allow-root\n");
    return kStatusFailed;
  }
  if (root && options->shell.mode == KIV_SHELL_FULL) {
    (void)fprintf(stderr, "kivagent: as root no --shell full without --allow-root\n");
    return kStatusFailed;
  }
  if (root && options->load_folder != NULL) {
    (void)fprintf(stderr, "kivagent: as root no --load without --allow-root\n");
    return kStatusFailed;
  }
  if (root) {
    (void)fprintf(stderr, "kivagent: warning: running as root\n");
  }
  return kiv_program_run(options);
}

// A program may be started without standard descriptors; what it opens must not land in their
// place.
static void fill_standard_descriptors(void) {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) close(descriptor);
}

static int print(const char* text) {
  if (fputs(text, stdout) >= 0 && fflush(stdout) == 0) return 0;
  (void)fputs("kivagent: standard output cannot be written\n", stderr);
  return kStatusFailed;
}

int main(int argc, char** argv) {
  static kiv_options options;
  fill_standard_descriptors();
  // A file beyond the limit on sizes is then an error of its write, as on a full disk.
  (void)signal(SIGXFSZ, SIG_IGN);
  switch (kiv_options_read(&options, argc, argv)) {
    case KIV_WISH_HELP:
      return print(kiv_options_help());
    case KIV_WISH_VERSION:
      return print("kivagent " KIV_VERSION "\n");
    case KIV_WISH_WRONG:
      (void)fprintf(stderr, "kivagent: %s (see --help)\n", options.problem);
      return kStatusWrongUsage;
    default:
      return run(&options);
  }
}
