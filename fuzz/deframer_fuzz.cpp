// Deframer and message receiver over any bytes, cut anywhere.
//
// The first byte says where the rest is cut, and by its highest bit whether the rest is the line
// itself or contents between flags, which then get a right check sequence, so that the heads behind
// it are reached. Two receivers get the same bytes, one as a whole and one in pieces: both must
// give the same messages and count the same. Nothing may be given that is longer than the line was,
// and nothing may stay in the pool.
#include <libdeflate.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "platform/bounded/pool.h"
#include "platform/devlink/message_receiver.h"

namespace {

class Messages : public devlink::MessageSink {
 public:
  void OnMessage(const devlink::FrameHead& head, std::span<const std::uint8_t> body) override {
    if (body.size() != head.bodyLengthBytes) std::abort();
    given += std::to_string(static_cast<int>(head.kind)) + " " + std::to_string(head.id) + " ";
    given.append(body.begin(), body.end());
    bodyBytes += body.size();
  }
  std::string given;
  std::size_t bodyBytes = 0;
};

// Feeds pieces of this length, each in memory of its own.
struct Receiving {
  Receiving(std::span<const std::uint8_t> line, std::size_t pieceBytes) {
    receiver.BeginSession();
    while (!line.empty()) {
      const auto taken = line.first(std::min(pieceBytes, line.size()));
      std::vector<std::uint8_t> piece(taken.begin(), taken.end());
      deframer.Feed(piece, receiver);
      receiver.DropJoined();
      line = line.subspan(taken.size());
    }
    receiver.EndSession();
  }
  Messages messages;
  devlink::MessageReceiver receiver{messages};
  devlink::Deframer deframer;
};

void PutEscaped(std::vector<std::uint8_t>& line, std::uint8_t byte) {
  const bool special = byte == 0x7E || byte == 0x7D;
  if (special) line.push_back(0x7D);
  line.push_back(special ? byte ^ 0x20 : byte);
}

// Each run between two flags as a sound frame, as far as it is long enough for a head.
std::vector<std::uint8_t> Framed(std::span<const std::uint8_t> contents) {
  std::vector<std::uint8_t> line = {0x7E};
  while (!contents.empty()) {
    const auto flag = std::find(contents.begin(), contents.end(), 0x7E);
    const auto content = contents.first(static_cast<std::size_t>(flag - contents.begin()));
    for (const std::uint8_t byte : content) PutEscaped(line, byte);
    const std::uint32_t fcs = libdeflate_crc32(0, content.data(), content.size());
    for (int i = 0; i < 4; ++i) PutEscaped(line, static_cast<std::uint8_t>(fcs >> (8 * i)));
    line.push_back(0x7E);
    contents = contents.subspan(std::min(content.size() + 1, contents.size()));
  }
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const std::uint8_t> rest(data + 1, size - 1);
  const std::vector<std::uint8_t> framed = Framed(rest);
  const std::span<const std::uint8_t> line = (data[0] & 0x80) != 0 ? framed : rest;
  const Receiving whole(line, line.size() + 1);
  const Receiving pieces(line, 1 + data[0] % 64);
  const auto& counts = whole.receiver.Counts();
  const auto& others = pieces.receiver.Counts();
  if (whole.messages.given != pieces.messages.given || counts.frames != others.frames ||
      counts.malformed != others.malformed || counts.lost != others.lost ||
      counts.abandoned != others.abandoned ||
      whole.deframer.Counts().damaged != pieces.deframer.Counts().damaged ||
      whole.deframer.Counts().stray != pieces.deframer.Counts().stray) {
    std::abort();
  }
  if (whole.messages.bodyBytes > line.size() || pool::LiveBlocks() != 0) std::abort();
  return 0;
}
