#include "platform/base/transfer_profile.h"

#include <mutex>
#include <new>

#include "platform/base/result_codes.h"
#include "platform/bounded/pool.h"

namespace {

// One registered profile. Nodes are never freed: see the header. A start and stop of the service
// costs one, some 60 bytes.
struct Node {
  CTransferProfile profile;
  std::uint32_t channel;
  std::uint32_t ueId;
  bool isInstalled;
  Node* next;
};

struct Register {
  std::mutex lock;
  Node* first = nullptr;
};

Register& TheRegister() {
  static auto* theRegister = new Register;
  return *theRegister;
}

}  // namespace

void CTransferProfile::IncTxSize(std::uint32_t count, std::uint32_t lengthBytes) noexcept {
  txCount_.fetch_add(count, std::memory_order_relaxed);
  txBytes_.fetch_add(lengthBytes, std::memory_order_relaxed);
}

void CTransferProfile::IncRecvSize(std::uint32_t count, std::uint32_t lengthBytes) noexcept {
  recvCount_.fetch_add(count, std::memory_order_relaxed);
  recvBytes_.fetch_add(lengthBytes, std::memory_order_relaxed);
}

std::uint32_t TpfClientInstall(std::atomic<CTransferProfile*>& profile, std::uint32_t channel,
                               std::uint32_t ueId) {
  profile.store(nullptr);
  void* memory = pool::AllocateForGood(sizeof(Node));
  if (memory == nullptr) return result::kNoMemory;
  Node* node = new (memory) Node{{}, channel, ueId, true, nullptr};
  Register& all = TheRegister();
  {
    const std::lock_guard<std::mutex> guard(all.lock);
    node->next = all.first;
    all.first = node;
  }
  profile.store(&node->profile);
  return result::kOk;
}

std::uint32_t TpfClientUnInstall(std::atomic<CTransferProfile*>& profile) {
  const CTransferProfile* old = profile.exchange(nullptr);
  Register& all = TheRegister();
  const std::lock_guard<std::mutex> guard(all.lock);
  for (Node* node = all.first; node != nullptr; node = node->next) {
    if (&node->profile == old) node->isInstalled = false;
  }
  return result::kOk;
}

const CTransferProfile* TpfFind(std::uint32_t channel, std::uint32_t ueId) {
  Register& all = TheRegister();
  const std::lock_guard<std::mutex> guard(all.lock);
  for (const Node* node = all.first; node != nullptr; node = node->next) {
    if (node->isInstalled && node->channel == channel && node->ueId == ueId) return &node->profile;
  }
  return nullptr;
}
