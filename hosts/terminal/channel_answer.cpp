#include "hosts/terminal/channel_answer.h"

#include <algorithm>

namespace kiv {
namespace {

using devlink::MessageKind;

struct PostRow {
  MessageKind kind;
  std::uint32_t cmdId;
  Channel channel;
};
constexpr PostRow kPosts[] = {
    {MessageKind::kRequest, 0x500D, Channel::kAt},
    {MessageKind::kRequest, 0x705, Channel::kAt},
    {MessageKind::kRequest, 0x500E, Channel::kShell},
    {MessageKind::kRequest, 0x805, Channel::kShell},
    {MessageKind::kRequest, 0x500C, Channel::kTestCase},
    {MessageKind::kRawText, 0, Channel::kRawShell},
    {MessageKind::kSdtFrame, 0x7E0C, Channel::kController},
};

struct AnswerRow {
  std::uint32_t cmdId;
  Channel channel;
};
constexpr AnswerRow kAnswers[] = {
    {0xA011, Channel::kAt},         {0x4005, Channel::kAt},       {0xA012, Channel::kShell},
    {0x4105, Channel::kShell},      {0xA010, Channel::kTestCase}, {0x500C, Channel::kTestCase},
    {0x7E0C, Channel::kController},
};

// Final result codes of V.250 and those of mobile modems, as they begin: behind one may stand the
// end of the line, or what `behind` says.
struct FinalCodeRow {
  std::string_view text;
  char behind;  // 0: nothing
  bool isGood;
};
constexpr FinalCodeRow kFinalCodes[] = {
    {"OK", 0, true},
    {"CONNECT", ' ', true},
    {"ERROR", 0, false},
    {"+CME ERROR", ':', false},
    {"+CMS ERROR", ':', false},
    {"NO CARRIER", 0, false},
    {"BUSY", 0, false},
    {"NO ANSWER", 0, false},
    {"NO DIALTONE", 0, false},
    {"NO DIAL TONE", 0, false},
    // The same in numbers (ATV0). A carriage return alone ends one, and line feed and all a text of
    // one digit. 2 is RING, which ends nothing.
    {"0\r", 0, true},
    {"1\r", 0, true},
    {"3\r", 0, false},
    {"4\r", 0, false},
    {"6\r", 0, false},
    {"7\r", 0, false},
    {"8\r", 0, false},
};
constexpr std::size_t kFinalCodeBytes = 256;  // with a modem's own words behind it

const FinalCodeRow* FindFinalCode(std::string_view line) {
  while (line.ends_with(' ')) line.remove_suffix(1);
  for (const FinalCodeRow& row : kFinalCodes) {
    if (!line.starts_with(row.text)) continue;
    const std::string_view rest = line.substr(row.text.size());
    if (rest.empty() || (row.behind != 0 && rest.front() == row.behind)) return &row;
  }
  return nullptr;
}

}  // namespace

Channel ChannelOfPost(MessageKind kind, std::uint32_t cmdId) {
  for (const PostRow& row : kPosts) {
    if (row.kind == kind && row.cmdId == cmdId) return row.channel;
  }
  return Channel::kNone;
}

Channel ChannelOfRequest(std::uint32_t cmdId) {
  for (const PostRow& row : kPosts) {
    if (row.cmdId == cmdId) return row.channel;
  }
  return Channel::kNone;
}

Channel ChannelOfAnswer(std::uint32_t cmdId) {
  for (const AnswerRow& row : kAnswers) {
    if (row.cmdId == cmdId) return row.channel;
  }
  return Channel::kNone;
}

void ChannelAnswer::Posted(Channel channel) {
  if (channel == Channel::kNone) return;
  Progress& progress = Of(channel);
  progress = {progress.posts + 1};
}

void ChannelAnswer::PostFailed(Channel channel) {
  Progress& progress = Of(channel);
  if (progress.posts > 0) --progress.posts;
}

bool ChannelAnswer::Arrived(Channel channel, std::string_view text, std::uint32_t result) {
  // Both kinds of shell answer alike.
  if (channel == Channel::kShell && Of(channel).posts == 0) channel = Channel::kRawShell;
  if (Of(channel).posts == 0) return false;
  if (result != 0) isRefused_ = true;
  if (channel == Channel::kAt) ReadAt(text);
  if (channel == Channel::kTestCase) ReadTestCase(text);
  if ((channel == Channel::kShell || channel == Channel::kRawShell) && text.empty()) {
    Of(channel).ended = true;
  }
  return true;
}

bool ChannelAnswer::Confirmed(Channel channel, std::uint32_t result) {
  if (Of(channel).posts == 0) return false;
  Of(channel).confirmed = true;
  if (result != 0) isRefused_ = true;
  if (refusal_ == 0) refusal_ = result;
  return true;
}

// A number that a carriage return ended is kept with it, until what follows says which it is.
void ChannelAnswer::ReadAt(std::string_view text) {
  for (const char each : text) {
    if (atLine_.ends_with('\r')) {
      if (each == '\r') continue;
      if (each == '\n') atLine_.clear();  // a text
      EndAtLine();
    }
    if (each == '\r' && atLine_.size() == 1 && FindFinalCode(atLine_ + each) != nullptr) {
      atLine_ += each;
    } else if (each == '\r' || each == '\n') {
      EndAtLine();
    } else if (atLine_.size() < kFinalCodeBytes) {
      atLine_ += each;
    } else {
      isAtLineLong_ = true;
    }
  }
}

void ChannelAnswer::EndAtLine() {
  Progress& at = Of(Channel::kAt);
  const FinalCodeRow* const code = isAtLineLong_ ? nullptr : FindFinalCode(atLine_);
  if (code != nullptr && !at.ended) {
    at.ended = true;
    at.failed = !code->isGood;
  }
  atLine_.clear();
  isAtLineLong_ = false;
}

void ChannelAnswer::ReadTestCase(std::string_view text) {
  Progress& test = Of(Channel::kTestCase);
  if (text.starts_with("***")) isRefused_ = true;
  while (!text.empty() && !test.ended) {
    const std::size_t lengthBytes = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, lengthBytes);
    test.failed = line == "result: fail";
    test.ended = test.failed || line == "result: pass";
    text.remove_prefix(std::min(lengthBytes + 1, text.size()));
  }
}

