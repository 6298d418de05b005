// The extended commands of the built-in AT responder, one row each.
//
// Threads: none. Owns or borrows: the responder is the caller's. Errors: as results of commands.
#ifndef DEVICE_LINUX_AT_COMMANDS_H_
#define DEVICE_LINUX_AT_COMMANDS_H_

#include "device/linux/at_responder.h"

#ifdef __cplusplus
extern "C" {
#endif

// How a command is asked: +X, +X?, +X=?, +X=...
typedef enum kiv_at_form {
  KIV_AT_RUN = 1,
  KIV_AT_READ = 2,
  KIV_AT_TEST = 4,
  KIV_AT_SET = 8
} kiv_at_form;

// What they hold after AT&F.
void kiv_at_extended_defaults(uint32_t values[KIV_AT_VALUES]);
// Runs the command `name` ("+CSQ"); `arguments` is what stands behind the '=' of a KIV_AT_SET.
int kiv_at_extended(kiv_at_responder* responder, const char* name, kiv_at_form form,
                    const char* arguments);
// The text of a "+CME ERROR".
const char* kiv_at_error_text(int number);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_AT_COMMANDS_H_
