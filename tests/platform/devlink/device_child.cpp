#include "tests/platform/devlink/device_child.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <thread>

#include "tests/platform/devlink/sample_session.h"
#include "tests/platform/devlink/test_device.h"

namespace linktest {

namespace {

constexpr int kNothing = -1;  // no descriptor: nobody stops a child but its input

int Echo(DeviceEnd& end, int, char**) {
  while (const auto request = end.NextMessage()) {
    NaiveFrame answer;
    answer.id = request->id;
    answer.tag = request->tag;
    answer.payload = request->payload;
    end.Send(answer);
  }
  return 0;
}

int Deaf(DeviceEnd&, int, char**) {
  ::signal(SIGTERM, SIG_IGN);
  for (;;) ::pause();
}

int Arguments(DeviceEnd& end, int argc, char** argv) {
  for (int i = 0; i < argc; ++i) {
    const std::string text = argv[i];
    NaiveFrame ind;
    ind.kind = kInd;
    ind.payload.assign(text.begin(), text.end());
    end.Send(ind);
  }
  end.Linger();
  return 0;
}

int Session(DeviceEnd& end, int, char**) {
  NaiveFrame ind;
  ind.kind = kInd;
  ind.payload = {static_cast<std::uint8_t>(::getsid(0) == ::getpid() ? '1' : '0')};
  end.Send(ind);
  end.Linger();
  return 0;
}

int Shut(DeviceEnd&, int, char**) {
  ::close(STDIN_FILENO);
  pollfd output = {STDOUT_FILENO, 0, 0};
  ::poll(&output, 1, -1);
  return 0;
}

// Between the host and a Unix socket, until either ends.
int Bridge(const std::string& path) {
  ::signal(SIGPIPE, SIG_IGN);  // whoever ends first, the bridge ends in order
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    return 5;
  }
  const auto copy = [](int from, int to) {
    char buffer[32 * 1024];
    for (ssize_t got; (got = ::read(from, buffer, sizeof(buffer))) > 0;) {
      for (ssize_t put = 0, done = 0; done < got; done += put) {
        put = ::write(to, buffer + done, static_cast<std::size_t>(got - done));
        if (put <= 0) return;
      }
    }
  };
  std::thread([&] {
    copy(STDIN_FILENO, socket);
    ::_exit(0);
  }).detach();
  copy(socket, STDOUT_FILENO);
  ::_exit(0);
}

int Fail(DeviceEnd&, int, char**) { return 7; }

void CutOnce(DeviceEnd& end, int argc, char** argv) {
  if (argc < 2 || ::unlink(argv[1]) != 0) return;
  Bytes line = SampleSession(1).line;
  line.resize(std::stoul(argv[0]));
  if (end.WaitForData()) end.SendBytes(line);
  ::raise(SIGKILL);
}

}  // namespace

int PlayRole(int argc, char** argv) {
  static const std::map<std::string, int (*)(DeviceEnd&, int, char**)> roles = {
      {"echo", Echo},       {"deaf", Deaf}, {"arguments", Arguments},
      {"session", Session}, {"shut", Shut}, {"fail", Fail},
      {"cut", Echo},
  };
  if (argc == 2 && std::string(argv[0]) == "bridge") return Bridge(argv[1]);
  const auto role = roles.find(argc > 0 ? argv[0] : "");
  if (role == roles.end()) return 3;
  DeviceEnd end(STDIN_FILENO, STDOUT_FILENO, kNothing);
  if (role->first == "cut") CutOnce(end, argc - 1, argv + 1);
  if (!end.Greet()) return 4;
  return role->second(end, argc - 1, argv + 1);
}

std::string ChildEndpoint(const std::string& roleAndArguments) {
  return "exec:'" + std::filesystem::read_symlink("/proc/self/exe").string() + "' --as-device " +
         roleAndArguments;
}

}  // namespace linktest
