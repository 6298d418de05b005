#include "hosts/terminal/link_watch.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "platform/base/result_codes.h"
#include "platform/catalogue/param_codec.h"
#include "platform/os/local_time.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {

using devlink::Direction;
using devlink::LinkState;
using devlink::MessageKind;

namespace {

// A controller's text travels in pieces of so many characters behind a head, and a device waits a
// second for the next piece behind a whole one.
constexpr std::size_t kPieceChars = 400;
constexpr std::size_t kFrameHeadBytes = 6;
constexpr std::chrono::milliseconds kNextPieceTime{1500};

// An answer's text ends at its first zero byte.
std::string_view TextOf(const ReceivedPacket& record) {
  const std::string_view body(reinterpret_cast<const char*>(record.body), record.bodyLengthBytes);
  return body.substr(0, body.find('\0'));
}

// Packets of this id with this first byte are the device's own bookkeeping: no text comes of them.
constexpr std::uint32_t kSilentCmdId = 0x7007;
constexpr std::uint8_t kSilentFirstByte = 255;

// Whether no text is rendered of it: a channel's, or the device's bookkeeping.
bool IsTakenOrSilent(const ReceivedPacket& record) {
  if (record.cmdId == kSilentCmdId) {
    return record.bodyLengthBytes > 0 && record.body[0] == kSilentFirstByte;
  }
  return (record.isInd != 0 ? ChannelOfAnswer(record.cmdId) : ChannelOfRequest(record.cmdId)) !=
         Channel::kNone;
}

// A command that was sent by a route comes back within a head that has its id.
constexpr std::uint32_t kWrappedCmdId = 0x7000;
constexpr std::uint32_t kInnerIdAt = 8;

std::uint32_t InnerCmdId(const ReceivedPacket& record) {
  if (record.cmdId != kWrappedCmdId || record.bodyLengthBytes < kInnerIdAt + 2) return record.cmdId;
  return record.body[kInnerIdAt] | record.body[kInnerIdAt + 1] << 8;
}

// The row that an indication's text begins with; empty when it has no fields.
std::string FirstRow(const ReceivedPacket& record) {
  CParamCodec codec(nullptr);
  CParamNode tree;
  const DecodeDescriptor descriptor{record.cmdId, DecodeDescriptor::kInd, record.bodyLengthBytes};
  if (codec.Decode(descriptor, record.body, tree, CategoryIdType::Any) != result::kOk) return {};
  const CParamNode* const first = std::as_const(tree).GetFirstChild();
  return first != nullptr ? "." + os::WideToUtf8(first->GetVariableName()) : std::string();
}

}  // namespace

LinkWatch::LinkWatch(ViewQueue& queue, std::string endpoint, std::function<void(bool)> onConnected)
    : queue_(queue), endpoint_(std::move(endpoint)), onConnected_(std::move(onConnected)) {}

void LinkWatch::BeginLine(std::uint64_t line) {
  const std::lock_guard lock(mutex_);
  runner_ = std::this_thread::get_id();
  collecting_ = true;
  line_ = line;
  lineEpoch_ = epoch_;
  posts_.clear();
  open_ = 0;
  linkDown_ = !up_;
  result_ = 0;
  isUnclear_ = false;
  answer_.Begin();
  recorder_.Begin(line);
  isLastPieceWhole_ = false;
}

void LinkWatch::Describe(ViewEvent& event) const {
  event.line = line_;
  event.posts = static_cast<std::uint32_t>(posts_.size());
  event.answered = !posts_.empty() && open_ == 0;
  event.result = result_;
  event.isUnclear = isUnclear_;
  event.linkDown = linkDown_;
  event.epoch = lineEpoch_;
  event.channelPosted = answer_.GetState() != ChannelAnswer::State::kNothingPosted;
}

void LinkWatch::EndLine(ViewEvent& outcome) {
  const std::lock_guard lock(mutex_);
  collecting_ = false;
  load_.EndLine();
  Describe(outcome);
}

