#include "tests/platform/devlink/test_device.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

namespace linktest {

namespace {

constexpr int kPatienceMs = 20'000;

const Bytes kDeviceGreeting = FromHex(
    "4B 49 56 2D 55 4E 49 54 01 00 F8 00 26 00 00 00 07 01 00 00 08 00 11 22 33 44 55 66 77 05 "
    "62 6F 61 72 64 00");

}  // namespace

bool DeviceEnd::WaitForData() {
  pollfd entries[] = {{readFd_, POLLIN, 0}, {stopFd_, POLLIN, 0}};
  return ::poll(entries, 2, kPatienceMs) > 0 && entries[0].revents != 0;
}

bool DeviceEnd::ReadSome() {
  if (!WaitForData()) return false;
  std::uint8_t buffer[65536];
  const ssize_t got = ::read(readFd_, buffer, sizeof(buffer));
  if (got <= 0) return false;
  const Bytes bytes(buffer, buffer + got);
  Append(received_, bytes);
  deframer_.Take(bytes);
  return true;
}

std::optional<NaiveFrame> DeviceEnd::Next() {
  while (deframer_.contents.size() == taken_) {
    if (!ReadSome()) return std::nullopt;
  }
  return NaiveParse(deframer_.contents[taken_++]);
}

std::optional<NaiveFrame> DeviceEnd::NextMessage() {
  for (;;) {
    auto frame = Next();
    if (frame && frame->kind == kHello && greets_) {
      sequence_ = 0;
      if (!Send(Hello(frame->tag))) return std::nullopt;
      continue;
    }
    if (!frame || frame->kind != kKeepAlive) return frame;
    NaiveFrame answer;
    answer.kind = kKeepAlive;
    answer.tag = frame->tag;
    answer.payload = Bytes(20, 0);
    if (!Send(answer)) return std::nullopt;
  }
}

NaiveFrame DeviceEnd::Hello(std::uint16_t tag) {
  NaiveFrame hello;
  hello.kind = kHello;
  hello.tag = tag;
  hello.payload = kDeviceGreeting;
  return hello;
}

bool DeviceEnd::Greet() {
  for (;;) {
    const auto frame = Next();
    if (!frame) return false;
    if (frame->kind != kHello) continue;
    greets_ = true;
    sequence_ = 0;
    return Send(Hello(frame->tag));
  }
}

bool DeviceEnd::Send(NaiveFrame frame) {
  frame.sequence = sequence_++;
  if (frame.flags == 0 && frame.offset == 0) frame = Whole(frame);
  return SendBytes(NaiveLine(frame));
}

bool DeviceEnd::SendMessage(NaiveFrame frame, std::size_t payloadBytes) {
  const Bytes body = frame.payload;
  frame.length = static_cast<std::uint32_t>(body.size());
  std::size_t offset = 0;
  do {
    const std::size_t end = std::min(body.size(), offset + payloadBytes);
    frame.payload.assign(body.begin() + static_cast<long>(offset),
                         body.begin() + static_cast<long>(end));
    frame.offset = static_cast<std::uint32_t>(offset);
    frame.flags = end < body.size() ? 1 : 0;
    frame.sequence = sequence_++;
    if (!SendBytes(NaiveLine(frame))) return false;
    offset = end;
  } while (offset < body.size());
  return true;
}

bool DeviceEnd::SendBytes(const Bytes& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    pollfd entries[] = {{writeFd_, POLLOUT, 0}, {stopFd_, POLLIN, 0}};
    if (::poll(entries, 2, kPatienceMs) <= 0 || entries[1].revents != 0) return false;
    const std::size_t left = std::min<std::size_t>(bytes.size() - sent, 4096);
    const ssize_t put = readFd_ != writeFd_ ? ::write(writeFd_, bytes.data() + sent, left)
                                            : ::send(writeFd_, bytes.data() + sent, left,
                                                     MSG_NOSIGNAL | MSG_DONTWAIT);
    if (put < 0 && errno != EAGAIN) return false;
    if (put > 0) sent += static_cast<std::size_t>(put);
  }
  return true;
}

void DeviceEnd::Linger() {
  while (NextMessage()) {
  }
}

void DeviceEnd::WaitForTheEnd() {
  pollfd entry = {stopFd_, POLLIN, 0};
  ::poll(&entry, 1, kPatienceMs);
}

TestDevice::TestDevice(std::unique_ptr<DeviceDoor> door, Script script)
    : door_(std::move(door)), script_(std::move(script)) {
  if (::pipe2(stop_, O_CLOEXEC) != 0) throw std::runtime_error("test device: no pipe");
  thread_ = std::thread([this] { Run(); });
}

TestDevice::~TestDevice() {
  [[maybe_unused]] const ssize_t told = ::write(stop_[1], "x", 1);
  thread_.join();
  ::close(stop_[0]);
  ::close(stop_[1]);
}

void TestDevice::Run() {
  while (const auto ends = door_->Accept(stop_[0])) {
    DeviceEnd end(ends->readFd, ends->writeFd, stop_[0]);
    script_(end, connections_++);
    door_->Close(*ends);
  }
}

}  // namespace linktest
