// A file load: chunk after chunk over the link, each when the one before was confirmed, against a
// stop-and-wait of the same chunks by hand.
//
// The device's thread answers with confirmations made in advance. The controller's thread is the
// bench's: it runs an event loop, as a console's does. All of it runs on one processor.
//
// By hand it is done three times: with the least that moves the file (read, framed, written, the
// answer checked); with the answers read on a thread of their own, as every client has that shows
// what comes unasked; and with bytes that were made before, which moves no file.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <semaphore>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/bench_rows.h"
#include "bench/limit_reader.h"
#include "bench/live_console.h"
#include "platform/devlink/deframer.h"
#include "platform/devlink/frame_head.h"
#include "platform/devlink/framer.h"
#include "settings/svc_kiv_config_impl.h"

namespace {

using bench_device::Bytes;
using bench_device::RawDevice;
using bench_shapes::Shape;
using live_console::Clock;
using live_console::LiveConsole;

constexpr std::uint32_t kLoadCmdId = 0x2005;  // of bench_commands.json
constexpr std::size_t kChunkBytes = 2048;
constexpr std::size_t kChunks = 512;
constexpr const char* kHandOver = "handover";
constexpr const char* kBare = "bare";
const Bytes kConfirmed = {0, 0, 0, 2, 1};

double SecondsEach(Clock::duration duration) {
  return std::chrono::duration<double>(duration).count() / static_cast<double>(kChunks);
}

// The file that is loaded, of bytes that need escaping as often as any do.
const std::string& LoadPath() {
  static const std::string path = [] {
    const std::string name = bench_shapes::ScratchFolder() + "/load.bin";
    std::ofstream file(name, std::ios::binary);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < kChunks * kChunkBytes; ++i) {
      state = state * 1664525u + 1013904223u;
      file.put(static_cast<char>(state >> 24));
    }
    return name;
  }();
  return path;
}

std::wstring LoadLine() { return L"ldnv " + std::wstring(LoadPath().begin(), LoadPath().end()); }

// The head of a request as it was on the line.
devlink::FrameHead HeadOf(Bytes line) {
  struct Reader : devlink::FrameSink {
    void OnFrame(std::span<const std::uint8_t> content) override {
      std::span<const std::uint8_t> payload;
      bench_rows::Require(devlink::ReadHead(content, head, payload), "a request");
    }
    devlink::FrameHead head;
  };
  Reader reader;
  devlink::Deframer deframer;
  deframer.Feed(line, reader);
  return reader.head;
}

// The one module of the program, allowed to load the file.
LiveConsole& Console() {
  static LiveConsole& console = []() -> LiveConsole& {
    LiveConsole& made = *new LiveConsole;
    auto* const settings = made.App().GetSettings();
    settings->WriteAttribute(L"16777216", L"NV_LOAD_FILE_MAX_SIZE",
                             (settings->SettingsPrefix() + L"POPULAR").c_str(),
                             (settings->SettingsInstancePath() + L".0").c_str());
    return made;
  }();
  return console;
}

// Runs the line with `confirmations` ready, to the text of the last one.
Clock::duration RunLoad(LiveConsole& console, std::vector<Bytes> confirmations) {
  console.Screen().Expect(confirmations.size());
  console.Device().Prepared().Arm(std::move(confirmations));
  QEventLoop loop;
  console.Screen().WhenDone([&loop] {
    QMetaObject::invokeMethod(
        &loop, [&loop] { loop.quit(); }, Qt::QueuedConnection);
  });
  QCString reply;
  const Clock::time_point begin = Clock::now();
  console.App().GetDiagCmdResponse(LoadLine().c_str(), reply);
  bench_rows::Require(reply.IsEmpty(), "a load that begins");
  loop.exec();
  const Clock::time_point end = console.Screen().WaitForAll();
  QCoreApplication::sendPostedEvents();  // the load closes its file
  return end - begin;
}

// The tag that the next post carries. A typed line tells, whose answer is that of any command.
std::uint16_t NextTag(LiveConsole& console) {
  const bench_shapes::Sample& small = bench_shapes::SampleOf(Shape::kSmall);
  console.Screen().Expect(1);
  console.Device().Prepared().Arm(
      console.Device().NextFrames(devlink::MessageKind::kCnf, small, 1));
  QCString reply;
  console.App().GetDiagCmdResponse((L"small " + small.At(0).line).c_str(), reply);
  console.Screen().WaitForAll();
  return static_cast<std::uint16_t>(HeadOf(console.Device().Prepared().LastRequest()).tag + 1);
}

Clock::duration LoadFile() {
  LiveConsole& console = Console();
  const std::uint16_t tag = NextTag(console);
  return RunLoad(console, console.Device().NextConfirmations(kLoadCmdId, kConfirmed, tag, kChunks));
}

void LoadOurs(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(SecondsEach(LoadFile()));
}

std::vector<Bytes> Confirmations() {
  std::vector<Bytes> answers;
  for (std::size_t i = 0; i < kChunks; ++i) {
    const auto number = static_cast<std::uint16_t>(i + 1);
    answers.push_back(bench_device::ConfirmationOf(kLoadCmdId, kConfirmed, number, number));
  }
  return answers;
}

