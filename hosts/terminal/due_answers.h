// DueAnswers: the requests of this session that the device has not confirmed yet, by command and
// number.
//
// A confirmation belongs to the post whose number it has. The numbers begin anew with the module's
// controller, on the same link, so a late answer to a post of the controller before looks like the
// answer to a new post of that number. Devices need not answer in the order of the requests, so
// nothing tells the two apart: a post whose number is still due is noted for good.
//
// Threads: none of its own, one caller at a time. Owns nothing. Errors: none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kiv {

// Of one session of the link.
class DueAnswers {
 public:
  // More than 65535 cannot be told apart by a number of 16 bits: beyond, the oldest is forgotten.
  explicit DueAnswers(std::size_t mostPosts = 65535) : mostPosts_(mostPosts) {}

  // False when an answer with this command and number was due already.
  bool Posted(std::uint32_t cmdId, std::uint16_t tag);
  // The newest post with this number never reached the device.
  void Failed(std::uint32_t cmdId, std::uint16_t tag);
  // A confirmation was handed over; one that nobody waits for changes nothing.
  void Answered(std::uint32_t cmdId, std::uint16_t tag);
  // The numbers begin anew; what is due stays due.
  void Restart();
  // The session is over, and the device with it owes nothing.
  void Clear() { due_.clear(); }

  // Whether an answer of before the last Restart is due and still hoped for.
  bool IsOldDue(std::uint32_t cmdId) const;
  // They are not hoped for any longer, but may come all the same.
  void GiveUpOld(std::uint32_t cmdId);

 private:
  struct Post {
    std::uint32_t cmdId;
    std::uint16_t tag;
    bool isOld;
    bool isGivenUp;
  };
  // From the newest to the oldest: the answered one is among the last.
  std::vector<Post>::reverse_iterator FindNewest(std::uint32_t cmdId, std::uint16_t tag);

  const std::size_t mostPosts_;
  std::vector<Post> due_;  // in the order of posting
};

}  // namespace kiv
