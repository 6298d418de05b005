#include "tests/platform/devlink/damage.h"

#include <algorithm>

#include "tests/platform/devlink/noise.h"

namespace linktest {

namespace {

constexpr const char* kDamageNames[] = {"flips",  "drops",      "doubles",      "truncations",
                                        "joins",  "insertions", "text between", "swapped",
                                        "stalls", "resets"};
static_assert(std::size(kDamageNames) == static_cast<std::size_t>(Damage::kCount));

const std::string kText = "kernel: link is up\r\n";

Bytes TextBytes() { return {kText.begin(), kText.end()}; }

Bytes Joined(const std::vector<Bytes>& frames) {
  Bytes all;
  for (const Bytes& frame : frames) Append(all, frame);
  return all;
}

void PutSerial(Bytes& body, std::uint32_t serial) {
  for (int i = 0; i < 4; ++i) body.push_back(static_cast<std::uint8_t>(serial >> (8 * i)));
}

}  // namespace

const char* DamageName(Damage damage) { return kDamageNames[static_cast<std::size_t>(damage)]; }

void Damager::FlipBits(Bytes& line) {
  for (std::size_t i = OneIn(2) ? 1 : 2 + Below(6); i > 0; --i) {
    line[Below(line.size())] ^= static_cast<std::uint8_t>(1u << Below(8));
  }
}

void Damager::SwapBytes(Bytes& line) {
  std::swap(line[Below(line.size())], line[Below(line.size())]);
}

void Damager::DropBytes(Bytes& line) {
  const std::size_t at = Below(line.size());
  const auto here = line.begin() + static_cast<long>(at);
  line.erase(here, here + static_cast<long>(std::min(line.size() - at, 1 + Below(4))));
}

void Damager::DoubleBytes(Bytes& line) {
  const std::size_t at = Below(line.size());
  const auto here = line.begin() + static_cast<long>(at);
  const Bytes again(here, here + static_cast<long>(std::min(line.size() - at, 1 + Below(4))));
  line.insert(here, again.begin(), again.end());
}

void Damager::Insert(Bytes& line, const Bytes& what) {
  line.insert(line.begin() + static_cast<long>(Below(line.size())), what.begin(), what.end());
}

std::string DamageFound::Text() const {
  return "delivered " + std::to_string(delivered) + ", wrong " + std::to_string(wrong) +
         ", doubled " + std::to_string(doubled) + ", missing " + std::to_string(missing) +
         ", untold " + std::to_string(untold);
}

DamageRun::DamageRun(DamageTarget& target, Damage damage, std::uint32_t seed)
    : target_(target), damage_(damage), damager_(seed) {}

Bytes DamageRun::BodyOf(std::uint32_t serial) {
  Bytes body;
  PutSerial(body, serial);
  Append(body, Noise(serial * 7 % 60, serial | 1));
  return body;
}

DamageRun::Sent DamageRun::NextMessage(bool inFrames) {
  Sent sent = {++serial_, {}};
  const Bytes body = BodyOf(serial_);
  const std::size_t atMost = inFrames ? 1 + damager_.Below(body.size()) : body.size();
  NaiveFrame frame;
  frame.kind = target_.Kind();
  frame.id = IdOf(serial_);
  frame.tag = TagOf(serial_);
  frame.length = static_cast<std::uint32_t>(body.size());
  for (std::size_t from = 0; from < body.size(); from += atMost) {
    const std::size_t end = std::min(body.size(), from + atMost);
    frame.offset = static_cast<std::uint32_t>(from);
    frame.flags = end < body.size() ? 1 : 0;
    frame.sequence = sequence_++;
    frame.payload.assign(body.begin() + static_cast<long>(from),
                         body.begin() + static_cast<long>(end));
    sent.frames.push_back(NaiveLine(frame));
  }
  return sent;
}

void DamageRun::Round() {
  ++found_.tried;
  came_.clear();
  firstIsWhole_ = isReset_ = false;
  secondIsWhole_ = true;
  const std::uint64_t lostBefore = target_.Lost();
  Sent first = NextMessage(damager_.OneIn(4));
  Sent second = NextMessage(false);
  if (damage_ == Damage::kResets) {
    Reset(first, second);
  } else {
    TakeInPieces(Damaged(first, second));
  }
  const Sent last = NextMessage(false);
  TakeInPieces(Joined(last.frames));
  Check(first, second, last, lostBefore);
}

// What comes over the line in place of both messages.
Bytes DamageRun::Damaged(Sent& first, Sent& second) {
  std::vector<Bytes>& frames = first.frames;
  const std::size_t which = damager_.Below(frames.size());
  switch (damage_) {
    case Damage::kDrops:
      if (!damager_.OneIn(4)) break;
      frames.erase(frames.begin() + static_cast<long>(which));
      return Joined(frames) + Joined(second.frames);
    case Damage::kDoubles:
      if (!damager_.OneIn(2)) break;
      firstIsWhole_ = true;
      frames.insert(frames.begin() + static_cast<long>(which), frames[which]);
      return Joined(frames) + Joined(second.frames);
    case Damage::kJoins:
      JoinFrames(first, second);
      return Joined(frames) + Joined(second.frames);
    case Damage::kTextBetween:
      if (damager_.OneIn(4)) break;
      firstIsWhole_ = true;
      return Joined(frames) + TextBytes() + Joined(second.frames);
    case Damage::kSwapped:
      if (!damager_.OneIn(2)) break;
      return Joined(second.frames) + Joined(frames);
    case Damage::kStalls:
      firstIsWhole_ = true;
      if (damager_.OneIn(2)) break;
      // Begun, broken off, and sent again from its beginning.
      frames.insert(frames.begin() + static_cast<long>(which),
                    Bytes(frames[which].begin(),
                          frames[which].begin() +
                              static_cast<long>(1 + damager_.Below(frames[which].size() - 1))));
      return Joined(frames) + Joined(second.frames);
    default:
      break;
  }
  DamageOneFrame(frames[which]);
  return Joined(frames) + Joined(second.frames);
}

void DamageRun::DamageOneFrame(Bytes& frame) {
  switch (damage_) {
    case Damage::kFlips:
      return damager_.FlipBits(frame);
    case Damage::kDrops:
      return damager_.DropBytes(frame);
    case Damage::kDoubles:
      return damager_.DoubleBytes(frame);
    case Damage::kTruncations:
      return frame.resize(damager_.Below(frame.size()));
    case Damage::kInsertions:
      return damager_.Insert(frame, Noise(1 + damager_.Below(4), serial_ + 1));
    case Damage::kTextBetween:
      return damager_.Insert(frame, TextBytes());
    case Damage::kSwapped:
      return damager_.SwapBytes(frame);
    default:
      return;
  }
}

// One flag is as good as two; without any, two frames are one bad one.
void DamageRun::JoinFrames(Sent& first, Sent& second) {
  first.frames.back().pop_back();
  if (damager_.OneIn(4)) {
    firstIsWhole_ = true;
    return;
  }
  second.frames.front().erase(second.frames.front().begin());
  secondIsWhole_ = false;
}

void DamageRun::TakeInPieces(const Bytes& line) {
  const bool slowly = damage_ == Damage::kStalls;
  std::size_t from = 0;
  while (from < line.size()) {
    const std::size_t left = line.size() - from;
    const std::size_t length =
        slowly ? 1 + damager_.Below(std::min<std::size_t>(left, 9)) : 1 + damager_.Below(left);
    // A piece of its own, so that the address sanitizer sees a step beyond it.
    target_.Take(Bytes(line.begin() + static_cast<long>(from),
                       line.begin() + static_cast<long>(from + length)));
    from += length;
  }
}

void DamageRun::Reset(const Sent& first, const Sent& second) {
  const Bytes line = Joined(first.frames);
  const auto cut = line.begin() + static_cast<long>(damager_.Below(line.size()));
  TakeInPieces(Bytes(line.begin(), cut));
  isReset_ = true;
  secondIsWhole_ = false;
  const std::size_t cameBefore = came_.size();
  target_.NewSession(damager_.OneIn(2) ? Bytes(cut, line.end()) + Joined(second.frames) : Bytes());
  if (target_.IgnoresStale()) {
    found_.wrong += static_cast<std::int64_t>(came_.size() - cameBefore);
  }
  sequence_ = 1;
}

void DamageRun::Delivered(std::uint32_t id, std::uint16_t tag, const Bytes& body) {
  ++found_.delivered;
  std::uint32_t serial = 0;
  for (std::size_t i = 0; i < 4 && i < body.size(); ++i)
    serial |= std::uint32_t{body[i]} << (8 * i);
  if (serial == 0 || serial > serial_ || body != BodyOf(serial) || id != IdOf(serial) ||
      tag != TagOf(serial)) {
    ++found_.wrong;
    return;
  }
  came_.push_back(serial);
  if (serial <= newest_) ++found_.doubled;
  newest_ = std::max(newest_, serial);
}

bool DamageRun::Came(std::uint32_t serial) const {
  return std::find(came_.begin(), came_.end(), serial) != came_.end();
}

void DamageRun::Check(const Sent& first, const Sent& second, const Sent& last,
                      std::uint64_t lostBefore) {
  if (firstIsWhole_ && !Came(first.serial)) ++found_.missing;
  if (secondIsWhole_ && !Came(second.serial)) ++found_.missing;
  if (!Came(last.serial)) ++found_.missing;
  const bool allCame = Came(first.serial) && Came(second.serial);
  if (!allCame && !isReset_ && target_.Lost() == lostBefore) ++found_.untold;
}

}  // namespace linktest
