#include "tests/fakes/platform_seam.h"

#include "tests/fakes/seam_state.h"

namespace fake {

SeamState& Seam() {
  static SeamState* state = new SeamState;  // outlives every static that still calls the platform
  return *state;
}

std::uint32_t Step(const std::string& step, const std::string& arguments) {
  SeamState& seam = Seam();
  std::function<void()> action;
  std::uint32_t status = 0;
  {
    std::lock_guard lock(seam.mutex);
    seam.calls.push_back(step + "(" + arguments + ")");
    if (const auto found = seam.failures.find(step); found != seam.failures.end()) {
      status = found->second;
    }
    if (const auto found = seam.actions.find(step); found != seam.actions.end()) {
      action = found->second;
    }
  }
  if (action) action();
  return status;
}

void ResetSeam() {
  SeamState& seam = Seam();
  std::lock_guard lock(seam.mutex);
  seam.calls.clear();
  seam.posts.clear();
  seam.failures.clear();
  seam.actions.clear();
  seam.postStatus = 0;
  seam.deviceThere = true;
  seam.recordPool = false;
}

std::vector<std::string> Calls() {
  std::lock_guard lock(Seam().mutex);
  return Seam().calls;
}

void Note(const std::string& call) {
  std::lock_guard lock(Seam().mutex);
  Seam().calls.push_back(call);
}

void RecordPool(bool on) {
  std::lock_guard lock(Seam().mutex);
  Seam().recordPool = on;
}

void FailStep(const std::string& step, std::uint32_t status) {
  std::lock_guard lock(Seam().mutex);
  Seam().failures[step] = status;
}

void OnStep(const std::string& step, std::function<void()> action) {
  std::lock_guard lock(Seam().mutex);
  Seam().actions[step] = std::move(action);
}

std::vector<Post> Posts() {
  std::lock_guard lock(Seam().mutex);
  return Seam().posts;
}

void ForgetPosts() {
  std::lock_guard lock(Seam().mutex);
  Seam().posts.clear();
}

void SetPostStatus(std::uint32_t status) {
  std::lock_guard lock(Seam().mutex);
  Seam().postStatus = status;
}

void SetDeviceThere(bool there) {
  std::lock_guard lock(Seam().mutex);
  Seam().deviceThere = there;
}

std::int32_t DeliverCnf(std::uint32_t cmdId, std::vector<std::uint8_t> body, std::uint32_t result) {
  return Deliver({Packet{.cmdId = cmdId, .resultCode = result, .body = std::move(body)}});
}

std::int32_t DeliverInd(std::uint32_t cmdId, std::vector<std::uint8_t> body) {
  return Deliver({Packet{.cmdId = cmdId, .isInd = true, .body = std::move(body)}});
}

}  // namespace fake
