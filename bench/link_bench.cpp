// Over the link: a typed line to its rendered reply, and a storm of indications to a direct view.
//
// All of it runs on one processor, the device's thread too, over Unix sockets. A line's time is
// measured against a raw ping-pong of the same bytes, a storm's against a reader by hand that
// checks the same frames and writes the same texts.
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_rows.h"
#include "bench/limit_codec.h"
#include "bench/limit_reader.h"
#include "bench/live_console.h"
#include "bench/peer_codec.h"
#include "platform/bounded/pool.h"
#include "platform/devlink/frame_head.h"
#include "platform/devlink/framer.h"

namespace {

using bench_device::Bytes;
using bench_device::RawDevice;
using bench_shapes::Sample;
using bench_shapes::Shape;
using devlink::MessageKind;
using live_console::Clock;
using live_console::LiveConsole;

constexpr std::size_t kLines = 200;  // of one measurement, whose median counts

double Seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

double MedianOf(std::vector<double>& times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

// Frames of one session that need no module: numbered from 1 on.
std::vector<Bytes> RawFrames(MessageKind kind, const Sample& sample, std::size_t count) {
  std::vector<Bytes> frames;
  for (std::size_t i = 0; i < count; ++i) {
    frames.push_back(bench_device::FrameOf(kind, sample, i, static_cast<std::uint32_t>(i + 1)));
  }
  return frames;
}

Bytes Joined(const std::vector<Bytes>& frames) {
  Bytes joined;
  for (const Bytes& frame : frames) joined.insert(joined.end(), frame.begin(), frame.end());
  return joined;
}

// The one module of the program: a console has one for all its life.
LiveConsole& Console() {
  static LiveConsole& console = *new LiveConsole;
  return console;
}

std::wstring TypedLine(const Sample& sample, std::size_t turn) {
  const std::string name = sample.name;
  return std::wstring(name.begin(), name.end()) + L' ' + sample.At(turn).line;
}

std::wstring ExpectedText(Shape shape, std::size_t turn) {
  std::size_t lengthChars = 0;
  wchar_t* const text =
      limit::Render(shape, bench_shapes::SampleOf(shape).At(turn).body, &lengthChars);
  std::wstring expected(text + 1, lengthChars);
  PoolFree(text);
  return expected;
}

// Characters of so many texts, each with its line feed in front.
std::size_t ExpectedChars(Shape shape, std::size_t count) {
  std::size_t chars = 0;
  for (std::size_t i = 0; i < count; ++i) chars += ExpectedText(shape, i).size() + 1;
  return chars;
}

// --- a line ------------------------------------------------------------------------------------

// Runs the line once against answers that are ready, and gives the time to its text.
double RunLine(LiveConsole& console, const std::wstring& line, QCString& reply) {
  console.Screen().Expect(1);
  const Clock::time_point begin = Clock::now();
  console.App().GetDiagCmdResponse(line.c_str(), reply);
  return Seconds(console.Screen().WaitForAll() - begin);
}

// What the module posts for the line; both texts are checked on the way.
Bytes RequestOf(Shape shape) {
  LiveConsole& console = Console();
  const Sample& sample = bench_shapes::SampleOf(shape);
  console.Device().Prepared().Arm(console.Device().NextFrames(MessageKind::kCnf, sample, 1));
  console.Screen().KeepText(true);
  QCString reply;
  RunLine(console, TypedLine(sample, 0), reply);
  console.Screen().KeepText(false);
  const std::wstring expected = ExpectedText(shape, 0);
  bench_rows::Require(console.Screen().Text() == expected, "the reply shown over the link");
  bench_rows::Require(reply.Find(expected) != QCString::npos, "the parameters shown");
  return console.Device().Prepared().LastRequest();
}

void LineOurs(benchmark::State& state, Shape shape) {
  LiveConsole& console = Console();
  const Sample& sample = bench_shapes::SampleOf(shape);
  std::vector<std::wstring> lines;
  for (std::size_t i = 0; i < bench_shapes::kSets; ++i) lines.push_back(TypedLine(sample, i));
  RequestOf(shape);
  for (auto _ : state) {
    console.Device().Prepared().Arm(console.Device().NextFrames(MessageKind::kCnf, sample, kLines));
    std::vector<double> times;
    QCString reply;
    for (std::size_t i = 0; i < kLines; ++i) {
      times.push_back(RunLine(console, lines[i % lines.size()], reply));
    }
    state.SetIterationTime(MedianOf(times));
  }
}

void ReadExactly(int descriptor, Bytes& to) {
  for (std::size_t got = 0; got < to.size();) {
    got += bench_device::ReadSome(descriptor, to.data() + got, to.size() - got);
  }
}

// The raw ping-pong.
void LineLimit(benchmark::State& state, Shape shape) {
  const Bytes request = RequestOf(shape);
  RawDevice device;
  const std::vector<Bytes> answers =
      RawFrames(MessageKind::kCnf, bench_shapes::SampleOf(shape), kLines);
  for (auto _ : state) {
    device.Prepared().Arm(answers);
    std::vector<double> times;
    for (const Bytes& answer : answers) {
      Bytes got(answer.size());
      const Clock::time_point begin = Clock::now();
      bench_device::WriteAll(device.Descriptor(), request.data(), request.size());
      ReadExactly(device.Descriptor(), got);
      times.push_back(Seconds(Clock::now() - begin));
    }
    state.SetIterationTime(MedianOf(times));
  }
}

// Text parsed, shown, packed, posted; answered; checked, unpacked, printed.
double RunPeerLine(RawDevice& device, Shape shape, std::size_t turn, limit::FrameReader& reader) {
  const Sample& sample = bench_shapes::SampleOf(shape);
  Clock::time_point end;
  const Clock::time_point begin = Clock::now();
  std::uint32_t lengthBytes = 0;
  std::uint8_t* const body = peer::Encode(shape, sample.At(turn).peerLine, &lengthBytes);
  std::size_t lengthChars = 0;
  wchar_t* const shown = peer::Render(shape, {body, lengthBytes}, &lengthChars);
  devlink::FrameHead head;
  head.kind = MessageKind::kRequest;
  head.id = sample.cmdId;
  head.bodyLengthBytes = lengthBytes;
  Bytes frame(devlink::EncodedBytesAtMost(lengthBytes));
  frame.resize(devlink::EncodeFrame(head, {body, lengthBytes}, frame.data()));
  bench_device::WriteAll(device.Descriptor(), frame.data(), frame.size());
  bool isDone = false;
  while (!isDone) {
    reader.ReadOnce([&](std::span<const std::uint8_t> answer) {
      wchar_t* const text = peer::Render(shape, answer, &lengthChars);
      end = Clock::now();
      isDone = true;
      PoolFree(text);
    });
  }
  PoolFree(shown);
  PoolFree(body);
  return Seconds(end - begin);
}

void LinePeer(benchmark::State& state, Shape shape) {
  RawDevice device;
  const std::vector<Bytes> answers =
      RawFrames(MessageKind::kCnf, bench_shapes::SampleOf(shape), kLines);
  for (auto _ : state) {
    device.Prepared().Arm(answers);
    limit::FrameReader reader(device.Descriptor());
    std::vector<double> times;
    for (std::size_t i = 0; i < kLines; ++i) {
      times.push_back(RunPeerLine(device, shape, i, reader));
    }
    state.SetIterationTime(MedianOf(times));
  }
}

// --- a storm -----------------------------------------------------------------------------------

std::size_t StormSize(Shape shape) { return 60000 / bench_shapes::SampleOf(shape).values * 2; }

void StormOurs(benchmark::State& state, Shape shape) {
  LiveConsole& console = Console();
  const Sample& sample = bench_shapes::SampleOf(shape);
  const std::size_t count = StormSize(shape);
  const std::size_t expectedChars = ExpectedChars(shape, count);
  for (auto _ : state) {
    const Bytes frames = Joined(console.Device().NextFrames(MessageKind::kInd, sample, count));
    const std::uint64_t blocksBefore = pool::LiveBlocks();
    console.Screen().Expect(count);
    const Clock::time_point begin = Clock::now();
    console.Device().Send(frames);
    const Clock::time_point end = console.Screen().WaitForAll();
    state.SetIterationTime(Seconds(end - begin) / static_cast<double>(count));
    bench_rows::Require(console.Screen().Chars() == expectedChars, "the texts of the storm");
    bench_rows::Require(pool::LiveBlocks() <= blocksBefore + 8, "memory that stays flat");
  }
}

template <typename Render>
void StormByHand(benchmark::State& state, Shape shape, Render render) {
  const std::size_t count = StormSize(shape);
  const std::size_t expectedChars = ExpectedChars(shape, count);
  const Bytes frames = Joined(RawFrames(MessageKind::kInd, bench_shapes::SampleOf(shape), count));
  for (auto _ : state) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) std::abort();
    live_console::View view;
    view.Expect(count);
    std::thread link([&] {
      limit::FrameReader reader(ends[1]);
      while (reader.ReadOnce([&](std::span<const std::uint8_t> body) {
        std::size_t lengthChars = 0;
        wchar_t* const text = render(shape, body, &lengthChars);
        view.Show(text);
        PoolFree(text);
      })) {
      }
    });
    const Clock::time_point begin = Clock::now();
    bench_device::WriteAll(ends[0], frames.data(), frames.size());
    const Clock::time_point end = view.WaitForAll();
    state.SetIterationTime(Seconds(end - begin) / static_cast<double>(count));
    bench_rows::Require(view.Chars() == expectedChars, "the texts of the storm by hand");
    ::shutdown(ends[0], SHUT_RDWR);
    link.join();
    ::close(ends[0]);
    ::close(ends[1]);
  }
}

void StormLimit(benchmark::State& state, Shape shape) { StormByHand(state, shape, limit::Render); }
void StormPeer(benchmark::State& state, Shape shape) { StormByHand(state, shape, peer::Render); }

const bool kRegistered = [] {
  struct Row {
    const char* name;
    void (*ours)(benchmark::State&, Shape);
    void (*limit)(benchmark::State&, Shape);
    void (*peer)(benchmark::State&, Shape);
  };
  constexpr Row kRows[] = {{"line_to_reply", LineOurs, LineLimit, LinePeer},
                           {"storm", StormOurs, StormLimit, StormPeer}};
  for (const Row& row : kRows) {
    for (const Shape shape : bench_shapes::kShapes) {
      const auto add = [&](const char* who, void (*function)(benchmark::State&, Shape)) {
        bench_rows::Register(row.name, shape, who,
                             [function, shape](benchmark::State& state) { function(state, shape); })
            ->UseManualTime()
            ->Iterations(3);
      };
      add(bench_rows::kOurs, row.ours);
      add(bench_rows::kLimit, row.limit);
      add(bench_rows::kPeer, row.peer);
    }
  }
  return true;
}();

}  // namespace
