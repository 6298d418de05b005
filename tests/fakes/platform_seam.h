// The seam between the module and its platform, as tests see it: every call of the device link and
// of the watched services in one sequence, every post with its bytes, failures to order, and
// packets to deliver.
//
// The sequence holds one text a call, arguments included: "InstallClient(256, 1)". A pause,
// "Sleep(100)", is noted and does not take any time.
//
// Threads: any. Deliver runs the client's call-back on the calling thread, one at a time; Shutdown
// waits for one that runs. Owns: recorded bodies are copies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/devlink/link_client.h"

namespace fake {

enum class PostKind { kCmd, kRaw, kSdt };

struct Post {
  PostKind kind = PostKind::kCmd;
  std::uint32_t cmdId = 0;
  std::vector<std::uint8_t> body = {};
  std::uint16_t tag = 0;
  std::uint16_t word16 = 0;
  std::uint32_t word = 0;

  bool operator==(const Post&) const = default;
};

// One packet to deliver; a body with `hasBody` false is a null pointer.
struct Packet {
  std::uint32_t cmdId = 0;
  std::uint32_t resultCode = 0;
  bool isInd = false;
  std::vector<std::uint8_t> body = {};
  bool hasBody = true;
  std::uint16_t tag = 0;
  std::uint16_t word16 = 0;
  std::uint32_t word = 0;
};

// Forgets calls, posts and failures. Clients stay.
void ResetSeam();

// The sequence so far. Steps that only some tests want are recorded while switched on.
std::vector<std::string> Calls();
void Note(const std::string& call);
void RecordPool(bool on);

// Every further call of this step ("InstallClient", "TpfClientInstall", "EnumCommands", ...)
// answers `status`; 0 makes it work again.
void FailStep(const std::string& step, std::uint32_t status);
// Called at the start of every call of this step, on the calling thread.
void OnStep(const std::string& step, std::function<void()> action);

std::vector<Post> Posts();
// For tests that post too much to keep.
void ForgetPosts();
// What posts answer; 0 unless said otherwise. A failed post is recorded too.
void SetPostStatus(std::uint32_t status);
// Makes the link behave as without a device: posts answer 3207.
void SetDeviceThere(bool there);

// Hands a batch to the client installed last: what ReceiveCmd answered, or `kNoClient`.
inline constexpr std::int32_t kNoClient = -1000;
std::int32_t Deliver(const std::vector<Packet>& batch);

// A confirmation as a batch of one.
std::int32_t DeliverCnf(std::uint32_t cmdId, std::vector<std::uint8_t> body,
                        std::uint32_t result = 0);
std::int32_t DeliverInd(std::uint32_t cmdId, std::vector<std::uint8_t> body);

}  // namespace fake
