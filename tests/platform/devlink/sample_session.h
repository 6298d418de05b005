// What a device sends in a short session, byte by byte: the greeting, then confirmations,
// indications and a probe's answer, in one frame and in several, more than 2,048 bytes in all.
//
// Threads: values.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

struct SampleSession {
  // `tag` is that of the hello that it answers.
  explicit SampleSession(std::uint16_t tag);

  struct Message {
    std::size_t beginBytes, endBytes;  // of its frames in the line
    std::uint32_t id;
    Bytes body;
  };
  // The messages that have wholly come with the first `bytes` of the line.
  std::size_t WholeIn(std::size_t bytes) const;
  // Where the frame ends in which place `at` lies; `at` itself between two frames. The greeting is
  // a frame from its first byte on.
  std::size_t FrameEnd(std::size_t at) const;

  Bytes line;
  std::size_t greetingBytes = 0;
  std::vector<Message> messages;  // the greeting and the probe's answer not among them
  std::vector<std::size_t> frameEnds;
  std::uint32_t nextSequence = 0;
};

}  // namespace linktest
