// Runs a piece of a test without the rights of root, to whom every permission is granted.
//
// Threads: the test's, while it is the only one. Errors: false when the child could not be run.
#ifndef TESTS_SUPPORT_UNPRIVILEGED_H_
#define TESTS_SUPPORT_UNPRIVILEGED_H_

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kivtest {

inline constexpr unsigned kNobody = 65534;

inline bool DropRights() {
  if (geteuid() != 0) return true;
  return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
}

// Whether `holds()`, run in a child process of user 65534 (of this user when it is not root),
// answered true. What it is to reach must be open to that user.
template <typename Holds>
bool HoldsUnprivileged(Holds holds) {
  const pid_t child = fork();
  if (child < 0) return false;
  if (child == 0) _exit(DropRights() && holds() ? 0 : 1);
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace kivtest

#endif  // TESTS_SUPPORT_UNPRIVILEGED_H_
