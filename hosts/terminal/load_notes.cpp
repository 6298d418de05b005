#include "hosts/terminal/load_notes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace kiv {
namespace {

constexpr std::uint64_t kChunkBytes = 2048;
constexpr unsigned kBarCells = 20;

double Seconds(LoadNotes::Clock::duration time) {
  return std::chrono::duration<double>(time).count();
}

// "12 B/s", "345.6 kB/s", "1.2 MB/s".
std::string Rate(double bytesPerSecond) {
  constexpr const char* kUnits[] = {"B/s", "kB/s", "MB/s", "GB/s"};
  std::size_t unit = 0;
  for (; bytesPerSecond >= 999.95 && unit + 1 < std::size(kUnits); ++unit) bytesPerSecond /= 1000;
  char text[40];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytesPerSecond, kUnits[unit]);
  return text;
}

std::string TimeText(double seconds) {
  char text[40];
  std::snprintf(text, sizeof text, seconds < 10 ? "%.1f s" : "%.0f s", seconds);
  return text;
}

unsigned Percent(const LoadState& state) {
  return state.count == 0
             ? 0
             : static_cast<unsigned>(std::uint64_t{state.confirmed} * 100 / state.count);
}

}  // namespace

std::uint64_t LoadNotes::BytesOf(std::uint32_t chunks) const {
  const std::uint64_t whole = chunks * kChunkBytes;
  return sizeBytes_ ? std::min(whole, *sizeBytes_) : whole;
}

std::string LoadNotes::Figures(const LoadState& state, Clock::time_point now) const {
  const std::uint64_t done = BytesOf(state.confirmed);
  const std::uint64_t all = BytesOf(state.count);
  const std::uint64_t sent = done - std::min(done, BytesOf(state.first));
  // A file whose size says nothing has no end to count to.
  if (state.count == 0) return std::to_string(state.confirmed * kChunkBytes) + " bytes";
  std::string text = std::to_string(Percent(state)) + " %, " + std::to_string(done) + " of " +
                     std::to_string(all) + " bytes";
  const double seconds = Seconds(now - begin_);
  if (sent == 0 || seconds <= 0) return text;
  const double rate = static_cast<double>(sent) / seconds;
  const double left = static_cast<double>(all - done) / rate;
  return text + ", " + Rate(rate) + ", " + std::to_string(std::llround(std::ceil(left))) +
         " s left";
}

std::string LoadNotes::Row(const LoadState& state, Clock::time_point now) const {
  std::string bar(kBarCells, '-');
  bar.replace(0, Percent(state) * kBarCells / 100, Percent(state) * kBarCells / 100, '#');
  return "ldnv [" + bar + "] " + Figures(state, now);
}

std::string LoadNotes::Line(const LoadState& state, Clock::time_point now) const {
  return "kiv: ldnv " + Figures(state, now) + "\n";
}

std::string LoadNotes::StoredText(const LoadState& state, Clock::time_point now,
                                  bool isPadded) const {
  const std::uint64_t sent = BytesOf(state.count) - BytesOf(state.first);
  const std::uint64_t padded = state.count * kChunkBytes;
  const double seconds = Seconds(now - begin_);
  return (isPadded && padded != BytesOf(state.count)
              ? "kiv: stored, padded to " + std::to_string(padded) + " bytes: "
              : "kiv: stored: ") +
         path_ + ", " + std::to_string(BytesOf(state.count)) + " bytes in " + TimeText(seconds) +
         (seconds > 0 ? ", " + Rate(static_cast<double>(sent) / seconds) : std::string()) + "\n";
}

// Where it stopped, for a person who wants to know how much was lost.
std::string LoadNotes::Standing(const LoadState& state) const {
  const std::string count = state.count == 0 ? "" : " of " + std::to_string(state.count);
  return std::to_string(state.confirmed) + count + " chunks";
}

std::string LoadNotes::ChunkOut(const LoadState& state) const {
  const std::string count = state.count == 0 ? "" : " of " + std::to_string(state.count);
  return "chunk " + std::to_string(state.index + 1) + count;
}