ChannelAnswer::State ChannelAnswer::StateOf(Channel channel) const {
  const Progress& progress = Of(channel);
  if (progress.posts == 0) return State::kNothingPosted;
  if (progress.ended && (channel != Channel::kTestCase || progress.confirmed)) {
    return State::kComplete;
  }
  const bool hasMark =
      channel == Channel::kAt || channel == Channel::kShell || channel == Channel::kTestCase;
  if (!hasMark || isRefused_) return State::kUntilSilent;
  // A final result code without the end of its line: nothing else may come.
  if (channel == Channel::kAt && !isAtLineLong_ && FindFinalCode(atLine_) != nullptr) {
    return State::kUntilSilent;
  }
  return State::kOpen;
}

ChannelAnswer::State ChannelAnswer::GetState() const {
  State state = State::kNothingPosted;
  for (std::size_t i = 1; i < progress_.size(); ++i) {
    const State one = StateOf(static_cast<Channel>(i));
    if (one == State::kNothingPosted) continue;
    // The one that wants the most waiting holds.
    if (state == State::kNothingPosted || one < state) state = one;
  }
  return state;
}

bool ChannelAnswer::IsFailed() const {
  if (isRefused_) return true;
  if (std::any_of(progress_.begin(), progress_.end(),
                  [](const Progress& each) { return each.failed; })) {
    return true;
  }
  if (Of(Channel::kAt).posts == 0 || Of(Channel::kAt).ended || isAtLineLong_) return false;
  const FinalCodeRow* const code = FindFinalCode(atLine_);
  return code != nullptr && !code->isGood;
}

}  // namespace kiv
