// ChildProcess: a program started on pipes, in a session of its own.
//
// Threads: one object for one thread.
// Owns the process: who destroys the object without WaitEnd kills it.
// Errors: Start says why in one line.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/devlink/unique_fd_posix.h"

namespace devlink {

// A started program with its three pipes, in a session of its own.
class ChildProcess {
 public:
  // Our ends of the three pipes.
  struct Pipes {
    UniqueFd toChild;
    UniqueFd fromChild;
    UniqueFd errorsFromChild;
  };

  ChildProcess() = default;
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ~ChildProcess();

  // `arguments` has the program first. False: `problem` says why, and there is no process.
  bool Start(const std::vector<std::string>& arguments, Pipes& pipes, std::string& problem);
  // Whether the process has ended; takes its status then.
  bool HasEnded();
  // Ends the process and what it started in its session, and takes its status.
  void Kill();
  // "NAME ended with status 3", "NAME was killed by signal 9"; empty before the end is known.
  std::string EndText() const;

 private:
  std::string name_;
  pid_t pid_ = -1;
  std::optional<int> status_;
};

// Where a program of this name is: a name with a slash as it is, else beside the running program,
// else in PATH. Empty when there is none.
std::string FindProgram(const std::string& name);

}  // namespace devlink