LinkWatch::ChannelProgress LinkWatch::Progress() const {
  const std::lock_guard lock(mutex_);
  return {answer_.GetState(), answer_.IsFailed(), answer_.GetRefusal(), latest_,
          isLastPieceWhole_ ? kNextPieceTime : std::chrono::milliseconds(0)};
}

LinkStatus LinkWatch::Status() const {
  const std::lock_guard lock(mutex_);
  return life_.Status();
}

LineRecord LinkWatch::TakeRecord() {
  const std::lock_guard lock(mutex_);
  return recorder_.Take();
}

void LinkWatch::Abandon() {
  const std::lock_guard lock(mutex_);
  posts_.clear();
  open_ = 0;
  answer_.Begin();
}

void LinkWatch::BeginLoad(std::uint32_t cmdId) {
  const std::lock_guard lock(mutex_);
  load_.BeginLine(cmdId);
}

bool LinkWatch::IsLoadOpen() const {
  const std::lock_guard lock(mutex_);
  return load_.IsOpen();
}

void LinkWatch::CloseLoad() {
  const std::lock_guard lock(mutex_);
  load_.Close();
}

void LinkWatch::LeaveLoad(const std::string& path, bool isToVerify) {
  const std::lock_guard lock(mutex_);
  leftLoad_ = path;
  isLeftToVerify_ = isToVerify;
  TellLeftLoad();
  if (!load_.IsOpen()) EndLeftLoad(&LoadNotes::EndedText);
}

bool LinkWatch::IsLoadLeft() const {
  const std::lock_guard lock(mutex_);
  return !leftLoad_.empty();
}

std::string LinkWatch::TakeLeftLoad() {
  const std::lock_guard lock(mutex_);
  return std::exchange(leftLoad_, {});
}

void LinkWatch::TellLeftLoad() {
  if (!load_.State().HasEnded()) return;
  EndLeftLoad([this](const LoadNotes& notes, const LoadState& state) {
    return notes.LateText(state, isLeftToVerify_);
  });
}

void LinkWatch::EndLeftLoad(const LoadText& text) {
  if (leftLoad_.empty()) return;
  const LoadNotes notes(std::exchange(leftLoad_, {}), std::nullopt, {});
  ViewEvent event;
  event.kind = ViewEvent::Kind::kWarning;
  event.text = text(notes, load_.State());
  queue_.Push(std::move(event));
}

void LinkWatch::OnReload() {
  const std::lock_guard lock(mutex_);
  due_.Restart();
  EndLeftLoad(
      [](const LoadNotes& notes, const LoadState& state) { return notes.StoppedText(state); });
  load_.Close();
}

void LinkWatch::OnLoadFailure() {
  const std::lock_guard lock(mutex_);
  EndLeftLoad(&LoadNotes::EndedText);
  load_.Close();
}

bool LinkWatch::IsOldLoadDue() const {
  const std::lock_guard lock(mutex_);
  return due_.IsOldDue(load_.CmdId());
}

void LinkWatch::GiveUpOldLoad() {
  const std::lock_guard lock(mutex_);
  due_.GiveUpOld(load_.CmdId());
}

LoadState LinkWatch::Load() const {
  const std::lock_guard lock(mutex_);
  LoadState state = load_.State();
  state.isHandedOver = !hasLoadEnded_;
  return state;
}

void LinkWatch::BeginQuestion(std::uint32_t cmdId) {
  const std::lock_guard lock(mutex_);
  question_ = cmdId;
  questionBody_.clear();
}

LinkWatch::Answer LinkWatch::TakeAnswer() {
  const std::lock_guard lock(mutex_);
  return {std::exchange(question_, 0), std::exchange(questionBody_, {})};
}

bool LinkWatch::HidesConfirmation(const ReceivedPacket& record) const {
  if (record.isInd != 0 || record.resultCode != result::kOk || record.cmdId == 0) return false;
  return record.cmdId == question_ || (hidesLoads_ && record.cmdId == load_.CmdId());
}

