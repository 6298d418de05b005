#include "tests/platform/devlink/sample_session.h"

#include <algorithm>

#include "tests/platform/devlink/noise.h"
#include "tests/platform/devlink/test_device.h"

namespace linktest {

namespace {

constexpr std::size_t kLeastBytes = 2048 + 1;

}  // namespace

SampleSession::SampleSession(std::uint16_t tag) {
  const auto put = [this](NaiveFrame frame) {
    frame.sequence = nextSequence++;
    Append(line, NaiveLine(frame));
    frameEnds.push_back(line.size());
  };
  put(Whole(DeviceEnd::Hello(tag)));
  greetingBytes = line.size();
  for (std::uint32_t number = 1; line.size() < kLeastBytes; ++number) {
    const Bytes body = Noise(number * 11 % 90, number);
    const std::size_t begin = line.size();
    const std::size_t atMost = number % 3 == 0 ? 20 : 90;
    NaiveFrame frame;
    frame.kind = number % 2 == 0 ? kInd : kCnf;
    frame.id = 0x2000 + number;
    frame.length = static_cast<std::uint32_t>(body.size());
    std::size_t from = 0;
    do {
      const std::size_t end = std::min(body.size(), from + atMost);
      frame.offset = static_cast<std::uint32_t>(from);
      frame.flags = end < body.size() ? 1 : 0;
      frame.payload.assign(body.begin() + static_cast<long>(from),
                           body.begin() + static_cast<long>(end));
      put(frame);
      from = end;
    } while (from < body.size());
    messages.push_back({begin, line.size(), frame.id, body});
    if (number != 5) continue;
    NaiveFrame answer;
    answer.kind = kKeepAlive;
    answer.payload = Bytes(20, 0);
    put(Whole(answer));
  }
}

std::size_t SampleSession::WholeIn(std::size_t bytes) const {
  return static_cast<std::size_t>(
      std::count_if(messages.begin(), messages.end(),
                    [&](const Message& message) { return message.endBytes <= bytes; }));
}

std::size_t SampleSession::FrameEnd(std::size_t at) const {
  std::size_t begin = 0;
  for (const std::size_t end : frameEnds) {
    if (at == begin && at != 0) return at;
    if (at < end) return end;
    begin = end;
  }
  return at;
}

}  // namespace linktest
