#include "platform/devlink/child_process_posix.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "platform/devlink/fd_transport_posix.h"
#include "platform/os/paths.h"

extern char** environ;

namespace devlink {

namespace {

constexpr int kFirstFreeFd = 3;
constexpr const char* kPathWithoutEnvironment = "/usr/local/bin:/usr/bin:/bin";

bool IsProgram(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

struct Pipe {
  UniqueFd read;
  UniqueFd write;
};

// Both ends above standard error, so that giving them to the child cannot overwrite one another
// even when the host has closed its own standard streams.
bool MakePipe(Pipe& pipe) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  for (int& end : ends) {
    if (end >= kFirstFreeFd) continue;
    const int moved = ::fcntl(end, F_DUPFD_CLOEXEC, kFirstFreeFd);
    ::close(end);
    end = moved;
  }
  pipe.read.Reset(ends[0]);
  pipe.write.Reset(ends[1]);
  return pipe.read.Valid() && pipe.write.Valid();
}

// What the child inherits: three pipe ends, no signal blocked or ignored, a session of its own.
class SpawnPlan {
 public:
  SpawnPlan() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes_, &none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  void Give(int fd, int as) { posix_spawn_file_actions_adddup2(&actions_, fd, as); }
  // What else the host has open is none of the child's business.
  void CloseTheRest() { posix_spawn_file_actions_addclosefrom_np(&actions_, kFirstFreeFd); }
  int Run(const std::string& program, const std::vector<std::string>& arguments, pid_t& pid) {
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    return posix_spawn(&pid, program.c_str(), &actions_, &attributes_, argv.data(), environ);
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

}  // namespace

std::string FindProgram(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  std::string beside = os::ProgramDirectory() + "/" + name;
  if (IsProgram(beside)) return beside;
  const char* const set = std::getenv("PATH");
  std::string_view path = set != nullptr ? set : kPathWithoutEnvironment;
  while (!path.empty()) {
    const std::size_t end = path.find(':');
    std::string candidate(path.substr(0, end));
    candidate += candidate.empty() ? name : "/" + name;
    if (IsProgram(candidate))
      return candidate.find('/') != candidate.npos ? candidate : "./" + name;
    path = end == path.npos ? std::string_view() : path.substr(end + 1);
  }
  return {};
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : name_(std::move(other.name_)), pid_(std::exchange(other.pid_, -1)), status_(other.status_) {}

ChildProcess::~ChildProcess() { Kill(); }

bool ChildProcess::Start(const std::vector<std::string>& arguments, Pipes& pipes,
                         std::string& problem) {
  name_ = arguments.front();
  const std::string program = FindProgram(name_);
  if (program.empty()) {
    problem = "cannot start \"" + name_ + "\": there is no such program beside this one or in PATH";
    return false;
  }
  Pipe in, out, errors;
  if (!MakePipe(in) || !MakePipe(out) || !MakePipe(errors)) {
    problem = SystemProblem("cannot make pipes for \"" + name_ + "\"", errno);
    return false;
  }
  SpawnPlan plan;
  plan.Give(in.read.Get(), STDIN_FILENO);
  plan.Give(out.write.Get(), STDOUT_FILENO);
  plan.Give(errors.write.Get(), STDERR_FILENO);
  plan.CloseTheRest();
  if (const int error = plan.Run(program, arguments, pid_)) {
    pid_ = -1;
    problem = SystemProblem("cannot start \"" + name_ + "\"", error);
    return false;
  }
  pipes.toChild = std::move(in.write);
  pipes.fromChild = std::move(out.read);
  pipes.errorsFromChild = std::move(errors.read);
  return true;
}

bool ChildProcess::HasEnded() {
  if (pid_ < 0) return true;
  siginfo_t info = {};
  const int asked = ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
  if (asked == 0 && info.si_pid == 0) return false;
  if (asked != 0 && errno == EINTR) return false;
  if (asked == 0) {
    // What it left behind in its session has nobody to talk to. (Before its number is free again.)
    ::kill(-pid_, SIGKILL);
    int status = 0;
    if (::waitpid(pid_, &status, 0) == pid_) status_ = status;
  }
  // Otherwise there is no such child any more (the host ignores SIGCHLD): nobody knows how it
  // ended.
  pid_ = -1;
  return true;
}

void ChildProcess::Kill() {
  if (pid_ < 0) return;
  ::kill(-pid_, SIGKILL);
  ::kill(pid_, SIGKILL);
  const timespec pause = {0, 1'000'000};
  // A process that the system cannot end at once (it waits in a driver) is left to the system.
  for (int i = 0; i < 1000 && !HasEnded(); ++i) ::nanosleep(&pause, nullptr);
}

std::string ChildProcess::EndText() const {
  if (!status_) return {};
  if (WIFSIGNALED(*status_)) {
    return "\"" + name_ + "\" was killed by signal " + std::to_string(WTERMSIG(*status_));
  }
  return "\"" + name_ + "\" ended with status " + std::to_string(WEXITSTATUS(*status_));
}

}  // namespace devlink
