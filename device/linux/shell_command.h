// One command that runs on a pseudo terminal without echo: started, read, watched, ended with all
// that it started. It reads nothing: its standard input is /dev/null.
//
// Threads: one.
// Owns or borrows: owns the terminal and the processes; borrows nothing after the start.
// Errors: starting returns an errno value; what fails in the child is told on the terminal.
#ifndef DEVICE_LINUX_SHELL_COMMAND_H_
#define DEVICE_LINUX_SHELL_COMMAND_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "device/linux/process_tree.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kiv_shell_limits {
  uint32_t seconds;
  uint32_t output_bytes;
  uint32_t processes;
} kiv_shell_limits;

typedef struct kiv_shell_command {
  int terminal;  // -1: none
  pid_t pid;     // 0: none, or reaped
  bool exited;
  bool hung_up;  // nobody has the terminal's other end any more
} kiv_shell_command;

// `arguments` end with null; `program` is a path, or a name to be looked for in PATH. 0, or why it
// could not be started.
int kiv_shell_start(kiv_shell_command* command, const char* program, char* const* arguments,
                    const kiv_shell_limits* limits);
// Bytes of output, at most `room`; 0 when there is none now.
size_t kiv_shell_read(kiv_shell_command* command, uint8_t* bytes, size_t room);
// Looks whether the command's first process has ended.
void kiv_shell_look(kiv_shell_command* command);
// Closes the terminal and kills everything; says whether something is left, and is then called
// again a little later.
bool kiv_shell_kill(kiv_shell_command* command, const kiv_process_tree* tree);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_SHELL_COMMAND_H_
