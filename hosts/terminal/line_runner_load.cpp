// Lines that load a file: the module sends chunk after chunk by itself, the console watches, shows
// how far it is, and says how it ended.
#include <QByteArray>
#include <QCryptographicHash>
#include <algorithm>
#include <cerrno>
#include <future>
#include <memory>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/line_runner.h"
#include "hosts/terminal/stored_file.h"
#include "hosts/terminal/text_device.h"
#include "platform/os/error_text.h"
#include "platform/os/file_stamp.h"
#include "platform/os/paths.h"
#include "platform/os/safe_file.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

using Milliseconds = std::chrono::milliseconds;

// How often a row is drawn, and a line written where there is no row.
constexpr Milliseconds kRowTime{100};
constexpr Milliseconds kLineTime{1000};
// A confirmed chunk is followed by the next one at once; this long after, it is asked why not.
constexpr Milliseconds kNextChunkTime{100};
// Longer than the module takes to give up a post that cannot be written.
constexpr std::chrono::seconds kStopTime{5};
constexpr std::uint64_t kChunkBytes = 2048;
constexpr std::uint64_t kMostChunks = 65535;
constexpr std::size_t kLoadLimitBytes = kMostChunks * kChunkBytes;

LoadNotes NotesOf(const std::wstring& path, LoadProgress::Clock::time_point begin) {
  os::FileStamp stamp;
  const bool isThere = os::StampOf(os::MapPath(path), stamp) == 0;
  return {Cut(ShownLine(path)), isThere ? std::optional(stamp.sizeBytes) : std::nullopt, begin};
}

std::string Sha256Of(const std::string& content) {
  const QByteArray hash = QCryptographicHash::hash(
      QByteArray::fromRawData(content.data(), static_cast<int>(content.size())),
      QCryptographicHash::Sha256);
  return hash.toHex().toStdString();
}

}  // namespace

// A load that is open takes no new file, so nothing is looked at then.
int LineRunner::PrepareLoad(const std::wstring& typed) {
  ViewEvent reply;
  const auto question = [](FacadeThread&, ViewEvent& answer) {
    answer.result = FacadeThread::CmdId(kLoadWord);
  };
  if (!Ask(question, reply)) return kInterrupted;
  loadLayout_ = LoadLayoutOf(reply.result);
  os::FileStamp stamp;
  if (watch_.IsLoadOpen() || os::StampOf(os::MapPath(typed), stamp) != 0) return kDone;
  const LoadNotes notes(Cut(ShownLine(typed)), stamp.sizeBytes, Clock::now());
  const std::uint64_t chunks = (stamp.sizeBytes + kChunkBytes - 1) / kChunkBytes;
  const std::uint64_t most = loadLayout_.mostChunks;
  // What is beyond the module's own count it refuses itself.
  if (most > 0 && chunks > most && chunks <= kMostChunks) {
    display_.Notice(notes.NotCarriedText(chunks, most));
    return kCommandFailed;
  }
  return WaitForOldLoad(notes);
}

// The numbers of posts begin anew when a load is stopped, and the module moves a load by them. Who
// interrupts this need not wait a second time.
int LineRunner::WaitForOldLoad(const LoadNotes& notes) {
  if (!watch_.IsOldLoadDue()) return kDone;
  display_.Notice(notes.WaitsText());
  const auto deadline = Clock::now() + WaitTime();
  int status = kDone;
  while (status == kDone && watch_.IsOldLoadDue() && Clock::now() < deadline) {
    if (!pump_.Wait(std::min(deadline, Clock::now() + kRowTime), false)) status = kInterrupted;
  }
  watch_.GiveUpOldLoad();
  return status;
}

