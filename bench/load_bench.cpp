// A file load: chunk after chunk over the link, each when the one before was confirmed, against a
// raw stop-and-wait of the same bytes.
//
// The device's thread answers with confirmations made in advance. The controller's thread is the
// bench's: it runs the event loop, as a console's does. All of it runs on one processor.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <fstream>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "bench/bench_rows.h"
#include "bench/live_console.h"
#include "platform/devlink/deframer.h"
#include "platform/devlink/frame_head.h"
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
const Bytes kConfirmed = {0, 0, 0, 2, 1};

double SecondsEach(Clock::duration duration) {
  return std::chrono::duration<double>(duration).count() / static_cast<double>(kChunks);
}

// The file that is loaded, of bytes that need escaping as often as any do.
std::wstring LoadLine() {
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
  return L"ldnv " + std::wstring(path.begin(), path.end());
}

// The tag of a request as it was on the line.
std::uint16_t TagOf(Bytes line) {
  struct Reader : devlink::FrameSink {
    void OnFrame(std::span<const std::uint8_t> content) override {
      devlink::FrameHead head;
      std::span<const std::uint8_t> payload;
      if (devlink::ReadHead(content, head, payload)) tag = head.tag;
    }
    std::uint16_t tag = 0;
  };
  Reader reader;
  devlink::Deframer deframer;
  deframer.Feed(line, reader);
  return reader.tag;
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
  QCString reply;
  const Clock::time_point begin = Clock::now();
  console.App().GetDiagCmdResponse(LoadLine().c_str(), reply);
  bench_rows::Require(reply.IsEmpty(), "a load that begins");
  while (!console.Device().Prepared().AreAllGiven()) {
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  }
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
  return static_cast<std::uint16_t>(TagOf(console.Device().Prepared().LastRequest()) + 1);
}

Clock::duration LoadFile() {
  LiveConsole& console = Console();
  const std::uint16_t tag = NextTag(console);
  return RunLoad(console, console.Device().NextConfirmations(kLoadCmdId, kConfirmed, tag, kChunks));
}

void LoadOurs(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(SecondsEach(LoadFile()));
}

// The last chunk's bytes, again and again.
void LoadLimit(benchmark::State& state) {
  LoadFile();
  LiveConsole& console = Console();
  const Bytes request = console.Device().Prepared().LastRequest();
  bench_rows::Require(request.size() > kChunkBytes, "a whole chunk");
  std::vector<Bytes> answers;
  for (std::size_t i = 0; i < kChunks; ++i) {
    const auto number = static_cast<std::uint16_t>(i + 1);
    answers.push_back(bench_device::ConfirmationOf(kLoadCmdId, kConfirmed, number, number));
  }
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
  constexpr auto kRow = "load_chunk";
  bench_rows::Register(kRow, Shape::kLarge, bench_rows::kOurs, LoadOurs)
      ->UseManualTime()
      ->Iterations(3);
  bench_rows::Register(kRow, Shape::kLarge, bench_rows::kLimit, LoadLimit)
      ->UseManualTime()
      ->Iterations(3);
  return true;
}();

}  // namespace
