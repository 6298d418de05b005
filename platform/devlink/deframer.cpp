#include "platform/devlink/deframer.h"

#include <libdeflate.h>

#include <cstring>

#include "platform/devlink/byte_reader.h"
#include "platform/devlink/frame_head.h"
#include "platform/devlink/line_bytes.h"

namespace devlink {

namespace {

std::uint8_t* Find(std::uint8_t what, std::span<std::uint8_t> in) noexcept {
  if (in.empty()) return nullptr;
  return static_cast<std::uint8_t*>(std::memchr(in.data(), what, in.size()));
}

}  // namespace

Deframer::Deframer() {
  // Reserved here and never outgrown: feeding does not allocate.
  for (auto& buffer : kept_) buffer.reserve(kMaxFrameBytes);
}

void Deframer::Reset() noexcept {
  state_ = State::kHunting;
  escaped_ = false;
  kept_[current_].clear();
}

void Deframer::Feed(std::span<std::uint8_t> piece, FrameSink& sink) {
  while (!piece.empty()) {
    std::uint8_t* const flag = Find(kFlag, piece);
    const auto lengthBytes =
        flag != nullptr ? static_cast<std::size_t>(flag - piece.data()) : piece.size();
    const auto run = piece.first(lengthBytes);
    if (flag == nullptr) {
      Keep(run);
      return;
    }
    CloseCandidate(run, sink);
    piece = piece.subspan(lengthBytes + 1);
  }
}

// In place; answers the unescaped length. An escape at the end of the run waits in escaped_.
std::size_t Deframer::Unescape(std::span<std::uint8_t> run) noexcept {
  std::uint8_t* to = run.data();
  std::span<std::uint8_t> rest = run;
  if (escaped_ && !rest.empty()) {
    *to++ = rest[0] ^ kEscapeXor;
    rest = rest.subspan(1);
    escaped_ = false;
  }
  while (!rest.empty()) {
    std::uint8_t* const escape = Find(kEscape, rest);
    const auto plain =
        escape != nullptr ? static_cast<std::size_t>(escape - rest.data()) : rest.size();
    if (to != rest.data()) std::memmove(to, rest.data(), plain);
    to += plain;
    if (escape == nullptr) break;
    rest = rest.subspan(plain + 1);
    if (rest.empty()) {
      escaped_ = true;
      break;
    }
    *to++ = rest[0] ^ kEscapeXor;
    rest = rest.subspan(1);
  }
  return static_cast<std::size_t>(to - run.data());
}

// The piece ends inside a candidate: its bytes are kept, unless it is too long already.
void Deframer::Keep(std::span<std::uint8_t> run) {
  if (state_ != State::kInFrame) return;
  auto& kept = kept_[current_];
  const std::size_t lengthBytes = Unescape(run);
  if (kept.size() + lengthBytes > kMaxFrameBytes) {
    ++counts_.damaged;
    state_ = State::kOversize;
    kept.clear();
    return;
  }
  kept.insert(kept.end(), run.data(), run.data() + lengthBytes);
}

// `run` is what this piece has of the candidate that a flag has just ended.
void Deframer::CloseCandidate(std::span<std::uint8_t> run, FrameSink& sink) {
  if (state_ != State::kInFrame) {
    state_ = State::kInFrame;
    escaped_ = false;
    return;
  }
  auto& kept = kept_[current_];
  std::span<const std::uint8_t> whole = run.first(Unescape(run));
  const bool joined = !kept.empty();
  const bool oversize = kept.size() + whole.size() > kMaxFrameBytes;
  if (joined && !oversize) {
    kept.insert(kept.end(), whole.begin(), whole.end());
    whole = kept;
  }
  if (escaped_ || oversize) {
    ++counts_.damaged;
    escaped_ = false;
  } else {
    Judge(whole, sink);
  }
  if (joined) {
    current_ = 1 - current_;
    kept_[current_].clear();
  }
}

void Deframer::Judge(std::span<const std::uint8_t> unescaped, FrameSink& sink) {
  if (unescaped.empty()) return;
  if (unescaped.size() < kMinFrameBytes) {
    ++counts_.stray;
    return;
  }
  const auto content = unescaped.first(unescaped.size() - kFcsBytes);
  ByteReader fcs(unescaped.last(kFcsBytes));
  if (libdeflate_crc32(0, content.data(), content.size()) != fcs.U32()) {
    ++counts_.damaged;
    return;
  }
  sink.OnFrame(content);
}

}  // namespace devlink
