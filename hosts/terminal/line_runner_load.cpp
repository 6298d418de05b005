// Lines that load a file: the module sends chunk after chunk by itself, the console watches, shows
// how far it is, and says how it ended.
#include <QByteArray>
#include <QCryptographicHash>
#include <algorithm>
#include <cerrno>
#include <string_view>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/line_runner.h"
#include "hosts/terminal/stored_file.h"
#include "platform/base/version_query.h"
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
// The variant and the product whose text channels take lines of every kind.
constexpr std::uint32_t kAllToController = 246;
constexpr std::uint32_t kAllToShell = 38;
constexpr std::size_t kLoadLimitBytes = 65535u * 2048u;

// What stands behind the word, as the module takes it.
std::wstring_view PathOf(std::wstring_view line) {
  const auto trim = [](std::wstring_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(L' '), text.size()));
    return text.substr(0, text.find_last_not_of(L' ') + 1);
  };
  line = trim(line);
  return trim(line.substr(std::min(line.find(L' '), line.size())));
}

std::string Sha256Of(const std::string& content) {
  const QByteArray hash = QCryptographicHash::hash(
      QByteArray::fromRawData(content.data(), static_cast<int>(content.size())),
      QCryptographicHash::Sha256);
  return hash.toHex().toStdString();
}

}  // namespace

int LineRunner::LoadStatus(const ViewEvent& reply, std::wstring_view line,
                           Clock::time_point begin) {
  const std::wstring typed(PathOf(line));
  const bool isPosted = reply.posts > 0;
  // While a load waits for its answer the module sends its chunk again, whatever path is typed.
  if (isPosted && (!watch_.Load().isResumed || loadPath_.empty())) loadPath_ = typed;
  const bool isOther = isPosted && loadPath_ != typed;
  const std::wstring path = isPosted ? loadPath_ : typed;
  os::FileStamp stamp;
  const bool isThere = os::StampOf(os::MapPath(path), stamp) == 0;
  const LoadNotes notes(Cut(ShownLine(path)),
                        isThere ? std::optional(stamp.sizeBytes) : std::nullopt, begin);
  if (!isPosted) {
    if (!reply.text.empty()) return reply.linkDown ? kNotConnected : kCommandFailed;
    display_.Notice(notes.NothingSentText());
    return kCommandFailed;
  }
  if (isOther) display_.Notice(notes.OtherPathText(Cut(ShownLine(typed))));
  int status = WaitForLoad(reply, notes);
  watch_.Abandon();
  display_.EndProgress();
  if (status == kNoAnswer) {
    watch_.LeaveLoad(notes.Path());
    return status;
  }
  watch_.CloseLoad();
  loadPath_.clear();
  if (status == kInterrupted) StopLoad(notes);
  if (status == kDone) {
    display_.Notice(notes.StoredText(watch_.Load(), Clock::now()));
    if (options_.verify) status = VerifyLoad(notes, os::MapPath(path));
  }
  return status == kDone && isOther ? kCommandFailed : status;
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
  if (state.HasEnded() && !state.isHandedOver && quiet < WaitTime()) return kGoesOn;
  if (state.IsStored()) return kDone;
  if (!state.isWaiting && !state.IsRefused()) {
    if (quiet < kNextChunkTime) return kGoesOn;
    // Whatever the module had to do behind the confirmation is done when it answers this.
    ViewEvent nothing;
    if (!Ask([](FacadeThread&, ViewEvent&) {}, nothing)) return kInterrupted;
    const LoadState after = watch_.Load();
    if (after.isWaiting || after.latest != state.latest) return kGoesOn;
    state = after;
  }
  display_.EndProgress();
  if (state.IsRefused()) {
    display_.Notice(notes.RefusedText(state));
    return kCommandFailed;
  }
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

// Nobody waits for it: the module's thread may be busy, and a user who wants to stop does not want
// to see that.
void LineRunner::StopLoad(const LoadNotes& notes) {
  facade_.Ask(++number_, [](FacadeThread& here, ViewEvent&) { here.ReloadCatalogue(); });
  display_.Notice(notes.StoppedText(watch_.Load()));
}

int LineRunner::VerifyLoad(const LoadNotes& notes, const std::string& mappedPath) {
  const auto failed = [this, &notes](const std::string& reason) {
    display_.Notice("kiv: " + notes.Path() + " is not verified: " + reason + "\n");
    return kCommandFailed;
  };
  if (CVersion::GetVersion() == kAllToController || CProductVersion::GetVersion() == kAllToShell) {
    return failed("this device takes every question as a text");
  }
  ViewEvent reply;
  const auto question = [](FacadeThread& here, ViewEvent& answer) {
    answer.isCommand = here.AskDevice(kStoredFileCommand, answer);
  };
  pump_.ForgetAnswered();
  if (!Ask(question, reply)) return kInterrupted;
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
    return failed("the device has " + std::to_string(stored->sizeBytes) + " bytes, SHA-256 " +
                  stored->sha256 + "; the file " + std::to_string(content.size()) + ", " + sha256);
  }
  display_.Notice(notes.VerifiedText(sha256));
  return kDone;
}

}  // namespace kiv
