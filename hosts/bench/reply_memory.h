// ReplyMemory: the last reply to each request, so that the next one can be compared with it. Two
// requests are the same when command and encoded parameters are, however they were typed.
//
// Bounded: beyond `limitBytes` of bodies those that were not asked for longest are forgotten; a
// reply that alone is longer than an eighth of it is not kept.
//
// Threads: one object for one thread. Owns copies of the bodies. Errors: none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace hostbench {

class ReplyMemory {
 public:
  using Bytes = std::vector<std::uint8_t>;

  explicit ReplyMemory(std::size_t limitBytes = 16u << 20) : limitBytes_(limitBytes) {}

  // Keeps the reply and answers the one before it, if there was one.
  std::optional<Bytes> Exchange(std::uint32_t cmdId, std::span<const std::uint8_t> request,
                                std::span<const std::uint8_t> reply);
  // What a request's bytes mean may be another thing now: the catalogue was read again.
  void Forget();

 private:
  using Key = std::pair<std::uint32_t, Bytes>;
  struct Kept {
    Key key;
    Bytes reply;
    std::size_t SizeBytes() const { return key.second.size() + reply.size() + sizeof(Kept); }
  };
  using Order = std::list<Kept>;  // the latest first

  void Remove(Order::iterator kept);

  const std::size_t limitBytes_;
  std::size_t heldBytes_ = 0;
  Order order_;
  std::map<Key, Order::iterator> byRequest_;
};

}  // namespace hostbench
