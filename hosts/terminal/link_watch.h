// LinkWatch: what the console learns from the device link: is it up, which posts a typed line made,
// and whether each of them has been confirmed and handed over.
//
// A diagnostic line is done when its confirmations have been handed over to the module, shown or
// filtered. Posts made by the thread that runs lines, between BeginLine and EndLine, are that
// line's; a confirmation belongs to the first open post with its tag and id. A line of the text
// channels is done when what the device says to it is complete (channel_answer.h).
//
// Threads: BeginLine and EndLine on the thread that runs lines; the call-backs on the link's and
// the posting threads. Borrows the queue, which must outlive the link.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "hosts/terminal/channel_answer.h"
#include "hosts/terminal/due_answers.h"
#include "hosts/terminal/line_record.h"
#include "hosts/terminal/link_life.h"
#include "hosts/terminal/load_notes.h"
#include "hosts/terminal/load_progress.h"
#include "hosts/terminal/view_queue.h"
#include "platform/devlink/link_observer.h"

namespace kiv {

// Observer of the link: state, posts of the line that runs, their confirmations.
class LinkWatch final : public devlink::LinkObserver {
 public:
  // `onConnected` is told of each change, on the link's thread, before the queue gets the news.
  LinkWatch(ViewQueue& queue, std::string endpoint, std::function<void(bool)> onConnected);

  void BeginLine(std::uint64_t line);
  // Fills what is known of the line's posts.
  void EndLine(ViewEvent& outcome);
  // How far the answer to the channels' posts is, by what was handed over so far.
  struct ChannelProgress {
    ChannelAnswer::State state;
    bool failed;
    std::uint32_t refusal;                         // first confirmation result that is not 0
    std::chrono::steady_clock::time_point latest;  // the last post, or answer of these channels
    // The silence that ends the answer is at least as long: a whole piece was the line's last,
    // which the device takes for the last one only when no other follows.
    std::chrono::milliseconds leastSilence;
  };
  ChannelProgress Progress() const;
  LinkStatus Status() const;
  // What the tap saw of the line's request and its confirmation; it is empty from then on.
  LineRecord TakeRecord();
  // The line is not waited for any more.
  void Abandon();
  // The line that is about to run loads a file with this command.
  void BeginLoad(std::uint32_t cmdId);
  LoadState Load() const;
  // Whether the module has a load open, as far as can be seen from here.
  bool IsLoadOpen() const;
  // The load is over, for the module too.
  void CloseLoad();
  // Nobody waits for the load any longer, which a late confirmation may still move: its end,
  // whatever it is, is then told as a warning of the queue.
  void LeaveLoad(const std::string& path, bool isToVerify);
  bool IsLoadLeft() const;
  // The path of such a load, whose end is then not told here; empty when there is none.
  std::string TakeLeftLoad();
  // The module works with a new controller: its numbers begin anew, and no load is open.
  void OnReload();
  // The module said that a load failed.
  void OnLoadFailure();
  // Whether the device still owes an answer to a load of before the last reload, which could be
  // taken for the answer to a new one.
  bool IsOldLoadDue() const;
  void GiveUpOldLoad();
  // The line that is about to run is the console's own question: its good answer is not shown but
  // kept for TakeAnswer.
  void BeginQuestion(std::uint32_t cmdId);
  // The confirmation's body, empty when there was none. Ends the question.
  struct Answer {
    std::uint32_t cmdId;
    std::vector<std::uint8_t> body;
  };
  Answer TakeAnswer();
  // Good confirmations of a load are not shown, however many there are.
  void HideLoads() { hidesLoads_ = true; }
  // Whether the module shows each indication that comes, as far as the settings say; any thread.
  void SetShowsIndications(bool shows) { showsIndications_ = shows; }
  // What the text is of that the module renders now; empty where it had nothing to say. On the
  // link's thread. Texts come in the order of the batch; some of the batch may not come.
  struct ShownRecord {
    bool isKnown = false;
    bool isIndication = false;
    std::uint32_t cmdId = 0;  // without its routing head
    bool isHidden = false;    // a confirmation that is not to be shown
  };
  ShownRecord RecordOfText(std::string_view text);
  // Whose the text is that the module shows now under the kind that shell and controller share.
  // Like RecordOfText.
  Channel ChannelOfText(std::string_view text);

  void OnState(const devlink::StateChange& change) override;
  void OnNotice(const char* line, std::size_t lengthBytes) override;
  void OnMessage(const devlink::TapMessage& message) override;
  void OnPostFailed(std::uint16_t tag, std::uint32_t cmdId, std::uint32_t status) override;
  void OnHandingOver(const ReceivedPacket* records, std::uint32_t count) override;
  void OnHandedOver(const ReceivedPacket* records, std::uint32_t count) override;

 private:
  // A request that the line posted; its confirmation has the same tag and id.
  struct Post {
    std::uint32_t cmdId;
    std::uint16_t tag;
    bool confirmed;
    bool isUnclear;  // its confirmation may be that of an older post
  };

  // True when it was the last one that the line waits for.
  bool Confirm(const ReceivedPacket& record);
  // Whether the console has to look at the channels' progress again.
  bool ReadChannels(const ReceivedPacket* records, std::uint32_t count);
  void Describe(ViewEvent& event) const;
  // Of a request on its way to the device.
  void Posted(const devlink::TapMessage& message);
  // Says how a load ended that was left.
  void TellLeftLoad();
  // Says that it was ended from here.
  using LoadText = std::function<std::string(const LoadNotes& notes, const LoadState& state)>;
  void EndLeftLoad(const LoadText& text);
  bool HidesConfirmation(const ReceivedPacket& record) const;
  // Whether the text that comes now may be this record's, the first that is not shown yet.
  bool MayShow(const ReceivedPacket& record, std::string_view text, bool isLast) const;

  ViewQueue& queue_;
  const std::string endpoint_;
  const std::function<void(bool)> onConnected_;

  // Of the link's thread: what of the batch may still be shown, and how much there was.
  std::span<const ReceivedPacket> unshown_;

  std::atomic<bool> showsIndications_ = true;
  mutable std::mutex mutex_;
  std::thread::id runner_;
  bool collecting_ = false;
  bool up_ = false;
  std::uint64_t epoch_ = 0;  // changes of up_ so far
  LinkLife life_;
  std::uint64_t line_ = 0;
  std::uint64_t lineEpoch_ = 0;  // when the line's last post was made: a later loss is the line's
  std::vector<Post> posts_;
  std::size_t open_ = 0;
  bool linkDown_ = false;
  std::uint32_t result_ = 0;
  bool isUnclear_ = false;
  DueAnswers due_;
  ChannelAnswer answer_;
  LineRecorder recorder_;
  std::chrono::steady_clock::time_point latest_;
  bool isLastPieceWhole_ = false;  // of the controller's text
  bool hidesLoads_ = false;
  LoadProgress load_;
  std::string leftLoad_;  // the path of a load that was left; empty: none
  bool isLeftToVerify_ = false;
  bool hasLoadEnded_ = false;   // and its end was not handed over yet
  std::uint32_t question_ = 0;  // command id; 0: there is none
  std::vector<std::uint8_t> questionBody_;
};

}  // namespace kiv