std::string LoadNotes::Fate(const LoadState& state) const {
  if (state.IsStored()) return path_ + " is stored";
  if (!state.IsOpenQuestion()) return path_ + " is not stored";
  return path_ + (state.isWaiting ? " may be stored, the answer to its last chunk is missing"
                                  : " may be stored, the answer may be to a load before it");
}

std::string LoadNotes::OtherPathText(const std::string& other) const {
  return "kiv: " + other + " is not sent: the load of " + path_ +
         " waited for its answer and goes on\n";
}

std::string LoadNotes::NotSentText() const { return "kiv: " + path_ + " is not sent\n"; }

std::string LoadNotes::WaitsText() const {
  return "kiv: " + path_ + " waits for the answer to the load before it\n";
}

std::string LoadNotes::NothingSentText(std::optional<std::uint64_t> readBytes) const {
  if (!readBytes || (*readBytes == 0 && sizeBytes_.value_or(0) != 0)) {
    return "kiv: nothing could be read of " + path_ + ": nothing was sent\n";
  }
  if (*readBytes == 0) return "kiv: " + path_ + " is empty: nothing was sent\n";
  const std::string read = std::to_string(*readBytes) + " bytes";
  if (!sizeBytes_ || *sizeBytes_ == *readBytes) {
    return "kiv: " + path_ + " has " + read + ", but nothing was sent\n";
  }
  return "kiv: " + path_ + " has " + read + " where its size says " + std::to_string(*sizeBytes_) +
         ": nothing was sent\n";
}

std::string LoadNotes::NotCarriedText(std::uint64_t chunks, std::uint64_t most) const {
  if (most == 0) {
    return "kiv: " + path_ +
           " is not sent: ldnv of this catalogue does not begin with an index, a "
           "count and 2048 bytes\n";
  }
  return "kiv: " + path_ + " is not sent: it has " + std::to_string(chunks) +
         " chunks, and ldnv of this catalogue counts to " + std::to_string(most) + "\n";
}

std::string LoadNotes::NoAnswerText(const LoadState& state, std::uint32_t waitMs) const {
  return "kiv: no answer to " + ChunkOut(state) + " within " + std::to_string(waitMs) +
         " ms; the same line sends it again\n";
}

std::string LoadNotes::LinkLostText(const LoadState& state) const {
  return "kiv: the link was lost behind " + Standing(state) + "; " + Fate(state) + "\n";
}

std::string LoadNotes::RefusedText(const LoadState& state) const {
  return "kiv: the device refused " + ChunkOut(state) + "; " + path_ + " is not stored\n";
}

std::string LoadNotes::EndedText(const LoadState& state) const {
  return "kiv: the load ended behind " + Standing(state) + "; " + Fate(state) + "\n";
}

std::string LoadNotes::StoppedText(const LoadState& state, bool isOver) const {
  const bool isKnown = isOver || state.HasEnded();
  return "kiv: the load was stopped behind " + Standing(state) + "; " +
         (isKnown ? Fate(state) : path_ + " may be stored, the load has not ended yet") + "\n";
}

std::string LoadNotes::UnclearText(const LoadState& state) const {
  return "kiv: " + Fate(state) + "\n";
}

std::string LoadNotes::Denial(const LoadState& state) const {
  return "the device took all " + std::to_string(state.count) + " chunks of " + path_ +
         ", but does not say that it is stored\n";
}

std::string LoadNotes::DeniedText(const LoadState& state) const { return "kiv: " + Denial(state); }

std::string LoadNotes::LateText(const LoadState& state, bool isToVerify) const {
  const std::string late = "kiv: the answer came late: ";
  const bool isOnlyDenied = state.isDenied && !state.IsOpenQuestion() && !state.IsRefused();
  if (isOnlyDenied) return late + Denial(state);
  return late + Fate(state) + (isToVerify && state.IsStored() ? ", not verified\n" : "\n");
}

std::string LoadNotes::VerifiedText(const std::string& sha256) const {
  return "kiv: verified: " + path_ + ", SHA-256 " + sha256 + "\n";
}

}  // namespace kiv