// Chunks of the one layout, by hand.
class ChunkFile {
 public:
  ChunkFile() : file_(::open(LoadPath().c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0) std::abort();
    head_.kind = devlink::MessageKind::kRequest;
    head_.id = kLoadCmdId;
    head_.bodyLengthBytes = kBodyBytes;
  }
  ~ChunkFile() { ::close(file_); }
  ChunkFile(const ChunkFile&) = delete;
  ChunkFile& operator=(const ChunkFile&) = delete;

  // The frame of a chunk; it lives until the next one is asked for.
  std::span<const std::uint8_t> Frame(std::size_t index, std::uint16_t tag,
                                      std::uint32_t sequence) {
    Put16(0, index);
    Put16(2, kChunks);
    const auto position = static_cast<off_t>(index * kChunkBytes);
    if (::pread(file_, body_.data() + 4, kChunkBytes, position) != ssize_t{kChunkBytes}) {
      std::abort();
    }
    Put16(4 + kChunkBytes, kChunkBytes);
    head_.tag = tag;
    head_.sequence = sequence;
    return {line_.data(), devlink::EncodeFrame(head_, body_, line_.data())};
  }

 private:
  static constexpr std::size_t kBodyBytes = 4 + kChunkBytes + 2;

  void Put16(std::size_t at, std::size_t value) {
    body_[at] = static_cast<std::uint8_t>(value);
    body_[at + 1] = static_cast<std::uint8_t>(value >> 8);
  }

  const int file_;
  devlink::FrameHead head_;
  std::array<std::uint8_t, kBodyBytes> body_{};
  std::array<std::uint8_t, devlink::EncodedBytesAtMost(kBodyBytes)> line_{};
};

// Both sides send the same bytes, but for the numbers of a session.
void RequireSameChunk() {
  LoadFile();
  const Bytes request = Console().Device().Prepared().LastRequest();
  const devlink::FrameHead head = HeadOf(request);
  ChunkFile file;
  const auto frame = file.Frame(kChunks - 1, head.tag, head.sequence);
  bench_rows::Require(Bytes(frame.begin(), frame.end()) == request, "a chunk on the line");
}

void SendChunk(RawDevice& device, ChunkFile& file, std::size_t index) {
  const auto number = static_cast<std::uint16_t>(index + 1);
  const auto frame = file.Frame(index, number, number);
  bench_device::WriteAll(device.Descriptor(), frame.data(), frame.size());
}

// Reads on to the next confirmation.
void TakeConfirmation(limit::FrameReader& reader) {
  bool isConfirmed = false;
  while (!isConfirmed) {
    reader.ReadOnce([&](std::span<const std::uint8_t> body) {
      isConfirmed = std::equal(body.begin(), body.end(), kConfirmed.begin(), kConfirmed.end());
    });
  }
}

void LoadLimit(benchmark::State& state) {
  RequireSameChunk();
  const std::vector<Bytes> answers = Confirmations();
  RawDevice device;
  ChunkFile file;
  for (auto _ : state) {
    device.Prepared().Arm(answers);
    limit::FrameReader reader(device.Descriptor());
    const Clock::time_point begin = Clock::now();
    for (std::size_t i = 0; i < kChunks; ++i) {
      SendChunk(device, file, i);
      TakeConfirmation(reader);
    }
    state.SetIterationTime(SecondsEach(Clock::now() - begin));
  }
}

void LoadHandOver(benchmark::State& state) {
  const std::vector<Bytes> answers = Confirmations();
  RawDevice device;
  ChunkFile file;
  for (auto _ : state) {
    device.Prepared().Arm(answers);
    std::binary_semaphore confirmed(0);
    std::thread link([&] {
      limit::FrameReader reader(device.Descriptor());
      for (std::size_t i = 0; i < kChunks; ++i) {
        TakeConfirmation(reader);
        confirmed.release();
      }
    });
    const Clock::time_point begin = Clock::now();
    for (std::size_t i = 0; i < kChunks; ++i) {
      SendChunk(device, file, i);
      confirmed.acquire();
    }
    state.SetIterationTime(SecondsEach(Clock::now() - begin));
    link.join();
  }
}

// The last chunk's bytes, again and again.
void LoadBare(benchmark::State& state) {
  ChunkFile file;
  const auto request = file.Frame(kChunks - 1, 1, 1);
  const std::vector<Bytes> answers = Confirmations();
  RawDevice device;
  for (auto _ : state) {
    device.Prepared().Arm(answers);
    const Clock::time_point begin = Clock::now();
    for (const Bytes& answer : answers) {
      bench_device::WriteAll(device.Descriptor(), request.data(), request.size());
      Bytes got(answer.size());
      for (std::size_t count = 0; count < got.size();) {
        count +=
            bench_device::ReadSome(device.Descriptor(), got.data() + count, got.size() - count);
      }
    }
    state.SetIterationTime(SecondsEach(Clock::now() - begin));
  }
}

const bool kRegistered = [] {
  const auto add = [](const char* who, void (*function)(benchmark::State&)) {
    bench_rows::Register("load_chunk", Shape::kLarge, who, function)
        ->UseManualTime()
        ->Iterations(3);
  };
  add(bench_rows::kOurs, LoadOurs);
  add(bench_rows::kLimit, LoadLimit);
  add(kHandOver, LoadHandOver);
  add(kBare, LoadBare);
  return true;
}();

}  // namespace