bool LinkWatch::MayShow(const ReceivedPacket& record, std::string_view text, bool isLast) const {
  if (IsTakenOrSilent(record)) return false;
  // A confirmation is always shown. An indication is where all of them are, or where nothing else
  // is left that could be; else its text has its fields.
  if (record.isInd == 0 || isLast || showsIndications_) return true;
  const std::string row = FirstRow(record);
  return !row.empty() && text.find(row) != std::string_view::npos;
}

LinkWatch::ShownRecord LinkWatch::RecordOfText(std::string_view text) {
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < unshown_.size(); ++i) {
    const ReceivedPacket& record = unshown_[i];
    const auto rest = unshown_.subspan(i + 1);
    const bool isLast = std::all_of(rest.begin(), rest.end(), IsTakenOrSilent);
    if (!MayShow(record, text, isLast)) continue;
    unshown_ = rest;
    return {true, record.isInd != 0, InnerCmdId(record), HidesConfirmation(record)};
  }
  return {};
}

void LinkWatch::OnState(const devlink::StateChange& change) {
  const bool connected = change.state == LinkState::kConnected;
  bool changed = false;
  ViewEvent event;
  {
    const std::lock_guard lock(mutex_);
    life_.Changed(change, LinkStatus::Time::clock::now(), os::LocalTimeText());
    changed = up_ != connected;
    up_ = connected;
    if (changed) ++epoch_;
    if (changed) due_.Clear();
    if (changed && !connected) {
      EndLeftLoad(&LoadNotes::LinkLostText);
      load_.Close();
    }
    event.epoch = epoch_;
  }
  if (changed) onConnected_(connected);
  event.kind = connected ? ViewEvent::Kind::kConnected : ViewEvent::Kind::kDisconnected;
  if (connected && change.peer != nullptr) {
    event.text = ConnectedText(*change.peer, endpoint_);
  } else if (change.reason != nullptr) {
    event.text = ShownLine(change.reason);
  }
  if (change.state != LinkState::kConnecting) queue_.Push(std::move(event));
}

void LinkWatch::OnNotice(const char* line, std::size_t lengthBytes) {
  ViewEvent event;
  event.kind = ViewEvent::Kind::kNotice;
  event.text = ShownLine(std::string_view(line, lengthBytes));
  queue_.PushWaiting(std::move(event));
}

// A confirmed chunk is noted here: the next one may be posted before the batch is handed over.
void LinkWatch::OnMessage(const devlink::TapMessage& message) {
  if (message.direction != Direction::kToDevice) {
    if (message.kind != MessageKind::kCnf) return;
    const std::lock_guard lock(mutex_);
    recorder_.ConfirmationRead(message.cmdId, message.tag, message.readAt);
    if (load_.Confirmed(message.cmdId, message.tag, message.resultCode,
                        {message.body, message.bodyLengthBytes})) {
      hasLoadEnded_ = true;
    }
    return;
  }
  const Channel channel = ChannelOfPost(message.kind, message.cmdId);
  const bool isRequest = message.kind == MessageKind::kRequest;
  if (!isRequest && channel == Channel::kNone) return;
  const std::lock_guard lock(mutex_);
  if (std::this_thread::get_id() != runner_) return;
  if (isRequest) Posted(message);
  if (!collecting_) return;
  latest_ = std::chrono::steady_clock::now();
  if (isRequest) {
    recorder_.Posted(message.cmdId, message.tag, {message.body, message.bodyLengthBytes}, latest_);
  } else {
    recorder_.TextPosted(latest_);
  }
  answer_.Posted(channel);
  if (channel == Channel::kController) {
    isLastPieceWhole_ = message.bodyLengthBytes >= kFrameHeadBytes + kPieceChars;
  }
  lineEpoch_ = epoch_;
}

void LinkWatch::Posted(const devlink::TapMessage& message) {
  const bool isUnclear = !due_.Posted(message.cmdId, message.tag);
  if (load_.Posted(message.cmdId, message.tag, {message.body, message.bodyLengthBytes},
                   isUnclear)) {
    hasLoadEnded_ = false;
    leftLoad_.clear();
  }
  if (!collecting_) return;
  posts_.push_back({message.cmdId, message.tag, false, isUnclear});
  ++open_;
}

