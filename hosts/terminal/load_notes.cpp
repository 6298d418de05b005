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

std::string LoadNotes::StoredText(const LoadState& state, Clock::time_point now) const {
  const std::uint64_t sent = BytesOf(state.count) - BytesOf(state.first);
  const double seconds = Seconds(now - begin_);
  return "kiv: stored: " + path_ + ", " + std::to_string(BytesOf(state.count)) + " bytes in " +
         TimeText(seconds) +
         (seconds > 0 ? ", " + Rate(static_cast<double>(sent) / seconds) : std::string()) + "\n";
}

// Where it stopped, for a person who wants to know how much was lost.
std::string LoadNotes::Standing(const LoadState& state) const {
  return std::to_string(state.confirmed) + " of " + std::to_string(state.count) + " chunks";
}

std::string LoadNotes::Fate(const LoadState& state) const {
  const bool isLastOut = state.isWaiting && state.index + 1 == state.count;
  return path_ +
         (isLastOut ? " may be stored, the answer to its last chunk is missing" : " is not stored");
}

std::string LoadNotes::OtherPathText(const std::string& other) const {
  return "kiv: " + other + " is not sent: the load of " + path_ +
         " waited for its answer and goes on\n";
}

std::string LoadNotes::NothingSentText() const {
  return "kiv: " + path_ + " is empty: nothing was sent\n";
}

std::string LoadNotes::NoAnswerText(const LoadState& state, std::uint32_t waitMs) const {
  return "kiv: no answer to chunk " + std::to_string(state.index + 1) + " of " +
         std::to_string(state.count) + " within " + std::to_string(waitMs) +
         " ms; the same line sends it again\n";
}

std::string LoadNotes::LinkLostText(const LoadState& state) const {
  return "kiv: the link was lost behind " + Standing(state) + "; " + Fate(state) + "\n";
}

std::string LoadNotes::RefusedText(const LoadState& state) const {
  return "kiv: the device refused chunk " + std::to_string(state.index + 1) + " of " +
         std::to_string(state.count) + "; " + path_ + " is not stored\n";
}

std::string LoadNotes::EndedText(const LoadState& state) const {
  return "kiv: the load ended behind " + Standing(state) + "; " + path_ + " is not stored\n";
}

std::string LoadNotes::StoppedText(const LoadState& state) const {
  return "kiv: the load was stopped behind " + Standing(state) + "; " + Fate(state) + "\n";
}

std::string LoadNotes::VerifiedText(const std::string& sha256) const {
  return "kiv: verified: " + path_ + ", SHA-256 " + sha256 + "\n";
}

}  // namespace kiv
