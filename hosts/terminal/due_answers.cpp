#include "hosts/terminal/due_answers.h"

#include <algorithm>

namespace kiv {

std::vector<DueAnswers::Post>::reverse_iterator DueAnswers::FindNewest(std::uint32_t cmdId,
                                                                       std::uint16_t tag) {
  return std::find_if(due_.rbegin(), due_.rend(),
                      [=](const Post& post) { return post.cmdId == cmdId && post.tag == tag; });
}

bool DueAnswers::Posted(std::uint32_t cmdId, std::uint16_t tag) {
  const bool isAlone = FindNewest(cmdId, tag) == due_.rend();
  if (due_.size() == mostPosts_) due_.erase(due_.begin());
  due_.push_back({cmdId, tag, false, false});
  return isAlone;
}

void DueAnswers::Failed(std::uint32_t cmdId, std::uint16_t tag) {
  const auto post = FindNewest(cmdId, tag);
  if (post != due_.rend()) due_.erase(std::next(post).base());
}

// Whichever of several it answers: one less is due.
void DueAnswers::Answered(std::uint32_t cmdId, std::uint16_t tag) { Failed(cmdId, tag); }

void DueAnswers::Restart() {
  for (Post& post : due_) post.isOld = true;
}

bool DueAnswers::IsOldDue(std::uint32_t cmdId) const {
  return std::any_of(due_.begin(), due_.end(), [cmdId](const Post& post) {
    return post.cmdId == cmdId && post.isOld && !post.isGivenUp;
  });
}

void DueAnswers::GiveUpOld(std::uint32_t cmdId) {
  for (Post& post : due_) {
    if (post.cmdId == cmdId && post.isOld) post.isGivenUp = true;
  }
}

}  // namespace kiv
