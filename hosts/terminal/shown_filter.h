// ShownFilter: what the user wants to see of what the device says by itself: of indications all,
// none or those that were named; without those and the channels that are muted; and of their lines
// those that a pattern is found in. Replies and notices are always shown, and what is hidden is
// counted.
//
// Threads: the main thread. Owns the pattern. Errors: none.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "hosts/terminal/line_pattern.h"
#include "hosts/terminal/shown_kind.h"

namespace kiv {

class ShownFilter {
 public:
  enum class Indications { kAll, kNone, kNamed };

  // Forgets which were named.
  void ShowIndications(bool all);
  // Shows this one, and of the others those that were named likewise.
  void ShowOnly(std::uint32_t cmdId);
  void Mute(std::uint32_t cmdId) { mutedIds_.insert(cmdId); }
  void Mute(ShownKind channel) { muted_[static_cast<std::size_t>(channel)] = true; }
  // False when it was not muted.
  bool Unmute(std::uint32_t cmdId) { return mutedIds_.erase(cmdId) > 0; }
  bool Unmute(ShownKind channel);
  void UnmuteAll();
  // Null: every line.
  void SetPattern(std::unique_ptr<LinePattern> pattern) { pattern_ = std::move(pattern); }

  Indications GetIndications() const { return indications_; }
  const std::set<std::uint32_t>& Named() const { return named_; }
  const std::set<std::uint32_t>& MutedIds() const { return mutedIds_; }
  bool IsMuted(ShownKind channel) const { return muted_[static_cast<std::size_t>(channel)]; }
  const LinePattern* Pattern() const { return pattern_.get(); }
  // Whether channels' lines have to be looked at.
  bool FiltersChannels() const;

  // What is to be shown of an indication's text, or of whole lines of a channel; the rest is
  // counted.
  std::string Indication(std::uint32_t cmdId, std::string text);
  std::string Lines(ShownKind channel, std::string lines);

  // So far: indications by command (0: one that is not known), lines of a channel, and lines in
  // which the pattern was not found.
  const std::map<std::uint32_t, std::uint64_t>& HiddenIndications() const { return hiddenIds_; }
  std::uint64_t HiddenLines(ShownKind channel) const {
    return hidden_[static_cast<std::size_t>(channel)];
  }
  std::uint64_t HiddenByPattern() const { return hiddenByPattern_; }

 private:
  bool IsWanted(std::uint32_t cmdId) const;
  std::string Found(std::string lines);

  Indications indications_ = Indications::kAll;
  std::set<std::uint32_t> named_;
  std::set<std::uint32_t> mutedIds_;
  std::array<bool, kShownKindCount> muted_ = {};
  std::unique_ptr<LinePattern> pattern_;
  std::map<std::uint32_t, std::uint64_t> hiddenIds_;
  std::array<std::uint64_t, kShownKindCount> hidden_ = {};
  std::uint64_t hiddenByPattern_ = 0;
};

}  // namespace kiv
