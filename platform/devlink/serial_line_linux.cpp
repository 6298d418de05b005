// Any rate needs the kernel's own structure, which the C library's header does not have and does
// not go together with.
#include <asm/termbits.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>

#include "platform/devlink/fd_transport_posix.h"
#include "platform/devlink/serial_line.h"

namespace devlink {

namespace {

// The name of the group that a device belongs to: that is whom to ask for the right to use it.
std::string GroupOf(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return "?";
  group entry;
  group* found = nullptr;
  std::array<char, 4096> texts;
  ::getgrgid_r(info.st_gid, &entry, texts.data(), texts.size(), &found);
  return found != nullptr ? found->gr_name : std::to_string(info.st_gid);
}

std::string OpenProblem(const Endpoint& endpoint, int error) {
  const std::string what = "cannot open \"" + endpoint.text + "\"";
  if (error == EBUSY || error == EWOULDBLOCK) return what + ": another program uses it";
  if (error == EACCES) {
    return SystemProblem(what, error) + " (it belongs to the group " + GroupOf(endpoint.path) + ")";
  }
  if (error == ENOTTY) return what + ": it is no serial port";
  return SystemProblem(what, error);
}

// 0 or an error number. On failure `line` is not usable.
int Claim(int line, termios2& settings) {
  if (::ioctl(line, TCGETS2, &settings) != 0) return ENOTTY;
  // The lock holds against every program that asks for it, root's too; the other against all that
  // open the port, but not against root's.
  if (::flock(line, LOCK_EX | LOCK_NB) != 0) return errno;
  return ::ioctl(line, TIOCEXCL) != 0 ? errno : 0;
}

void MakeRaw(termios2& settings, const Endpoint& endpoint) {
  settings.c_iflag = 0;
  settings.c_oflag = 0;
  settings.c_lflag = 0;
  settings.c_cflag = CS8 | CREAD | CLOCAL | BOTHER | (endpoint.rtsCts ? CRTSCTS : 0);
  settings.c_ispeed = settings.c_ospeed = endpoint.baud;
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
}

// A receiver still reads what is up to about 3 % beside its own rate.
bool IsNear(std::uint64_t rate, std::uint64_t wanted) {
  const std::uint64_t difference = rate > wanted ? rate - wanted : wanted - rate;
  return difference * 100 <= wanted * 3;
}

// Empty when the port does what it was asked for.
std::string Set(int line, termios2& settings, const Endpoint& endpoint) {
  const std::string what = "cannot set \"" + endpoint.text + "\"";
  MakeRaw(settings, endpoint);
  if (::ioctl(line, TCSETS2, &settings) != 0 || ::ioctl(line, TCGETS2, &settings) != 0) {
    return SystemProblem(what, errno);
  }
  if (!IsNear(settings.c_ospeed, endpoint.baud)) {
    return what + ": the port does " + std::to_string(settings.c_ospeed) + " baud instead";
  }
  // What came before this session is none of its business.
  ::ioctl(line, TCFLSH, TCIOFLUSH);
  return {};
}

}  // namespace

UniqueFd OpenSerialLine(const Endpoint& endpoint, std::string& problem) {
  UniqueFd line(::open(endpoint.path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  termios2 settings = {};
  const int error = line.Valid() ? Claim(line.Get(), settings) : errno;
  if (error == 0) {
    problem = Set(line.Get(), settings, endpoint);
    if (!problem.empty()) ReleaseLine(line.Get());
  } else {
    problem = OpenProblem(endpoint, error);
  }
  if (!problem.empty()) line.Reset();
  return line;
}

std::size_t QueuedBytes(int line) {
  int queued = 0;
  return ::ioctl(line, TIOCOUTQ, &queued) == 0 && queued > 0 ? static_cast<std::size_t>(queued) : 0;
}

void ReleaseLine(int line) {
  ::ioctl(line, TCFLSH, TCIOFLUSH);
  // It would stay as long as anybody else has the port open.
  ::ioctl(line, TIOCNXCL);
}

}  // namespace devlink