void LinkWatch::OnPostFailed(std::uint16_t tag, std::uint32_t cmdId, std::uint32_t status) {
  const std::lock_guard lock(mutex_);
  if (std::this_thread::get_id() != runner_) return;
  due_.Failed(cmdId, tag);
  load_.PostFailed(cmdId, tag);
  if (!collecting_) return;
  if (status == result::kLinkDown || status == result::kNotConnected) linkDown_ = true;
  answer_.PostFailed(ChannelOfRequest(cmdId));
  recorder_.PostFailed(cmdId, tag);
  const auto failed = std::find_if(posts_.rbegin(), posts_.rend(), [&](const Post& post) {
    return post.tag == tag && post.cmdId == cmdId && !post.confirmed;
  });
  if (failed == posts_.rend()) return;
  posts_.erase(std::next(failed).base());
  --open_;
}

bool LinkWatch::Confirm(const ReceivedPacket& record) {
  const auto post = std::find_if(posts_.begin(), posts_.end(), [&](const Post& candidate) {
    return candidate.tag == record.tag && candidate.cmdId == record.cmdId && !candidate.confirmed;
  });
  if (post == posts_.end()) return false;
  post->confirmed = true;
  if (post->isUnclear) isUnclear_ = true;
  if (result_ == 0) result_ = record.resultCode;
  recorder_.ConfirmationHandedOver(record.cmdId, record.tag, record.resultCode,
                                   {record.body, record.bodyLengthBytes},
                                   std::chrono::steady_clock::now());
  if (question_ != 0 && record.cmdId == question_) {
    questionBody_.assign(record.body, record.body + record.bodyLengthBytes);
  }
  return --open_ == 0;
}

bool LinkWatch::ReadChannels(const ReceivedPacket* records, std::uint32_t count) {
  const ChannelAnswer::State before = answer_.GetState();
  if (before == ChannelAnswer::State::kNothingPosted) return false;
  for (std::uint32_t i = 0; i < count; ++i) {
    const ReceivedPacket& record = records[i];
    const bool isOfLine =
        record.isInd == 0
            ? answer_.Confirmed(ChannelOfRequest(record.cmdId), record.resultCode)
            : answer_.Arrived(ChannelOfAnswer(record.cmdId), TextOf(record), record.resultCode);
    if (!isOfLine) continue;
    latest_ = std::chrono::steady_clock::now();
    recorder_.TextHandedOver(latest_);
  }
  return answer_.GetState() != before;
}

void LinkWatch::OnHandingOver(const ReceivedPacket* records, std::uint32_t count) {
  unshown_ = {records, count};
}

Channel LinkWatch::ChannelOfText(std::string_view text) {
  for (std::size_t i = 0; i < unshown_.size(); ++i) {
    const Channel channel = ChannelOfAnswer(unshown_[i].cmdId);
    if (channel != Channel::kShell && channel != Channel::kController) continue;
    if (TextOf(unshown_[i]) != text) continue;
    unshown_ = unshown_.subspan(i + 1);
    return channel;
  }
  return Channel::kShell;
}

void LinkWatch::OnHandedOver(const ReceivedPacket* records, std::uint32_t count) {
  ViewEvent event;
  event.kind = ViewEvent::Kind::kAnswered;
  unshown_ = {};
  {
    const std::lock_guard lock(mutex_);
    bool lastConfirmed = false;
    for (std::uint32_t i = 0; i < count; ++i) {
      const ReceivedPacket& record = records[i];
      if (record.isInd != 0) continue;
      due_.Answered(record.cmdId, record.tag);
      if (!posts_.empty() && Confirm(record)) lastConfirmed = true;
    }
    const bool hasProgress = ReadChannels(records, count);
    const bool loadEnded = std::exchange(hasLoadEnded_, false);
    if (loadEnded) TellLeftLoad();
    if (!(lastConfirmed || hasProgress || loadEnded) || collecting_)
      return;  // while the line still runs, EndLine tells it
    Describe(event);
  }
  queue_.Push(std::move(event));
}

}  // namespace kiv
