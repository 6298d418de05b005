#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/devlink/fd_transport_posix.h"
#include "platform/devlink/token.h"

namespace devlink {

std::string ReadTokenFile(const std::string& path, std::string& problem) {
  const std::string what = "token file \"" + path + "\"";
  // A path that is a pipe does not keep the link waiting.
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat info = {};
  if (!file.Valid() || ::fstat(file.Get(), &info) != 0) {
    problem = SystemProblem("cannot read the " + what, errno);
    return {};
  }
  if (!S_ISREG(info.st_mode)) {
    problem = "the " + what + " is no regular file";
    return {};
  }
  // He could put another token there, and keep the link from coming up.
  if (info.st_uid != ::geteuid()) {
    problem = "the " + what + " belongs to another user";
    return {};
  }
  if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    problem = "the " + what + " is open to other users: give it mode 0600";
    return {};
  }
  const mode_t mode = info.st_mode & 07777;
  if (mode != 0600 && mode != 0400) {
    problem = "the " + what + " has a mode other than 0600 and 0400: give it mode 0600";
    return {};
  }
  // The longest line with its end, and one byte that shows a longer one.
  char content[kLongestTokenBytes + 3];
  const long got = ::read(file.Get(), content, sizeof(content));
  if (got < 0) {
    problem = SystemProblem("cannot read the " + what, errno);
    return {};
  }
  const auto token = TokenIn({content, static_cast<std::size_t>(got)});
  if (!token) {
    problem = "the first line of the " + what +
              " is no token: 16 to 64 visible ASCII characters without blank and ~";
    return {};
  }
  return std::string(*token);
}

}  // namespace devlink
