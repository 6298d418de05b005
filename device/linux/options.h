// What the command line of the agent asks for.
//
// Threads: none. Owns or borrows: texts point into the arguments, the environment or the object.
// Errors: a text for standard error, ready to be shown behind the program's name.
#ifndef DEVICE_LINUX_OPTIONS_H_
#define DEVICE_LINUX_OPTIONS_H_

#include <limits.h>
#include <stdbool.h>
#include <stdint.h>

#include "device/linux/serial_port.h"
#include "device/linux/shell_channel.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum kiv_wish { KIV_WISH_RUN, KIV_WISH_HELP, KIV_WISH_VERSION, KIV_WISH_WRONG } kiv_wish;

typedef enum kiv_transport_kind {
  KIV_TRANSPORT_STDIO,
  KIV_TRANSPORT_UNIX,
  KIV_TRANSPORT_TCP,
  KIV_TRANSPORT_SERIAL
} kiv_transport_kind;

typedef struct kiv_options {
  kiv_transport_kind transport;
  const char* unix_path;   // of KIV_TRANSPORT_UNIX
  const char* tcp_place;   // of KIV_TRANSPORT_TCP: PORT or HOST:PORT
  const char* token_file;  // likewise
  kiv_serial_port serial;  // of KIV_TRANSPORT_SERIAL
  const char* at_place;    // null: the built-in responder
  kiv_shell_options shell;
  const char* hci_place;  // null: none
  const char* data_folder;
  const char* load_folder;  // null: no file is loaded
  uint32_t load_limit_bytes;
  char name[65];
  uint16_t variant;
  uint16_t product;
  bool allow_root;
  char default_data_folder[PATH_MAX];
  char problem[256];  // with KIV_WISH_WRONG
} kiv_options;

kiv_wish kiv_options_read(kiv_options* options, int argc, char** argv);
// The text of --help.
const char* kiv_options_help(void);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_OPTIONS_H_
