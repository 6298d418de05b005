#include "tests/platform/devlink/device_door.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace linktest {

namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

class SocketDoor : public DeviceDoor {
 public:
  ~SocketDoor() override { ::close(listener_); }

  std::optional<Ends> Accept(int stopFd) override {
    for (;;) {
      pollfd entries[] = {{listener_, POLLIN, 0}, {stopFd, POLLIN, 0}};
      ::poll(entries, 2, -1);
      if (entries[1].revents != 0) return std::nullopt;
      const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket >= 0) return Ends{socket, socket};
    }
  }
  void Close(const Ends& ends) override { ::close(ends.readFd); }

 protected:
  template <typename Address>
  void Listen(int family, const Address& address) {
    listener_ = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int again = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &again, sizeof(again));
    if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(listener_, 8) != 0) {
      Fail("test device");
    }
  }
  int listener_ = -1;
};

class UnixDoor : public SocketDoor {
 public:
  explicit UnixDoor(const std::string& path) : path_(path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
    ::unlink(path_.c_str());
    Listen(AF_UNIX, address);
  }
  ~UnixDoor() override { ::unlink(path_.c_str()); }
  std::string Endpoint() const override { return "unix:" + path_; }

 private:
  const std::string path_;
};

class TcpDoor : public SocketDoor {
 public:
  explicit TcpDoor(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    Listen(AF_INET, address);
    socklen_t lengthBytes = sizeof(address);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &lengthBytes);
    port_ = ntohs(address.sin_port);
  }
  std::string Endpoint() const override { return "tcp:127.0.0.1:" + std::to_string(port_); }

 private:
  std::uint16_t port_ = 0;
};

class PtyDoor : public DeviceDoor {
 public:
  PtyDoor(const std::string& path, const std::string& options) : path_(path), options_(options) {
    PlugIn();
  }
  ~PtyDoor() override {
    if (master_ >= 0) ::close(master_);
    ::unlink(path_.c_str());
  }

  // There is no connecting to a line: the host is here when it says something.
  std::optional<Ends> Accept(int stopFd) override {
    if (master_ < 0) PlugIn();
    pollfd entries[] = {{master_, POLLIN, 0}, {stopFd, POLLIN, 0}};
    ::poll(entries, 2, -1);
    if (entries[1].revents != 0) return std::nullopt;
    const int writeFd = ::fcntl(master_, F_DUPFD_CLOEXEC, 0);
    return Ends{std::exchange(master_, -1), writeFd};
  }
  void Close(const Ends& ends) override {
    ::unlink(path_.c_str());
    ::close(ends.readFd);
    ::close(ends.writeFd);
  }
  std::string Endpoint() const override { return "serial:" + path_ + options_; }

 private:
  void PlugIn() {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    char name[64];
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0 ||
        ::ptsname_r(master_, name, sizeof(name)) != 0) {
      Fail("test device's line");
    }
    const std::string fresh = path_ + ".new";
    std::filesystem::create_symlink(name, fresh);
    std::filesystem::rename(fresh, path_);
  }

  const std::string path_;
  const std::string options_;
  int master_ = -1;
};

}  // namespace

std::unique_ptr<DeviceDoor> MakeUnixDoor(const std::string& path) {
  return std::make_unique<UnixDoor>(path);
}

std::unique_ptr<DeviceDoor> MakeTcpDoor(std::uint16_t port) {
  return std::make_unique<TcpDoor>(port);
}

std::unique_ptr<DeviceDoor> MakePtyDoor(const std::string& path, const std::string& options) {
  return std::make_unique<PtyDoor>(path, options);
}

}  // namespace linktest