int LineRunner::LoadStatus(const ViewEvent& reply, const std::wstring& typed,
                           Clock::time_point begin) {
  if (reply.posts == 0) return NotPostedStatus(reply, typed);
  // While a load waits for its answer the module sends its chunk again, whatever path is typed.
  if (!watch_.Load().isResumed || loadPath_.empty()) loadPath_ = typed;
  const bool isOther = loadPath_ != typed;
  const std::string mappedPath = os::MapPath(loadPath_);
  const LoadNotes notes = NotesOf(loadPath_, begin);
  if (isOther) display_.Notice(notes.OtherPathText(Cut(ShownLine(typed))));
  int status = WaitForLoad(reply, notes);
  watch_.Abandon();
  display_.EndProgress();
  if (status == kNoAnswer) {
    leftNotes_.emplace(notes);
    leftConfirmed_ = watch_.Load().confirmed;
    watch_.LeaveLoad(notes.Path(), options_.verify);
    return status;
  }
  if (status == kInterrupted) StopLoad(notes);
  watch_.CloseLoad();
  loadPath_.clear();
  if (status == kDone || status == kUnclear) status = EndLoad(notes, mappedPath, status);
  return status == kDone && isOther ? kCommandFailed : status;
}

int LineRunner::EndLoad(const LoadNotes& notes, const std::string& mappedPath, int status) {
  const LoadState state = watch_.Load();
  const Doubt end{notes.UnclearText(state),
                  notes.StoredText(state, Clock::now(), !loadLayout_.carriesLength)};
  const bool isClear = status == kDone;
  if (isClear || !options_.verify) display_.Notice(isClear ? end.stored : end.open);
  if (!options_.verify) return isClear ? kDone : kNoAnswer;
  return VerifyLoad(notes, mappedPath, isClear ? Doubt{} : end);
}

// The module's own words begin with stars where they end a load that was open.
int LineRunner::NotPostedStatus(const ViewEvent& reply, const std::wstring& typed) {
  const int status = reply.linkDown && !reply.text.empty() ? kNotConnected : kCommandFailed;
  const LoadNotes notes = NotesOf(typed, Clock::now());
  if (watch_.IsLoadOpen() && (reply.text.empty() || reply.text.starts_with("***"))) {
    display_.Notice(NotesOf(loadPath_, Clock::now()).EndedText(watch_.Load()));
    if (loadPath_ != typed) display_.Notice(notes.NotSentText());
    watch_.TakeLeftLoad();
    watch_.CloseLoad();
    loadPath_.clear();
    return status;
  }
  if (!reply.text.empty()) return status;
  std::string content;
  const int error = os::ReadRegularFile(os::MapPath(typed), kLoadLimitBytes, content);
  if (loadLayout_.mostChunks == 0 && !content.empty()) {
    display_.Notice(notes.NotCarriedText(0, 0));
  } else {
    display_.Notice(
        notes.NothingSentText(error == 0 ? std::optional(content.size()) : std::nullopt));
  }
  return status;
}

// A file is only read as fast as it is confirmed: what does not answer in time is the chunk.
int LineRunner::WaitForLoad(const ViewEvent& line, const LoadNotes& notes) {
  auto shownAt = Clock::now();
  for (;;) {
    const LoadState state = watch_.Load();
    pump_.ShowAll();  // afterwards: what the device said last stands before what is said of it
    const int status = EndOfLoad(line, notes, state);
    if (status != kGoesOn) return status;
    const auto now = Clock::now();
    const bool hasRow = display_.HasProgress();
    if (hasRow || now - shownAt >= kLineTime) {
      shownAt = now;
      if (hasRow) {
        display_.Progress(notes.Row(state, now));
      } else {
        display_.Notice(notes.Line(state, now));
      }
    }
    if (!pump_.Wait(now + kRowTime, false)) return kInterrupted;
  }
}

int LineRunner::EndOfLoad(const ViewEvent& line, const LoadNotes& notes, LoadState state) {
  const auto quiet = Clock::now() - state.latest;
  if (state.HasEnded()) {
    return state.isHandedOver || quiet >= WaitTime() ? ConfirmedStatus(notes, state) : kGoesOn;
  }
  if (!state.isWaiting) {
    if (quiet < kNextChunkTime) return kGoesOn;
    // Whatever the module had to do behind the confirmation is done when it answers this.
    ViewEvent nothing;
    if (!Ask([](FacadeThread&, ViewEvent&) {}, nothing)) return kInterrupted;
    const LoadState after = watch_.Load();
    if (after.isWaiting || after.latest != state.latest) return kGoesOn;
    state = after;
  }
  display_.EndProgress();
  if (pump_.News().lostEpoch > line.epoch) {
    display_.Notice(notes.LinkLostText(state));
    return kNotConnected;
  }
  if (!state.isWaiting) {
    display_.Notice(notes.EndedText(state));
    return kCommandFailed;
  }
  if (quiet < WaitTime()) return kGoesOn;
  display_.Notice(notes.NoAnswerText(state, static_cast<std::uint32_t>(WaitTime().count())));
  return kNoAnswer;
}

