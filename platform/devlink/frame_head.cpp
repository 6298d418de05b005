#include "platform/devlink/frame_head.h"

#include "platform/devlink/byte_reader.h"

namespace devlink {

namespace {

bool KindIsKnown(MessageKind kind) noexcept {
  return kind >= MessageKind::kHello && kind <= MessageKind::kKeepAlive;
}

// A greeting and a probe are always whole in one frame.
bool MayBeCut(MessageKind kind) noexcept {
  return kind != MessageKind::kHello && kind != MessageKind::kKeepAlive;
}

bool LengthsFit(const FrameHead& head, std::size_t payloadBytes) noexcept {
  if (head.bodyLengthBytes > kMaxBodyBytes) return false;
  const std::uint64_t end = std::uint64_t{head.offsetBytes} + payloadBytes;
  if (head.MoreFollows()) return payloadBytes != 0 && end < head.bodyLengthBytes;
  return end == head.bodyLengthBytes;
}

}  // namespace

bool FrameHead::SameMessage(const FrameHead& other) const noexcept {
  return kind == other.kind && id == other.id && tag == other.tag && word16 == other.word16 &&
         word32 == other.word32 && result == other.result &&
         bodyLengthBytes == other.bodyLengthBytes;
}

bool ReadHead(std::span<const std::uint8_t> content, FrameHead& head,
              std::span<const std::uint8_t>& payload) noexcept {
  ByteReader reader(content);
  head.version = reader.U8();
  head.kind = static_cast<MessageKind>(reader.U8());
  head.flags = reader.U8();
  reader.U8();
  head.id = reader.U32();
  head.tag = reader.U16();
  head.word16 = reader.U16();
  head.word32 = reader.U32();
  head.result = reader.U32();
  head.sequence = reader.U32();
  head.bodyLengthBytes = reader.U32();
  head.offsetBytes = reader.U32();
  if (!reader.Ok() || head.version != kWireVersion || !KindIsKnown(head.kind)) return false;
  if (!LengthsFit(head, reader.Left())) return false;
  if (!MayBeCut(head.kind) && (head.MoreFollows() || head.offsetBytes != 0)) return false;
  if (head.kind == MessageKind::kHello && head.sequence != 0) return false;
  payload = reader.Bytes(reader.Left());
  return true;
}

void WriteHead(const FrameHead& head, std::uint8_t* to) noexcept {
  *to++ = head.version;
  *to++ = static_cast<std::uint8_t>(head.kind);
  *to++ = head.flags;
  *to++ = 0;
  to = PutLittleEndian(to, head.id, 4);
  to = PutLittleEndian(to, head.tag, 2);
  to = PutLittleEndian(to, head.word16, 2);
  to = PutLittleEndian(to, head.word32, 4);
  to = PutLittleEndian(to, head.result, 4);
  to = PutLittleEndian(to, head.sequence, 4);
  to = PutLittleEndian(to, head.bodyLengthBytes, 4);
  PutLittleEndian(to, head.offsetBytes, 4);
}

}  // namespace devlink
