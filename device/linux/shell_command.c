#include "device/linux/shell_command.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

enum { kTerminalNameBytes = 128, kRows = 24, kColumns = 80, kCannotRun = 127, kOpenFiles = 256 };
enum { kMaxFileBytes = 64 * 1024 * 1024, kFirstOther = STDERR_FILENO + 1 };

// Both ends of a terminal that passes output on as it is. False leaves nothing open.
static bool open_terminal(int* terminal, int* other_end) {
  char name[kTerminalNameBytes];
  *other_end = -1;
  *terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
  if (*terminal < 0) return false;
  if (grantpt(*terminal) == 0 && unlockpt(*terminal) == 0 &&
      ptsname_r(*terminal, name, sizeof name) == 0) {
    *other_end = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  struct termios mode;
  if (*other_end >= 0 && tcgetattr(*other_end, &mode) == 0) {
    mode.c_lflag &= ~(tcflag_t)(ECHO | ECHONL);
    mode.c_oflag &= ~(tcflag_t)OPOST;
    const struct winsize size = {kRows, kColumns, 0, 0};
    (void)ioctl(*other_end, TIOCSWINSZ, &size);
    if (tcsetattr(*other_end, TCSANOW, &mode) == 0) return true;
  }
  if (*other_end >= 0) close(*other_end);
  close(*terminal);
  *terminal = -1;
  return false;
}

static void limit(__rlimit_resource_t resource, rlim_t value) {
  struct rlimit now;
  if (getrlimit(resource, &now) != 0) return;
  if (now.rlim_max != RLIM_INFINITY && value > now.rlim_max) value = now.rlim_max;
  const struct rlimit wanted = {value, value};
  (void)setrlimit(resource, &wanted);
}

static void close_others(void) {
#ifdef SYS_close_range
  if (syscall(SYS_close_range, (unsigned)kFirstOther, ~0U, 0U) == 0) return;
#endif
  const long count = sysconf(_SC_OPEN_MAX);
  for (int descriptor = kFirstOther; descriptor < (count > 0 ? count : 1024); ++descriptor) {
    close(descriptor);
  }
}

// In the child: a session, terminal, signals and limits of its own.
static void leave_the_agent(int other_end, const kiv_shell_limits* limits, rlim_t tasks) {
  (void)prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
  (void)setsid();
  (void)ioctl(other_end, TIOCSCTTY, 0);
  const int nothing = open("/dev/null", O_RDONLY);
  (void)dup2(nothing, STDIN_FILENO);
  (void)dup2(other_end, STDOUT_FILENO);
  (void)dup2(other_end, STDERR_FILENO);
  close_others();
  sigset_t none;
  sigemptyset(&none);
  (void)sigprocmask(SIG_SETMASK, &none, NULL);
  (void)signal(SIGPIPE, SIG_DFL);
  (void)signal(SIGXFSZ, SIG_DFL);
  limit(RLIMIT_CPU, limits->seconds);
  limit(RLIMIT_NPROC, tasks);
  limit(RLIMIT_NOFILE, kOpenFiles);
  limit(RLIMIT_FSIZE, kMaxFileBytes);
  limit(RLIMIT_CORE, 0);
}

int kiv_shell_start(kiv_shell_command* command, const char* program, char* const* arguments,
                    const kiv_shell_limits* limits) {
  int other_end = -1;
  memset(command, 0, sizeof *command);
  if (!open_terminal(&command->terminal, &other_end)) return errno == 0 ? EIO : errno;
  const rlim_t tasks = (rlim_t)kiv_tree_tasks_of_user() + limits->processes;
  command->pid = fork();
  if (command->pid == 0) {
    leave_the_agent(other_end, limits, tasks);
    (void)execvp(program, arguments);
    (void)dprintf(STDERR_FILENO, "kivagent: cannot run %s: %m\n", program);
    _exit(kCannotRun);
  }
  const int error = command->pid < 0 ? errno : 0;
  close(other_end);
  if (error != 0) {
    close(command->terminal);
    command->terminal = -1;
    command->pid = 0;
  }
  return error;
}

size_t kiv_shell_read(kiv_shell_command* command, uint8_t* bytes, size_t room) {
  if (command->terminal < 0) return 0;
  const ssize_t length = read(command->terminal, bytes, room);
  if (length > 0) return (size_t)length;
  // A terminal whose other end is closed says EIO once all is read.
  if (length == 0 || (errno != EAGAIN && errno != EINTR)) command->hung_up = true;
  return 0;
}

void kiv_shell_look(kiv_shell_command* command) {
  if (command->pid == 0 || command->exited) return;
  // Not reaped here, so that the number of its group stays taken until the group is killed.
  siginfo_t info;
  memset(&info, 0, sizeof info);
  if (waitid(P_PID, (id_t)command->pid, &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
      info.si_pid == command->pid) {
    command->exited = true;
  }
}

bool kiv_shell_kill(kiv_shell_command* command, const kiv_process_tree* tree) {
  if (command->terminal >= 0) close(command->terminal);
  command->terminal = -1;
  if (command->pid > 0) {
    (void)kill(-command->pid, SIGKILL);
    (void)kill(command->pid, SIGKILL);  // it may not have its group yet
    if (waitpid(command->pid, NULL, WNOHANG) != 0) command->pid = 0;
  }
  const bool others = kiv_tree_kill(tree);
  return command->pid > 0 || others;
}
