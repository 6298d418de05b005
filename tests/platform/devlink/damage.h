// What can happen to frames on their way, in ten classes, and the check of what a receiver makes of
// it.
//
// A round sends three messages in a session's numbering: one that is damaged, its neighbour, and a
// sound one, by which the receiver must be in step again. What a message holds follows from its
// serial number, so every delivery is compared whole and needs no list of what was sent.
//
// Threads: one run for one thread. Borrows its target.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

enum class Damage {
  kFlips,        // bits
  kDrops,        // bytes, or a whole frame
  kDoubles,      // bytes, or a whole frame
  kTruncations,  // a frame's end is missing
  kJoins,        // flags between two frames are missing
  kInsertions,   // bytes from elsewhere
  kTextBetween,  // between two frames, or in the middle of one
  kSwapped,      // bytes, or whole frames
  kStalls,       // a frame comes in pieces, or breaks off and is sent again
  kResets,       // a new session, maybe with bytes of the old one before it
  kCount
};

inline constexpr int kDamages = static_cast<int>(Damage::kCount);
const char* DamageName(Damage damage);

// The same damages for the same seed.
class Damager {
 public:
  explicit Damager(std::uint32_t seed) : random_(seed) {}

  std::size_t Below(std::size_t limit) { return random_() % limit; }
  bool OneIn(std::size_t times) { return Below(times) == 0; }

  // Damage to the bytes of one frame.
  void FlipBits(Bytes& line);
  void SwapBytes(Bytes& line);
  void DropBytes(Bytes& line);
  void DoubleBytes(Bytes& line);
  void Insert(Bytes& line, const Bytes& what);

 private:
  std::mt19937 random_;
};

// The receiver under test, as a run sees it.
class DamageTarget {
 public:
  virtual ~DamageTarget() = default;
  // Of the messages that travel to it.
  virtual std::uint8_t Kind() const = 0;
  // Bytes of the line, as they come in one piece.
  virtual void Take(Bytes piece) = 0;
  // A new session; `stale` are bytes of the old one that come before its greeting.
  virtual void NewSession(const Bytes& stale) = 0;
  // Whether messages among those stale bytes belong to nobody any more.
  virtual bool IgnoresStale() const = 0;
  // Frames that it knows to be missing, since ever.
  virtual std::uint64_t Lost() const = 0;
};

// What a run found. All but `tried` and `delivered` must stay 0.
struct DamageFound {
  std::int64_t tried = 0;
  std::int64_t delivered = 0;
  std::int64_t wrong = 0;    // delivered, and not as it was sent, or of a session that is over
  std::int64_t doubled = 0;  // delivered again
  std::int64_t missing = 0;  // undamaged and not delivered
  std::int64_t untold = 0;   // not delivered, and not counted as lost either

  bool Good() const { return wrong + doubled + missing + untold == 0; }
  std::string Text() const;
};

class DamageRun {
 public:
  DamageRun(DamageTarget& target, Damage damage, std::uint32_t seed);

  void Round();
  // For the target, for each message that it got.
  void Delivered(std::uint32_t id, std::uint16_t tag, const Bytes& body);

  const DamageFound& Found() const { return found_; }

  static std::uint32_t IdOf(std::uint32_t serial) { return 0x2000 + serial % 251; }
  static std::uint16_t TagOf(std::uint32_t serial) { return static_cast<std::uint16_t>(serial); }
  static Bytes BodyOf(std::uint32_t serial);

 private:
  // A message on the line: its frames, and its serial number.
  struct Sent {
    std::uint32_t serial;
    std::vector<Bytes> frames;
  };

  Sent NextMessage(bool inFrames);
  Bytes Damaged(Sent& first, Sent& second);
  void DamageOneFrame(Bytes& frame);
  void JoinFrames(Sent& first, Sent& second);
  void TakeInPieces(const Bytes& line);
  void Reset(const Sent& first, const Sent& second);
  void Check(const Sent& first, const Sent& second, const Sent& last, std::uint64_t lostBefore);
  bool Came(std::uint32_t serial) const;

  DamageTarget& target_;
  const Damage damage_;
  Damager damager_;
  std::uint32_t serial_ = 0;
  std::uint32_t sequence_ = 1;
  std::uint32_t newest_ = 0;  // serial number of the last delivery
  bool firstIsWhole_ = false;
  bool secondIsWhole_ = true;
  bool isReset_ = false;
  std::vector<std::uint32_t> came_;  // in this round
  DamageFound found_;
};

}  // namespace linktest
