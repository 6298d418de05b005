// The shell channel: lines of the host run as commands, one after another, each in a shell of its
// own or, with a list, without one. Output goes out as it comes, in UTF-8 as far as it is UTF-8
// (a character is not cut in two, zero bytes are left out), and an answer of zero bytes ends each
// command, also one that was refused.
//
// A host cuts a line into pieces of 400 characters and nothing marks the last one. So a piece of
// exactly 400 characters without a line end is followed by more; when nothing has come for
// KIV_SHELL_JOIN_MS the line is taken as it is. A line of which a piece is refused does not run.
//
// Threads: one, the agent's.
// Owns or borrows: owns its commands; borrows the options.
// Errors: told to the host as output lines that begin with "kivagent: ".
#ifndef DEVICE_LINUX_SHELL_CHANNEL_H_
#define DEVICE_LINUX_SHELL_CHANNEL_H_

#include "device/linux/channel.h"
#include "device/linux/shell_command.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_SHELL_JOIN_MS 1000
#define KIV_SHELL_MAX_LINE_BYTES 16384u

typedef enum kiv_shell_mode { KIV_SHELL_OFF, KIV_SHELL_LIST, KIV_SHELL_FULL } kiv_shell_mode;

// What the command line says of the shell; texts are borrowed.
typedef struct kiv_shell_options {
  kiv_shell_mode mode;
  const char* list_path;  // of KIV_SHELL_LIST
  const char* program;    // a shell, run as `sh -c LINE`
  kiv_shell_limits limits;
} kiv_shell_options;

// Off, and the limits that hold when none are said.
void kiv_shell_options_init(kiv_shell_options* options);
// "off", "full" or "list:FILE".
bool kiv_shell_read_mode(kiv_shell_options* options, const char* text);
// "SECONDS,BYTES,PROCESSES": 1 to 86400, 1 to 1073741824, 1 to 10000. False for anything else.
bool kiv_shell_read_limits(kiv_shell_limits* limits, const char* text);

// Null with a notice when the list cannot be read or memory is out.
kiv_channel* kiv_shell_channel_new(const kiv_shell_options* options);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_SHELL_CHANNEL_H_
