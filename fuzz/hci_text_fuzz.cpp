// HCI lines of a host that types anything, and a controller that sends anything: what is taken for
// a packet must be one, must survive the way to text and back, and must be found in a stream again.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "device/linux/hci_packet.h"

namespace {

void CheckText(const uint8_t* data, size_t size) {
  std::vector<uint8_t> packet(KIV_HCI_MAX_SENT_BYTES);
  uint32_t length = 0;
  if (kiv_hci_of_text(data, size, packet.data(), &length) != KIV_HCI_GOOD) return;
  uint32_t whole = 0;
  if (length == 0 || packet[0] < 1 || packet[0] > 5) std::abort();
  if (kiv_hci_look(packet.data(), length, &whole) != KIV_HCI_GOOD || whole != length) std::abort();
  std::vector<uint8_t> text(size_t{3} * length);
  std::vector<uint8_t> again(KIV_HCI_MAX_SENT_BYTES);
  uint32_t againLength = 0;
  if (kiv_hci_to_text(packet.data(), length, text.data()) != text.size()) std::abort();
  if (kiv_hci_of_text(text.data(), text.size(), again.data(), &againLength) != KIV_HCI_GOOD ||
      againLength != length || again != packet) {
    std::abort();
  }
}

// All packets of the stream behind one another, taken in pieces.
std::vector<uint8_t> Packets(const uint8_t* data, size_t size, size_t pieceBytes) {
  static const auto stream = std::make_unique<kiv_hci_stream>();
  stream->used_bytes = 0;
  std::vector<uint8_t> all;
  while (size > 0) {
    bool whole = false;
    bool stray = false;
    const size_t taken =
        kiv_hci_stream_take(stream.get(), data, std::min(size, pieceBytes), &whole, &stray);
    if (taken == 0 || taken > size || (whole && stray)) std::abort();
    if (whole) all.insert(all.end(), stream->packet, stream->packet + stream->used_bytes);
    data += taken;
    size -= taken;
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CheckText(data, size);
  const std::vector<uint8_t> whole = Packets(data, size, size == 0 ? 1 : size);
  for (const size_t piece : {1, 2, 7}) {
    if (Packets(data, size, piece) != whole) std::abort();
  }
  return 0;
}