int LineRunner::ConfirmedStatus(const LoadNotes& notes, const LoadState& state) {
  if (state.IsStored()) return kDone;
  display_.EndProgress();
  if (state.IsOpenQuestion()) return kUnclear;
  display_.Notice(state.IsRefused() ? notes.RefusedText(state) : notes.DeniedText(state));
  return kCommandFailed;
}

// Until the module has ended the load its next chunk may go out, so what became of the file is said
// afterwards. A thread of the module's that is busy for long is not waited for by somebody who
// wants to stop.
void LineRunner::StopLoad(const LoadNotes& notes) {
  const auto ended = std::make_shared<std::promise<void>>();
  facade_.Ask(++number_, [ended](FacadeThread& here, ViewEvent&) {
    here.ReloadCatalogue();
    ended->set_value();
  });
  const bool isOver = ended->get_future().wait_for(kStopTime) == std::future_status::ready;
  display_.Notice(notes.StoppedText(watch_.Load(), isOver));
}

void LineRunner::StopLeftLoad() {
  const std::string path = watch_.TakeLeftLoad();
  if (path.empty()) return;
  StopLoad(LoadNotes(path, std::nullopt, Clock::now()));
  loadPath_.clear();
}

std::string LineRunner::LeftLoadRow() {
  if (leftNotes_ && !watch_.IsLoadLeft()) leftNotes_.reset();
  if (!leftNotes_) return {};
  const LoadState state = watch_.Load();
  return state.confirmed > leftConfirmed_ ? leftNotes_->Row(state, Clock::now()) : std::string();
}

int LineRunner::VerifyLoad(const LoadNotes& notes, const std::string& mappedPath,
                           const Doubt& doubt) {
  const auto differs = [this, &notes](const std::string& reason) {
    display_.Notice("kiv: " + notes.Path() + " is not verified: " + reason + "\n");
    return kCommandFailed;
  };
  const auto failed = [this, &doubt, &differs](const std::string& reason) {
    if (!doubt.open.empty()) display_.Notice(doubt.open);
    return differs(reason);
  };
  if (TakesLinesAsText()) return failed("this device takes every question as a text");
  ViewEvent reply;
  const auto question = [](FacadeThread& here, ViewEvent& answer) {
    answer.isCommand = here.AskDevice(kStoredFileCommand, answer);
  };
  pump_.ForgetAnswered();
  if (!Ask(question, reply)) return failed("it was interrupted"), kInterrupted;
  if (!reply.isCommand) return failed("the catalogue has no " + ShownLine(kStoredFileCommand));
  const std::string name = ShownLine(kStoredFileCommand);
  const int status = reply.posts > 0 ? WaitForAnswer(reply, name) : kCommandFailed;
  const LinkWatch::Answer answer = watch_.TakeAnswer();
  if (status != kDone) return failed(name + " was not answered"), status;
  const std::optional<StoredFile> stored = ReadStoredFile(answer.cmdId, answer.body);
  if (!stored) return failed("the answer to " + name + " has no size_bytes and sha256");
  std::string content;
  const int error = os::ReadRegularFile(mappedPath, kLoadLimitBytes, content);
  if (error != 0)
    return failed(error == EINVAL ? "it is not a regular file" : os::ErrorText(error));
  const std::string sha256 = Sha256Of(content);
  if (stored->sizeBytes != content.size() || stored->sha256 != sha256) {
    return differs("the device has " + std::to_string(stored->sizeBytes) + " bytes, SHA-256 " +
                   stored->sha256 + "; the file " + std::to_string(content.size()) + ", " + sha256);
  }
  if (!doubt.stored.empty()) display_.Notice(doubt.stored);
  display_.Notice(notes.VerifiedText(sha256));
  return kDone;
}

}  // namespace kiv
