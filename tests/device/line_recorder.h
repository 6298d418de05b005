// A receiver of the agent's core that writes down what it is given, for tests that compare it
// whole.
//
// Threads: one.
// Owns or borrows: owns the buffers that it lends to the receiver.
// Errors: `failStorageAfter` makes the taking of storage fail.
#ifndef TESTS_DEVICE_LINE_RECORDER_H_
#define TESTS_DEVICE_LINE_RECORDER_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "device/core/receiver.h"

namespace kivtest {

using Bytes = std::vector<uint8_t>;

// A delivered message, or one that is to be expected.
struct Recorded {
  kiv_head head;
  Bytes body;
  bool stored = true;
};

bool operator==(const Recorded& left, const Recorded& right);
// For the texts of failing comparisons.
void PrintTo(const Recorded& recorded, std::ostream* out);

class LineRecorder {
 public:
  explicit LineRecorder(kiv_side from);
  ~LineRecorder();
  LineRecorder(const LineRecorder&) = delete;
  LineRecorder& operator=(const LineRecorder&) = delete;

  void Feed(const Bytes& bytes);
  // In pieces of `pieceBytes`.
  void FeedInPieces(const Bytes& bytes, size_t pieceBytes);
  // Takes frames without a greeting before them, the next with this sequence number.
  void SkipGreeting(uint32_t expectedSequence);

  kiv_receiver receiver;
  std::vector<Recorded> messages;
  int storageTaken = 0;
  int storageGivenBack = 0;
  bool storageFails = false;

 private:
  static uint8_t* TakeStorage(void* context, uint32_t bodyBytes);
  static void GiveBackStorage(void* context, uint8_t* storage);
  static void Deliver(void* context, const kiv_message* message);

  Bytes frameBuffer_;
};

// The frames of a message, each with at most `payloadBytes` of it; `head.sequence` is the first.
Bytes EncodeMessage(kiv_head head, const Bytes& body,
                    uint32_t payloadBytes = KIV_MAX_PAYLOAD_BYTES);
// One frame exactly as the head says.
Bytes EncodeFrame(const kiv_head& head, const Bytes& payload);
// A head with these members; `kind` may be none of the kinds.
kiv_head HeadOf(int kind, uint32_t id, uint16_t tag, uint32_t sequence);
// "7E 01", with blanks anywhere.
Bytes FromHex(const std::string& text);
Bytes operator+(const Bytes& left, const Bytes& right);

}  // namespace kivtest

#endif  // TESTS_DEVICE_LINE_RECORDER_H_
