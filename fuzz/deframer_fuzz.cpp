// Deframer and message receiver over any bytes, cut anywhere.
//
// The first byte says where the rest is cut. Two receivers get the same bytes, one as a whole and
// one in pieces: both must give the same messages and count the same. Nothing may be given that is
// longer than the line was, and nothing may stay in the pool.
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const std::uint8_t> line(data + 1, size - 1);
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
