#include "bench/bench_device.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <utility>

#include "platform/devlink/deframer.h"
#include "platform/devlink/frame_head.h"
#include "platform/devlink/framer.h"

namespace bench_device {
namespace {

using devlink::FrameHead;
using devlink::MessageKind;

constexpr std::uint8_t kFlag = 0x7E;

// A device's greeting (docs/wire-format.md 6): variant 248, product 0, no catalogue known, "bench".
constexpr std::array<std::uint8_t, 28> kGreeting = {'K',  'I', 'V', '-', 'U', 'N', 'I', 'T', 1, 0,
                                                    0xF8, 0,   0,   0,   0,   0,   0,   0,   0, 0,
                                                    0,    5,   'b', 'e', 'n', 'c', 'h', 0};

[[noreturn]] void Give(const char* what) {
  std::perror(what);
  std::exit(4);
}

Bytes Encoded(const FrameHead& head, std::span<const std::uint8_t> payload) {
  Bytes line(devlink::EncodedBytesAtMost(payload.size()));
  line.resize(devlink::EncodeFrame(head, payload, line.data()));
  return line;
}

}  // namespace

Bytes FrameOf(MessageKind kind, const bench_shapes::Sample& sample, std::size_t turn,
              std::uint32_t sequence) {
  const Bytes& body = sample.At(turn).body;
  FrameHead head;
  head.kind = kind;
  head.id = sample.cmdId;
  head.tag = 1;
  head.sequence = sequence;
  head.bodyLengthBytes = static_cast<std::uint32_t>(body.size());
  return Encoded(head, body);
}

Bytes ConfirmationOf(std::uint32_t cmdId, const Bytes& body, std::uint16_t tag,
                     std::uint32_t sequence) {
  FrameHead head;
  head.kind = MessageKind::kCnf;
  head.id = cmdId;
  head.tag = tag;
  head.sequence = sequence;
  head.bodyLengthBytes = static_cast<std::uint32_t>(body.size());
  return Encoded(head, body);
}

void WriteAll(int descriptor, const std::uint8_t* bytes, std::size_t lengthBytes) {
  while (lengthBytes != 0) {
    const ssize_t put = ::send(descriptor, bytes, lengthBytes, MSG_NOSIGNAL);
    if (put <= 0) Give("bench device: send");
    bytes += put;
    lengthBytes -= static_cast<std::size_t>(put);
  }
}

std::size_t ReadSome(int descriptor, std::uint8_t* to, std::size_t roomBytes) {
  const ssize_t got = ::read(descriptor, to, roomBytes);
  return got > 0 ? static_cast<std::size_t>(got) : 0;
}

void Answers::Arm(std::vector<Bytes> answers) {
  const std::lock_guard lock(mutex_);
  answers_ = std::move(answers);
  given_ = 0;
  request_.clear();
}

bool Answers::Take(int descriptor, const std::uint8_t* bytes, std::size_t lengthBytes) {
  const std::lock_guard lock(mutex_);
  if (given_ == answers_.size()) return false;
  if (!request_.empty() && request_.size() > 1 && request_.back() == kFlag) request_.clear();
  request_.insert(request_.end(), bytes, bytes + lengthBytes);
  if (request_.size() < 2 || request_.back() != kFlag) return true;
  const Bytes& answer = answers_[given_++];
  WriteAll(descriptor, answer.data(), answer.size());
  return true;
}

Bytes Answers::LastRequest() {
  const std::lock_guard lock(mutex_);
  return request_;
}

BenchDevice::BenchDevice() {
  const std::string path = bench_shapes::ScratchFolder() + "/device";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(listener_, 1) != 0) {
    Give("bench device: listen");
  }
  thread_ = std::thread([this] { Serve(); });
}

BenchDevice::~BenchDevice() {
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
}

// One connection, to its end.
void BenchDevice::Serve() {
  const int connection = ::accept(listener_, nullptr, nullptr);
  if (connection < 0) return;
  connection_ = connection;
  Bytes buffer(65536);
  while (const std::size_t got = ReadSome(connection, buffer.data(), buffer.size())) {
    if (answers_.Take(connection, buffer.data(), got) || isSending_) continue;
    Converse(buffer.data(), got);
  }
  connection_ = -1;
  ::close(connection);
}

// Greeting and keep-alive, which are whole whenever they come.
void BenchDevice::Converse(const std::uint8_t* bytes, std::size_t lengthBytes) {
  struct Reader : devlink::FrameSink {
    void OnFrame(std::span<const std::uint8_t> content) override {
      FrameHead head;
      std::span<const std::uint8_t> payload;
      if (!devlink::ReadHead(content, head, payload)) return;
      const std::lock_guard lock(device.sequenceMutex_);
      FrameHead answer;
      answer.kind = head.kind;
      answer.tag = head.tag;
      Bytes body;
      if (head.kind == MessageKind::kHello) {
        device.sequence_ = 0;
        body.assign(kGreeting.begin(), kGreeting.end());
      } else if (head.kind == MessageKind::kKeepAlive) {
        body.assign(20, 0);
      } else {
        return;
      }
      answer.sequence = device.sequence_++;
      answer.bodyLengthBytes = static_cast<std::uint32_t>(body.size());
      const Bytes line = Encoded(answer, body);
      WriteAll(device.connection_, line.data(), line.size());
    }
    explicit Reader(BenchDevice& from) : device(from) {}
    BenchDevice& device;
  };
  Bytes piece(bytes, bytes + lengthBytes);
  Reader reader(*this);
  devlink::Deframer deframer;
  deframer.Feed(piece, reader);
}

void BenchDevice::Send(const Bytes& frames) {
  isSending_ = true;
  WriteAll(connection_, frames.data(), frames.size());
  isSending_ = false;
}

std::vector<Bytes> BenchDevice::NextFrames(MessageKind kind, const bench_shapes::Sample& sample,
                                           std::size_t count) {
  const std::lock_guard lock(sequenceMutex_);
  std::vector<Bytes> frames;
  frames.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    frames.push_back(FrameOf(kind, sample, i, sequence_++));
  }
  return frames;
}

std::vector<Bytes> BenchDevice::NextConfirmations(std::uint32_t cmdId, const Bytes& body,
                                                  std::uint16_t firstTag, std::size_t count) {
  const std::lock_guard lock(sequenceMutex_);
  std::vector<Bytes> frames;
  frames.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto tag = static_cast<std::uint16_t>(firstTag + i);
    frames.push_back(ConfirmationOf(cmdId, body, tag, sequence_++));
  }
  return frames;
}

RawDevice::RawDevice() {
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_) != 0) Give("socketpair");
  thread_ = std::thread([this] {
    Bytes buffer(65536);
    while (const std::size_t got = ReadSome(ends_[1], buffer.data(), buffer.size())) {
      answers_.Take(ends_[1], buffer.data(), got);
    }
  });
}

RawDevice::~RawDevice() {
  ::shutdown(ends_[0], SHUT_RDWR);
  thread_.join();
  ::close(ends_[0]);
  ::close(ends_[1]);
}

}  // namespace bench_device
