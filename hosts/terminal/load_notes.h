// LoadNotes: what the console says of a file load: a row with a bar while it goes on, the same in
// plain lines where no row can be redrawn, and how it ended.
//
// Threads: none of its own, one caller at a time. Owns its texts. Errors: none.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "hosts/terminal/load_progress.h"

namespace kiv {

// Of one load line.
class LoadNotes {
 public:
  using Clock = LoadProgress::Clock;

  // `path` as it was typed; `sizeBytes` unset when the file cannot be asked.
  LoadNotes(std::string path, std::optional<std::uint64_t> sizeBytes, Clock::time_point begin)
      : path_(std::move(path)), sizeBytes_(sizeBytes), begin_(begin) {}

  const std::string& Path() const { return path_; }
  // "ldnv [####------]  40 %, 4096 of 10000 bytes, 1.2 MB/s, 3 s left", without a line end.
  std::string Row(const LoadState& state, Clock::time_point now) const;
  // A whole line for standard error, the same without the bar.
  std::string Line(const LoadState& state, Clock::time_point now) const;
  // With `isPadded` the device cannot know how much of the last chunk is the file's.
  std::string StoredText(const LoadState& state, Clock::time_point now, bool isPadded) const;
  // The load was still open when another path was typed.
  std::string OtherPathText(const std::string& other) const;
  // It was not sent, and the load that was open before it is over.
  std::string NotSentText() const;
  // Begins only when the answer to a load before it came, or is not waited for any longer.
  std::string WaitsText() const;
  // The file ended before a chunk went out: `readBytes` could be read of it, unset when reading
  // failed.
  std::string NothingSentText(std::optional<std::uint64_t> readBytes) const;
  // The command cannot carry a file of so many chunks, `most` at most; 0: not even one.
  std::string NotCarriedText(std::uint64_t chunks, std::uint64_t most) const;
  std::string NoAnswerText(const LoadState& state, std::uint32_t waitMs) const;
  std::string LinkLostText(const LoadState& state) const;
  // The device said no; its own words stand above.
  std::string RefusedText(const LoadState& state) const;
  // The module gave the load up; its own words stand above.
  std::string EndedText(const LoadState& state) const;
  // With `isOver` false the module may have gone on meanwhile.
  std::string StoppedText(const LoadState& state, bool isOver = true) const;
  // The answer that came may be that to another load.
  std::string UnclearText(const LoadState& state) const;
  // All chunks were confirmed by a device that says it has no file.
  std::string DeniedText(const LoadState& state) const;
  // How a load ended that nobody waited for any more.
  std::string LateText(const LoadState& state, bool isToVerify) const;
  std::string VerifiedText(const std::string& sha256) const;

 private:
  std::uint64_t BytesOf(std::uint32_t chunks) const;
  std::string Figures(const LoadState& state, Clock::time_point now) const;
  std::string Standing(const LoadState& state) const;
  // "chunk 2 of 3", of the one that is out.
  std::string ChunkOut(const LoadState& state) const;
  // Without the console's name in front.
  std::string Denial(const LoadState& state) const;
  // What became of the file: when the last chunk is out and not surely confirmed, nobody knows.
  std::string Fate(const LoadState& state) const;

  const std::string path_;
  const std::optional<std::uint64_t> sizeBytes_;
  const Clock::time_point begin_;
};

}  // namespace kiv
