// A device in the test's own process: a door that plays a script for each connection.
//
// Threads: the script runs on the device's thread, one connection at a time; everything else is the
// test's. Owns the door. Errors: a script that waits in vain for 20 s, or is
// stopped, gets nothing.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "tests/platform/devlink/device_door.h"
#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

// The device's end of one connection.
class DeviceEnd {
 public:
  DeviceEnd(int readFd, int writeFd, int stopFd)
      : readFd_(readFd), writeFd_(writeFd), stopFd_(stopFd) {}

  // The next frame, or nothing when the host closed or the test is over.
  std::optional<NaiveFrame> Next();
  // Waits until there is something to read, and leaves it there.
  bool WaitForData();
  // The next frame that is neither a probe nor, once it has greeted, a new greeting (a line may
  // have a new host without a new connection); those are answered.
  std::optional<NaiveFrame> NextMessage();
  // Waits for the host's hello and answers it; false when there was none.
  bool Greet();
  // The answer to a hello with this tag.
  static NaiveFrame Hello(std::uint16_t tag);

  // With the next sequence number and, when the frame is whole, its length.
  bool Send(NaiveFrame frame);
  // A whole message in frames of at most `payloadBytes`.
  bool SendMessage(NaiveFrame frame, std::size_t payloadBytes = 65500);
  bool SendBytes(const Bytes& bytes);
  // Answers probes until the host closes or the test is over.
  void Linger();
  // Reads nothing and waits until the test is over.
  void WaitForTheEnd();

  const Bytes& Received() const { return received_; }
  std::uint32_t NextSequence() const { return sequence_; }
  void SkipSequence(std::uint32_t count) { sequence_ += count; }

 private:
  bool ReadSome();
  int readFd_;
  int writeFd_;
  int stopFd_;
  NaiveDeframer deframer_;
  std::size_t taken_ = 0;
  std::uint32_t sequence_ = 0;
  bool greets_ = false;
  Bytes received_;
};

class TestDevice {
 public:
  // `connection` counts from 0. The connection is closed when the script returns.
  using Script = std::function<void(DeviceEnd& end, int connection)>;

  // On a Unix socket at this path.
  TestDevice(const std::string& path, Script script)
      : TestDevice(MakeUnixDoor(path), std::move(script)) {}
  TestDevice(std::unique_ptr<DeviceDoor> door, Script script);
  ~TestDevice();

  int Connections() const { return connections_.load(); }
  std::string Endpoint() const { return door_->Endpoint(); }

 private:
  void Run();
  std::unique_ptr<DeviceDoor> door_;
  Script script_;
  int stop_[2] = {-1, -1};
  std::atomic<int> connections_{0};
  std::thread thread_;
};

}  // namespace linktest
