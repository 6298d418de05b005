#include "tests/device/line_recorder.h"

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace kivtest {

bool operator==(const Recorded& left, const Recorded& right) {
  const kiv_head& a = left.head;
  const kiv_head& b = right.head;
  return kiv_head_same_message(&a, &b) && left.body == right.body && left.stored == right.stored;
}

void PrintTo(const Recorded& recorded, std::ostream* out) {
  const kiv_head& head = recorded.head;
  *out << "kind " << +head.kind << " id 0x" << std::hex << head.id << std::dec << " tag "
       << head.tag << " result " << head.result << " length " << head.body_bytes
       << (recorded.stored ? "" : " not stored") << " body" << std::hex << std::setfill('0');
  const size_t shown = std::min<size_t>(recorded.body.size(), 64);
  for (size_t i = 0; i < shown; ++i) *out << ' ' << std::setw(2) << +recorded.body[i];
}

LineRecorder::LineRecorder(kiv_side from) : frameBuffer_(KIV_MAX_FRAME_BYTES) {
  const kiv_receiver_owner owner = {this, TakeStorage, GiveBackStorage, Deliver};
  kiv_receiver_init(&receiver, from, frameBuffer_.data(), &owner);
}

LineRecorder::~LineRecorder() { kiv_receiver_reset(&receiver); }

void LineRecorder::Feed(const Bytes& bytes) {
  kiv_receiver_feed(&receiver, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

void LineRecorder::FeedInPieces(const Bytes& bytes, size_t pieceBytes) {
  for (size_t at = 0; at < bytes.size(); at += pieceBytes) {
    const size_t length = std::min(pieceBytes, bytes.size() - at);
    kiv_receiver_feed(&receiver, bytes.data() + at, static_cast<uint32_t>(length));
  }
}

void LineRecorder::SkipGreeting(uint32_t expectedSequence) {
  receiver.greeted = true;
  receiver.expected_sequence = expectedSequence;
}

uint8_t* LineRecorder::TakeStorage(void* context, uint32_t bodyBytes) {
  auto* recorder = static_cast<LineRecorder*>(context);
  if (recorder->storageFails) return nullptr;
  ++recorder->storageTaken;
  return static_cast<uint8_t*>(std::malloc(bodyBytes));
}

void LineRecorder::GiveBackStorage(void* context, uint8_t* storage) {
  ++static_cast<LineRecorder*>(context)->storageGivenBack;
  std::free(storage);
}

void LineRecorder::Deliver(void* context, const kiv_message* message) {
  Recorded recorded{message->head, {}, message->stored};
  if (message->body != nullptr) {
    recorded.body.assign(message->body, message->body + message->body_bytes);
  }
  static_cast<LineRecorder*>(context)->messages.push_back(recorded);
}

Bytes EncodeFrame(const kiv_head& head, const Bytes& payload) {
  Bytes line(2 * (payload.size() + KIV_MIN_FRAME_BYTES) + 2);  // every byte escaped
  line.resize(kiv_frame_encode(&head, payload.data(), static_cast<uint32_t>(payload.size()),
                               line.data(), static_cast<uint32_t>(line.size())));
  return line;
}

Bytes EncodeMessage(kiv_head head, const Bytes& body, uint32_t payloadBytes) {
  Bytes line;
  head.body_bytes = static_cast<uint32_t>(body.size());
  head.offset_bytes = 0;
  do {
    const size_t end = std::min<size_t>(body.size(), head.offset_bytes + size_t{payloadBytes});
    head.flags = end < body.size() ? KIV_FLAG_MORE_FOLLOWS : 0;
    const Bytes part(body.begin() + head.offset_bytes, body.begin() + static_cast<int64_t>(end));
    const Bytes frame = EncodeFrame(head, part);
    line.insert(line.end(), frame.begin(), frame.end());
    head.offset_bytes = static_cast<uint32_t>(end);
    ++head.sequence;
  } while (head.flags != 0);
  return line;
}

kiv_head HeadOf(int kind, uint32_t id, uint16_t tag, uint32_t sequence) {
  kiv_head head = kiv_head_of(KIV_REQUEST);
  head.kind = static_cast<uint8_t>(kind);
  head.id = id;
  head.tag = tag;
  head.sequence = sequence;
  return head;
}

Bytes FromHex(const std::string& text) {
  std::istringstream words(text);
  Bytes bytes;
  for (std::string word; words >> word;) {
    bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
  }
  return bytes;
}

Bytes operator+(const Bytes& left, const Bytes& right) {
  Bytes both = left;
  both.insert(both.end(), right.begin(), right.end());
  return both;
}

}  // namespace kivtest
