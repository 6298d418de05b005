#include "tests/platform/devlink/framing.h"

#include "platform/devlink/framer.h"

namespace linktest {

namespace {

class Contents : public devlink::FrameSink {
 public:
  void OnFrame(std::span<const std::uint8_t> content) override {
    contents.emplace_back(content.begin(), content.end());
  }
  std::vector<Bytes> contents;
};

}  // namespace

devlink::FrameHead HeadOf(const NaiveFrame& frame) {
  devlink::FrameHead head;
  head.version = frame.version;
  head.kind = static_cast<devlink::MessageKind>(frame.kind);
  head.flags = frame.flags;
  head.id = frame.id;
  head.tag = frame.tag;
  head.word16 = frame.word16;
  head.word32 = frame.word32;
  head.result = frame.result;
  head.sequence = frame.sequence;
  head.bodyLengthBytes = frame.length;
  head.offsetBytes = frame.offset;
  return head;
}

NaiveFrame FrameOf(const devlink::FrameHead& head, std::span<const std::uint8_t> payload) {
  NaiveFrame frame;
  frame.version = head.version;
  frame.kind = static_cast<std::uint8_t>(head.kind);
  frame.flags = head.flags;
  frame.id = head.id;
  frame.tag = head.tag;
  frame.word16 = head.word16;
  frame.word32 = head.word32;
  frame.result = head.result;
  frame.sequence = head.sequence;
  frame.length = head.bodyLengthBytes;
  frame.offset = head.offsetBytes;
  frame.payload.assign(payload.begin(), payload.end());
  return frame;
}

Bytes Encode(const NaiveFrame& frame) {
  Bytes line(devlink::EncodedBytesAtMost(frame.payload.size()));
  line.resize(devlink::EncodeFrame(HeadOf(frame), frame.payload, line.data()));
  return line;
}

std::vector<Bytes> Deframe(devlink::Deframer& deframer, const Bytes& line,
                           const std::vector<std::size_t>& cuts) {
  Contents sink;
  std::size_t from = 0;
  std::vector<std::size_t> ends = cuts;
  ends.push_back(line.size());
  for (const std::size_t end : ends) {
    // A piece of its own, so that the address sanitizer sees a step beyond it.
    Bytes piece(line.begin() + static_cast<long>(from), line.begin() + static_cast<long>(end));
    deframer.Feed(piece, sink);
    from = end;
  }
  return sink.contents;
}

}  // namespace linktest
