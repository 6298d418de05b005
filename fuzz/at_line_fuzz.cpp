// A terminal that types anything at the built-in AT responder: the answer does not depend on how
// the bytes are cut into pieces, and stays in proportion to what was typed.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "device/linux/at_responder.h"

namespace {

void Take(void* context, const char* bytes, size_t lengthBytes) {
  static_cast<std::string*>(context)->append(bytes, lengthBytes);
}

std::string Answer(const uint8_t* data, size_t size, size_t pieceBytes) {
  static const auto responder = std::make_unique<kiv_at_responder>();
  std::string answer;
  const kiv_at_identity self = {"Maker", "Model", "Revision", "1"};
  kiv_at_init(responder.get(), &self, Take, &answer);
  while (size > 0) {
    const size_t piece = std::min(size, pieceBytes);
    kiv_at_feed(responder.get(), data, piece);
    data += piece;
    size -= piece;
  }
  if (responder->line_used > KIV_AT_LINE_BYTES || responder->pending_used != 0) std::abort();
  return answer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string answer = Answer(data, size, size == 0 ? 1 : size);
  if (Answer(data, size, 1) != answer || Answer(data, size, 5) != answer) std::abort();
  // "A/" repeats a line of KIV_AT_LINE_BYTES, whose commands answer some hundred bytes each.
  if (answer.size() > size * KIV_AT_LINE_BYTES * 100) std::abort();
  return 0;
}
