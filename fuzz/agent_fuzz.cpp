// The agent's conversation against a host that sends anything: raw bytes, and frames with a right
// check sequence around any content, so that the heads behind it are reached.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "device/core/agent.h"
#include "device/core/crc32.h"

namespace {

uint32_t Echo(void*, const uint8_t* request, uint32_t requestBytes, kiv_writer* reply) {
  kiv_write_bytes(reply, request, requestBytes);
  return KIV_RESULT_OK;
}

const kiv_command kCommands[] = {{0x1101, 0, 64, Echo}, {0x1102, 4, 4, Echo}};

// What must always hold, whatever comes.
struct Program {
  int storageTaken = 0;
  uint64_t answers = 0;
};

uint8_t* TakeStorage(void* context, uint32_t bodyBytes) {
  if (bodyBytes > 1u << 20) return nullptr;
  ++static_cast<Program*>(context)->storageTaken;
  return static_cast<uint8_t*>(std::malloc(bodyBytes));
}

void GiveBackStorage(void* context, uint8_t* storage) {
  --static_cast<Program*>(context)->storageTaken;
  std::free(storage);
}

void SessionReplaced(void*, bool) {}

bool HasRoom(void* context) { return static_cast<Program*>(context)->answers % 7 != 6; }

void Send(void* context, const kiv_head* head, const uint8_t* body, uint32_t bodyBytes) {
  auto* program = static_cast<Program*>(context);
  ++program->answers;
  static std::vector<uint8_t> line(KIV_MAX_LINE_BYTES);
  kiv_head whole = *head;
  whole.body_bytes = bodyBytes;
  if (bodyBytes > KIV_MAX_PAYLOAD_BYTES) return;
  if (kiv_frame_encode(&whole, body, bodyBytes, line.data(), static_cast<uint32_t>(line.size())) ==
      0) {
    std::abort();
  }
  // An agent sends no request and no body with a failed plain confirmation.
  if (head->kind == KIV_REQUEST) std::abort();
  const bool failed = head->kind == KIV_CNF && head->result != KIV_RESULT_OK;
  if (failed && bodyBytes != 0 && head->id != KIV_ROUTED_ID) std::abort();
}

uint32_t Dropped(void*) { return 0; }

// Content to a line, as a sender does it.
std::vector<uint8_t> Framed(const uint8_t* content, size_t length) {
  std::vector<uint8_t> whole(content, content + length);
  const uint32_t fcs = ~kiv_crc32_run(KIV_CRC32_START, content, static_cast<uint32_t>(length));
  for (int i = 0; i < 4; ++i) whole.push_back(static_cast<uint8_t>(fcs >> (8 * i)));
  std::vector<uint8_t> line = {0x7E};
  for (const uint8_t byte : whole) {
    const bool escape = byte == 0x7E || byte == 0x7D;
    if (escape) line.push_back(0x7D);
    line.push_back(escape ? static_cast<uint8_t>(byte ^ 0x20) : byte);
  }
  line.push_back(0x7E);
  return line;
}

}  // namespace

// The input is a row of records: a byte that says how (even: as it is, odd: framed), a byte of
// length, and the bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Program program;
  static std::vector<uint8_t> frameBuffer(KIV_MAX_FRAME_BYTES);
  std::vector<uint8_t> replyBuffer(96);
  kiv_agent_setup setup{};
  setup.commands = kCommands;
  setup.command_count = 2;
  setup.reply_buffer = replyBuffer.data();
  setup.reply_bytes = static_cast<uint32_t>(replyBuffer.size());
  const kiv_agent_owner owner = {&program, TakeStorage, GiveBackStorage, SessionReplaced,
                                 HasRoom,  Send,        Dropped};
  kiv_agent agent;
  kiv_agent_init(&agent, &setup, &owner, frameBuffer.data());
  while (size >= 2) {
    const bool framed = data[0] % 2 != 0;
    const size_t length = data[1] < size - 2 ? data[1] : size - 2;
    data += 2;
    size -= 2;
    const std::vector<uint8_t> line =
        framed ? Framed(data, length) : std::vector<uint8_t>(data, data + length);
    kiv_agent_feed(&agent, line.data(), static_cast<uint32_t>(line.size()));
    data += length;
    size -= length;
  }
  kiv_agent_end(&agent);
  if (program.storageTaken != 0) std::abort();
  return 0;
}
