#include "hosts/bench/reply_memory.h"

#include <iterator>

namespace hostbench {

std::optional<ReplyMemory::Bytes> ReplyMemory::Exchange(std::uint32_t cmdId,
                                                        std::span<const std::uint8_t> request,
                                                        std::span<const std::uint8_t> reply) {
  Kept latest{{cmdId, Bytes(request.begin(), request.end())}, Bytes(reply.begin(), reply.end())};
  std::optional<Bytes> before;
  if (const auto known = byRequest_.find(latest.key); known != byRequest_.end()) {
    const Order::iterator kept = known->second;
    heldBytes_ -= kept->SizeBytes();
    before = std::move(kept->reply);
    byRequest_.erase(known);
    order_.erase(kept);
  }
  if (latest.SizeBytes() > limitBytes_ / 8) return before;
  heldBytes_ += latest.SizeBytes();
  order_.push_front(std::move(latest));
  byRequest_.emplace(order_.front().key, order_.begin());
  while (heldBytes_ > limitBytes_) Remove(std::prev(order_.end()));
  return before;
}

void ReplyMemory::Remove(Order::iterator kept) {
  heldBytes_ -= kept->SizeBytes();
  byRequest_.erase(kept->key);
  order_.erase(kept);
}

void ReplyMemory::Forget() {
  byRequest_.clear();
  order_.clear();
  heldBytes_ = 0;
}

}  // namespace hostbench
